#pragma once

#include "tarn/zero/Builder.h"
#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/meta/Type.h"

#include <memory>

namespace tarn::zero {

/// Base of the builders of element class `T`. `B` is the builder class. It provides `long doSetOrAdd(property, value or
/// builder)`, which returns the index it handled or -1; `fill(T&)`, which moves the plain values into the new element;
/// and `cascadeCreation(T&, notify)`, which creates the contained elements.
template <class T, class B>
class BuilderOf : public ModelElement::Builder {
    using Base = ModelElement::Builder;

public:
    meta::Class builtClass() const override { return T::Handle::metaClass(); }

    std::uint64_t setOrAdd(meta::Property const& property, Value const& value) override
    {
        long const index = self().doSetOrAdd(property, value);
        return index < 0 ? Base::setOrAdd(property, value) : markSet(static_cast<unsigned long>(index));
    }
    std::uint64_t setOrAdd(meta::Property const& property, std::unique_ptr<Base>& builder) override
    {
        long const index = self().doSetOrAdd(property, builder);
        return index < 0 ? Base::setOrAdd(property, builder) : markSet(static_cast<unsigned long>(index));
    }

    ModelElement doCreate(bool notify, boost::uuids::uuid const& uuid) override { return make(notify, uuid); }

protected:
    /// A builder without a model, of a class with `propertyCount` properties.
    explicit BuilderOf(unsigned long propertyCount) : Base{propertyCount} {}
    BuilderOf(unsigned long propertyCount, Model const& model) : Base{propertyCount} { setModel(model); }

    typename T::Handle make(bool notify, boost::uuids::uuid const& uuid)
    {
        std::unique_ptr<Orchestrator> own;
        if (!orchestrator())
            own = std::make_unique<Orchestrator>(this);
        typename T::Handle const element{new T(*this, uuid)};
        orchestrator()->setCreatedElement(this, element);
        try {
            if (notify)
                element->notifyCreated();
            else
                element->enterSilently();
            self().fill(*element.operator->());
            self().cascadeCreation(*element.operator->(), notify);
        } catch (...) {
            this->noteFailure();
            throw;
        }
        if (own)
            own->commit();
        return element;
    }

private:
    B& self() noexcept { return static_cast<B&>(*this); }
};

}   // namespace tarn::zero

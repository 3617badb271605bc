#pragma once

#include "tarn/zero/collections/ReferenceCollection.h"
#include "tarn/zero/features/StorageOf.h"

#include <memory>
#include <tuple>
#include <utility>
#include <vector>

namespace tarn::zero {

/// Implements an element class from its feature list. `T` is the element class. It names its handle class `Handle`,
/// declares `Storage` and `Changes` over `StorageOf` and `ChangesOf`, and has two static members that its package
/// fills: `classImpl()` and `propertyAt(index)`, null before registration and after unregistration.
template <class T, class Base = ModelElement::Impl>
class ElementImplOf : public Base {
public:
    /// How a reflective access treats proxies.
    using Tag = ModelElement::Impl::ReflectionPrivateTag;
    /// The storage of any element class.
    using RawStorage = ModelElement::Impl::Storage;
    /// The changes of any element class.
    using RawChanges = ModelElement::Impl::Changes;

    using Base::Base;

    /// A new element, entered into `model`; a nil UUID requests a random one.
    static auto createIn(Model const& model, boost::uuids::uuid const& uuid)
    {
        typename T::Handle const element{new T(model, uuid)};
        ModelElement::Impl::enter(element);
        return element;
    }

    meta::Class getMetaClass() const override { return T::Handle::metaClass(); }
    ModelElement::Impl* classPointer() const noexcept override { return T::classImpl(); }
    ModelElement This() const override { return ModelElement{const_cast<T*>(&self())}; }
    std::string nameInMessages() const override
    {
        if constexpr (requires(T const& element) { std::string{element.getName()}; })
            return self().getName();
        else
            return Base::nameInMessages();
    }

    meta::Property getPropertyByIndex(unsigned long index) const override
    {
        return index != 0 && index <= featureCount() ? T::propertyAt(index) : Base::getPropertyByIndex(index);
    }

    unsigned long containerIndex() const noexcept override
    {
        unsigned long index = ModelElement::Impl::NO_INDEX;
        each([&](auto feature) {
            if (feature.isContainer)
                index = feature.index;
        });
        return index;
    }

    ReferenceCollection* referenceCollection(unsigned long index) noexcept override
    {
        ReferenceCollection* collection = nullptr;
        eachReference([&](auto feature, ReferenceCollection& candidate) {
            if (feature.index == index)
                collection = &candidate;
        });
        return collection;
    }

    Value getPropertyValue(meta::Property const& property, Tag tag) const override
    {
        Value value;
        if (!find(property, [&](auto feature) { value = feature.value(const_cast<T&>(self()), property, tag); }))
            return Base::getPropertyValue(property, tag);
        return value;
    }
    bool hasPropertyValue(meta::Property const& property, Tag tag) const override
    {
        bool has = false;
        if (!find(property, [&](auto feature) { has = feature.has(self()); }))
            return Base::hasPropertyValue(property, tag);
        return has;
    }
    void setPropertyValue(meta::Property const& property, Value const& value, Tag tag) override
    {
        bool done = false;
        find(property, [&](auto feature) { done = feature.set(self(), value); });
        if (!done)
            Base::setPropertyValue(property, value, tag);
    }

    void copyValue(RawStorage* storage, unsigned long index) const override
    {
        unsigned long const owner = containerIndex();
        if (index == RawChanges::OFFSET_CONTAINMENT || index == owner) {
            storage->setOldContainer(this->containerImpl(), this->containerFeatureIndex());
            if (owner != ModelElement::Impl::NO_INDEX)
                storage->setChanged(owner);
            return;
        }
        each([&](auto feature) {
            if (feature.index != index)
                return;
            feature.record(typed(*storage).template old<decltype(feature)>(), const_cast<T&>(self()));
            storage->setChanged(index);
        });
    }
    void copyStateFromStorage(RawStorage* storage) override { typed(*storage).restore(self()); }
    std::unique_ptr<RawStorage> createStorage() const override { return make<typename T::Storage, RawStorage>(); }
    std::unique_ptr<RawChanges> createChanges() const override { return make<typename T::Changes, RawChanges>(); }

    void invalidate() override
    {
        if (ElementImpl::m_callback)
            each([&](auto feature) {
                if constexpr (feature.isCollection)
                    ElementImpl::m_callback(feature.of(self()));
            });
        Base::invalidate();
    }

    void doDestroy(bool runHooks, bool notify) override
    {
        this->beginDestroying();
        eachReference([&](auto feature, ReferenceCollection& collection) {
            if (!collection.isComposite() || (collection.empty() && !collection.hasProxies()))
                return;
            collection.destroyElements(runHooks, notify);
            this->notifyModifying(feature.index);   // saves the contents for rollback; notifies nobody
            this->_basicClear(&collection);
        });
        Base::doDestroy(runHooks, notify);
    }

    void announceContents() override
    {
        each([&](auto feature) {
            if constexpr (requires { feature.of(self()).isComposite(); })
                if (auto const& collection = feature.of(self()); collection.isComposite())
                    for (ModelElement const& element : std::vector<ModelElement>(collection.begin(), collection.end()))
                        if (!element->isAnnounced())
                            element->notifyCreated();
        });
    }

    void dropReferences() noexcept override
    {
        each([&](auto feature) { feature.drop(self()); });
    }

protected:
    ~ElementImplOf() override = default;

    /// The number of properties of the class.
    static constexpr unsigned long featureCount() noexcept { return std::tuple_size_v<decltype(T::features())>; }

private:
    T& self() noexcept { return static_cast<T&>(*this); }
    T const& self() const noexcept { return static_cast<T const&>(*this); }
    static auto& typed(RawStorage& storage) noexcept { return static_cast<StorageOf<T>&>(storage); }

    template <class Visit>
    static void each(Visit const& visit)
    {
        detail::forEachFeature<T>(visit);
    }
    template <class Visit>
    void eachReference(Visit const& visit)
    {
        each([&](auto feature) {
            if constexpr (feature.isCollection)
                if constexpr (std::is_base_of_v<ReferenceCollection, typename decltype(feature)::Type>)
                    visit(feature, feature.of(self()));
        });
    }
    template <class Visit>
    bool find(meta::Property const& property, Visit const& visit) const
    {
        unsigned long const index = property.index();
        if (index == 0 || !(property == T::propertyAt(index)))
            return false;
        each([&](auto feature) {
            if (feature.index == index)
                visit(feature);
        });
        return true;
    }
    template <class Made, class Raw>
    std::unique_ptr<Raw> make() const
    {
        return std::make_unique<Made>(this->identifier(), this->getModel(), getMetaClass(), featureCount());
    }
};

}   // namespace tarn::zero

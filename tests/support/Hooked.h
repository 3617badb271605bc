#pragma once

#include "support/Elements.h"
#include "tarn/zero/collections/ElementSequence.h"
#include "tarn/zero/features/BuilderOf.h"
#include "tarn/zero/features/ElementImplOf.h"

#include <functional>
#include <memory>
#include <vector>

namespace support {

/// An element that contains others of its class, and whose hooks run the test's function.
class Hooked : public tarn::zero::ModelElement {
public:
    class Impl;
    class Builder;

    Hooked() = default;
    explicit Hooked(Impl* impl) noexcept;
    static tarn::zero::meta::Class metaClass()
    {
        static Model const model = newModel();
        static auto const type = tarn::zero::meta::Class::create(model, {});
        return type;
    }
    Impl* operator->() const noexcept;
};

class Hooked::Impl final : public tarn::zero::ElementImplOf<Hooked::Impl> {
public:
    using Handle = Hooked;
    class Storage;
    class Changes;

    Impl(Model const& model, boost::uuids::uuid const& id) : ElementImplOf{model, id}, parts{*this, 1, true} {}
    Impl(tarn::zero::ModelElement::Builder& builder, boost::uuids::uuid const& id) : Impl{builder.model(), id} {}

    static constexpr auto features()
    {
        return std::tuple{tarn::zero::Collection<1, &Impl::parts, tarn::zero::RevertWhenEmpty>{}};
    }
    static tarn::zero::ModelElement::Impl* classImpl() noexcept { return Hooked::metaClass().get(); }
    static tarn::zero::meta::Property propertyAt(unsigned long) { return {}; }

    void aboutToDestroy() override { call('-'); }
    void didCreate() override { call('+'); }

    /// Called by every hook with a sign that identifies the hook, and the element.
    static inline std::function<void(char sign, Hooked const& element)> hook;
    tarn::zero::ElementSequence<Hooked> parts;

private:
    void call(char sign)
    {
        if (hook)
            hook(sign, Hooked{this});
    }
};

class Hooked::Impl::Storage final : public tarn::zero::StorageOf<Hooked::Impl> {
public:
    using StorageOf::StorageOf;
};
class Hooked::Impl::Changes final : public tarn::zero::ChangesOf<Hooked::Impl> {
public:
    using ChangesOf::ChangesOf;
};

inline Hooked::Hooked(Impl* impl) noexcept : ModelElement{impl} {}
inline Hooked::Impl* Hooked::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

class Hooked::Builder final : public tarn::zero::BuilderOf<Hooked::Impl, Hooked::Builder> {
public:
    explicit Builder(Model const& model) : BuilderOf{1, model} {}

    /// Adds a part with that UUID.
    void addPart(boost::uuids::uuid const& id)
    {
        m_parts.push_back(std::make_unique<Builder>(model()));
        m_ids.push_back(id);
    }
    template <class Given>
    long doSetOrAdd(tarn::zero::meta::Property const&, Given const&)
    {
        return -1;
    }
    void fill(Impl&) {}
    void cascadeCreation(Impl& element, bool notify)
    {
        for (std::size_t i = 0; i != m_parts.size(); ++i) {
            orchestrator()->addBuilder(m_parts[i].get());
            tarn::zero::ModelElement const part = m_parts[i]->doCreate(notify, m_ids[i]);
            element.parts.basicAdd(part);
            part->basicSetContainer(&element, 1);
        }
    }

private:
    std::vector<std::unique_ptr<Builder>> m_parts;
    std::vector<boost::uuids::uuid> m_ids;
};

}   // namespace support

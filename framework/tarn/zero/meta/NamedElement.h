#pragma once

#include "tarn/zero/ModelElementImpl.h"

#include <string>

namespace tarn::zero::meta {

namespace detail {
template <class Impl>
struct FeaturesOf;
}   // namespace detail

/// A part of a schema. Schemas consist of model elements, in the model of the meta registry, so a transaction that
/// extends a schema is atomic. Meta handles count their element, may be null, and give access to it by `->`.
class STUDIO_DATA_EXPORT NamedElement : public ModelElement {
public:
    class Impl;

    NamedElement() noexcept = default;
    explicit NamedElement(Impl* impl) noexcept;

    static Class metaClass();

    Impl* operator->() const noexcept;
};

/// Implementation of a part of a schema. Every setter of a meta element joins the open transaction or opens its own.
/// *Throws*, and changes nothing: `ModelFrozen` on a frozen model, `std::logic_error` on a dead element.
class STUDIO_DATA_EXPORT NamedElement::Impl : public ModelElement::Impl {
public:
    using ModelElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept;

    /// The name within the container.
    std::u16string const& getName() const noexcept { return m_name; }
    void setName(std::u16string const& name);

    /// The names of all containers and of the element, outermost first, joined by dots: u"studio.data.Property". Empty
    /// names are skipped. Of a dead element: its last qualified name.
    std::u16string getQualifiedName() const;
    std::string nameInMessages() const override;

protected:
    static constexpr unsigned long NAME = 1;

    ~Impl() override;

    /// Moves this element into the collection `place` of its new container; null removes it from the present one.
    void moveInto(ReferenceCollection* place);

private:
    template <class>
    friend struct detail::FeaturesOf;

    std::u16string m_name;
};

}   // namespace tarn::zero::meta

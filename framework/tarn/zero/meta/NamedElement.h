#pragma once

#include "tarn/zero/ModelElementImpl.h"

#include <string>

namespace tarn::zero::meta {

namespace detail {
template <class Impl>
struct FeaturesOf;
}   // namespace detail

/// A part of a schema. Schemas consist of elements like any other, in the model of the meta registry, so that what a
/// transaction adds to a schema is there wholly or not at all. All meta handles count their element, may be null, and
/// give their implementation with `->`.
class STUDIO_DATA_EXPORT NamedElement : public ModelElement {
public:
    class Impl;

    NamedElement() noexcept = default;
    explicit NamedElement(Impl* impl) noexcept;

    static Class metaClass();

    Impl* operator->() const noexcept;
};

/// Every setter of a meta element joins the open transaction or makes one of its own; on a frozen model it throws
/// `ModelFrozen`, on a dead element `std::logic_error`, and changes nothing.
class STUDIO_DATA_EXPORT NamedElement::Impl : public ModelElement::Impl {
public:
    using ModelElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept;

    /// The name within what contains the element.
    std::u16string const& getName() const noexcept { return m_name; }
    void setName(std::u16string const& name);

    /// The names of all containers and the own one, outermost first, joined by dots: u"studio.data.Property". Empty
    /// names are skipped. A dead element answers what it was last.
    std::u16string getQualifiedName() const;
    std::string nameInMessages() const override;

protected:
    static constexpr unsigned long NAME = 1;

    ~Impl() override;

    /// Moves this element into that collection of its new container; null takes it out of the present one.
    void moveInto(ReferenceCollection* place);

private:
    template <class>
    friend struct detail::FeaturesOf;

    std::u16string m_name;
};

}   // namespace tarn::zero::meta

#pragma once

#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/meta/MetaHandle.h"

#include <string>

namespace tarn::zero::meta {

/// A part of a schema. Schemas consist of model elements, in the model of the meta registry, so a transaction that
/// extends a schema is atomic.
class STUDIO_DATA_EXPORT NamedElement : public MetaHandle<NamedElement, ModelElement> {
public:
    class Impl;

    using MetaHandle::MetaHandle;
};

/// Implementation of a part of a schema. Every setter of a meta element joins the open transaction or opens its own.
/// *Throws*, and changes nothing: `ModelFrozen` on a frozen model, `std::logic_error` on a dead element.
class STUDIO_DATA_EXPORT NamedElement::Impl : public ModelElement::Impl {
public:
    using ModelElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<NamedElement>(); }

    /// The name within the container.
    std::u16string const& getName() const noexcept { return m_name; }
    void setName(std::u16string const& name) { assign(NAME, m_name, name); }

    /// The names of all containers and of the element, outermost first, joined by dots: u"studio.data.Property". Empty
    /// names are skipped. Of a dead element: its last qualified name.
    std::u16string getQualifiedName() const;
    std::string nameInMessages() const override;

protected:
    ~Impl() override = default;

    static constexpr auto features();

    /// Moves this element into the collection `place` of its new container; null removes it from the present one.
    void moveInto(ReferenceCollection* place);

private:
    enum : unsigned long { NAME = 1 };

    std::u16string m_name;
};

}   // namespace tarn::zero::meta

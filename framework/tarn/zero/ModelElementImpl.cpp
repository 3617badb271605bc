#include "tarn/zero/ModelElementImpl.h"

#include "fl/i18n/Unicode.h"
#include "tarn/zero/Builder.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/detail/UuidSource.h"
#include "tarn/zero/meta/Type.h"
#include "tarn0/messages/Messages.h"

#include <boost/uuid/uuid_io.hpp>

#include <stdexcept>

namespace tarn::zero {

ModelElement::Impl::Impl(Model const& model, boost::uuids::uuid const& uuid)
    : m_uuid{uuid.is_nil() ? detail::freshUuid() : uuid}, m_model{model.get()}
{
    if (!m_model)
        throw std::logic_error{"an element needs a model"};
}

ModelElement::Impl::Impl(Builder& builder, boost::uuids::uuid const& uuid) : Impl{builder.model(), uuid} {}

ModelElement::Impl::~Impl()
{
    if (m_holdsContainer)
        m_container->removeRef();
}

Model ModelElement::Impl::getModel() const noexcept
{
    return Model{m_model};
}

ProxyId ModelElement::Impl::getPersistentProxyId(bool) const noexcept
{
    return getProxyId();
}

std::string ModelElement::Impl::describe() const
{
    std::string text = !m_alive ? "destroyed " : m_proxy ? "proxy " : "";
    auto const* const type = static_cast<meta::Class::Impl const*>(classPointer());
    text += type ? fl::i18n::ustring_to_utf8_lossy(type->getName()) : "element";
    if (std::string const name = nameInMessages(); !name.empty())
        text += " \"" + name + '"';
    return text + " (" + boost::uuids::to_string(m_uuid) + ')';
}

std::string ModelElement::Impl::describe(ModelElement const& element)
{
    return element.get() ? element->describe() : "null";
}

meta::Property ModelElement::Impl::containmentFeature() const
{
    return m_container ? m_container->getPropertyByIndex(m_containerFeature) : meta::Property{};
}

void ModelElement::Impl::checkCircularContainment(ModelElement const& container) const
{
    for (Impl const* outer = container.get(); outer; outer = outer->m_container)
        if (outer == this)
            reportException(tarn0::messages::CircularContainment{describe() + " in " + describe(container)});
}

void ModelElement::Impl::refuseAsDead() const
{
    throw std::logic_error{"the element was destroyed: " + describe()};
}

void ModelElement::Impl::refuseChange() const
{
    refuseDead();
    m_model->refuseFrozen();
}

void ModelElement::Impl::refuseProxy() const
{
    refuseDead();
    if (m_proxy)
        reportException(tarn0::messages::CannotModifyProxy{describe()});
}

bool ModelElement::Impl::derives(Impl const* type, Impl const* base) noexcept
{
    if (!type || !base)
        return false;
    for (auto const* super = static_cast<meta::Class::Impl const*>(type); super; super = super->superclassImpl())
        if (super == base)
            return true;
    return false;
}

Value ModelElement::Impl::getPropertyValue(meta::Property const&, ReflectionPrivateTag) const
{
    return Value{};
}

bool ModelElement::Impl::hasPropertyValue(meta::Property const&, ReflectionPrivateTag) const
{
    return false;
}

void ModelElement::Impl::setPropertyValue(meta::Property const& property, Value const&, ReflectionPrivateTag)
{
    reportException(tarn0::messages::InvalidValue{describe(property) + " of " + describe()});
}

meta::Property ModelElement::Impl::getPropertyByIndex(unsigned long) const
{
    return meta::Property{};
}

ReferenceCollection* ModelElement::Impl::referenceCollection(unsigned long) noexcept
{
    return nullptr;
}

}   // namespace tarn::zero

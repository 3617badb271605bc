#include "tarn/zero/ModelElement.h"

#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/Type.h"

namespace tarn::zero {

ModelElement::ModelElement(Impl* impl) noexcept : m_impl{impl}
{
    addRef();
}

ModelElement::ModelElement(ModelElement const& other) noexcept : ModelElement{other.m_impl} {}

ModelElement& ModelElement::operator=(ModelElement const& other) noexcept
{
    return *this = ModelElement{other};
}

ModelElement& ModelElement::operator=(ModelElement&& other) noexcept
{
    if (this != &other) {
        Impl* const old = m_impl;
        m_impl = other.m_impl;
        other.m_impl = nullptr;
        if (old)
            old->removeRef();
    }
    return *this;
}

ModelElement::~ModelElement()
{
    removeRef();
}

meta::Class ModelElement::metaClass()
{
    return meta::MetaRegistry::getInstance().rootClass();
}

void ModelElement::addRef() const noexcept
{
    if (m_impl)
        m_impl->addRef();
}

void ModelElement::removeRef() const noexcept
{
    if (m_impl)
        m_impl->removeRef();
}

ModelElement::operator bool() const noexcept
{
    return m_impl && m_impl->isAlive();
}

boost::uuids::uuid ModelElement::Uuid() const noexcept
{
    return m_impl ? m_impl->identifier() : boost::uuids::uuid{};
}

bool ModelElement::isA(meta::Class const& type) const noexcept
{
    return m_impl && Impl::conforms(m_impl->classPointer(), type.get());
}

}   // namespace tarn::zero

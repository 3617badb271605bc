#include "tarn/zero/Value.h"

#include "tarn/zero/ReportException.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/Type.h"
#include "tarn0/messages/Messages.h"

#include <boost/container_hash/hash.hpp>

#include <utility>

namespace tarn::zero {

std::size_t combinedHash(std::size_t seed, std::size_t hash) noexcept
{
    boost::hash_combine(seed, hash);
    return seed;
}

Value::Value(Value const& other)
    : m_meta{other.m_meta},
      m_handlers{other.m_handlers},
      m_payload{other.m_handlers ? other.m_handlers->clone(other.m_payload) : nullptr}
{}

Value::Value(Value&& other) noexcept
    : m_meta{std::move(other.m_meta)},
      m_handlers{std::exchange(other.m_handlers, nullptr)},
      m_payload{std::exchange(other.m_payload, nullptr)}
{}

Value& Value::operator=(Value other) noexcept
{
    std::swap(m_meta, other.m_meta);
    std::swap(m_handlers, other.m_handlers);
    std::swap(m_payload, other.m_payload);
    return *this;
}

Value::~Value()
{
    if (m_handlers)
        m_handlers->destroy(m_payload);
}

std::size_t Value::hash() const
{
    return m_handlers ? m_handlers->hash(m_payload) : 0;
}

bool Value::slotAccepts(std::type_info const& type) const
{
    std::type_info const* const held = meta::MetaRegistry::getInstance().valueTypeOf(m_meta.type());
    return !held || foundation::isSameType(*held, type);
}

bool Value::slotAccepts(ModelElement const& element) const
{
    meta::Type const type = m_meta.type();
    return element.get() && ModelElement::Impl::conforms(element->classPointer(), type.get());
}

void Value::reportIncompatible() const
{
    meta::Type const type = m_meta.type();
    reportException(tarn0::messages::CannotCastIncompatibleTypes{type.get() ? type->getQualifiedName() : u"nothing"});
}

}   // namespace tarn::zero

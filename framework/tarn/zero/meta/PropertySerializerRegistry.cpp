#include "tarn/zero/meta/PropertySerializerRegistry.h"

#include "foundation/NeverDestroyed.h"

#include <utility>

namespace tarn::zero::meta {

PropertySerializerRegistry& PropertySerializerRegistry::getInstance()
{
    static foundation::NeverDestroyed<PropertySerializerRegistry> s_registry;
    return *s_registry;
}

PropertySerializerRegistry::~PropertySerializerRegistry() = default;

void PropertySerializerRegistry::registerPropertySerializer(Type const& type,
                                                            std::unique_ptr<PropertySerializer> serializer)
{
    if (!type || !serializer)
        reportException(
            tarn0::messages::InvalidValue{"no serializer, or no type for one: " + ModelElement::Impl::describe(type)});
    LockGuard const lock{*this};
    m_serializers.try_emplace(type.get(), Entry{type, std::move(serializer)});
}

PropertySerializer* PropertySerializerRegistry::findPropertySerializer(Type const& type) const
{
    LockGuard const lock{*this};
    auto const found = m_serializers.find(type.get());
    return found == m_serializers.end() ? nullptr : found->second.serializer.get();
}

std::unique_ptr<PropertySerializer> PropertySerializerRegistry::unlinkPropertySerializer(Type const& type)
{
    LockGuard const lock{*this};
    auto const found = m_serializers.find(type.get());
    if (found == m_serializers.end())
        return nullptr;
    std::unique_ptr<PropertySerializer> serializer = std::move(found->second.serializer);
    m_serializers.erase(found);
    return serializer;
}

}   // namespace tarn::zero::meta

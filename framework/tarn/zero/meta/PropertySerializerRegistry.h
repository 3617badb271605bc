#pragma once

#include "tarn/zero/meta/PropertySerializer.h"

#include <memory>
#include <mutex>
#include <unordered_map>

namespace foundation {
template <class T>
class NeverDestroyed;
}   // namespace foundation

namespace tarn::zero::meta {

/// The text serializers of all value types. Never destroyed. Every operation takes the registry's lock; who needs
/// several of them to belong together, or uses a serializer that another thread may unlink, holds a `LockGuard`.
class STUDIO_DATA_EXPORT PropertySerializerRegistry {
public:
    class LockGuard;

    /// The one registry of the process.
    static PropertySerializerRegistry& getInstance();

    PropertySerializerRegistry(PropertySerializerRegistry const&) = delete;
    PropertySerializerRegistry& operator=(PropertySerializerRegistry const&) = delete;
    ~PropertySerializerRegistry();

    /// Takes the serializer of `type`. A type that has one keeps it. Throws `InvalidValue` for a null type or
    /// serializer.
    void registerPropertySerializer(Type const& type, std::unique_ptr<PropertySerializer> serializer);
    /// Borrowed; null if the type has none.
    PropertySerializer* findPropertySerializer(Type const& type) const;
    /// Gives the serializer of `type` up to the caller; null if it has none.
    std::unique_ptr<PropertySerializer> unlinkPropertySerializer(Type const& type);

private:
    friend class foundation::NeverDestroyed<PropertySerializerRegistry>;
    struct Entry {
        Type type;   // keeps the key from being used again
        std::unique_ptr<PropertySerializer> serializer;
    };

    PropertySerializerRegistry() = default;

    mutable std::recursive_mutex m_mutex;
    std::unordered_map<ModelElement::Impl const*, Entry> m_serializers;
};

/// Keeps other threads away from the registry while it lives. One thread may hold several.
class STUDIO_DATA_EXPORT PropertySerializerRegistry::LockGuard {
public:
    /// Waits for who holds the lock.
    explicit LockGuard(PropertySerializerRegistry const& registry) : m_lock{registry.m_mutex} {}

private:
    std::lock_guard<std::recursive_mutex> m_lock;
};

}   // namespace tarn::zero::meta

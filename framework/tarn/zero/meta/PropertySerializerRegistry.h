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

/// The text serializers of all value types. Never destroyed. Every operation takes the registry's lock. Callers that
/// need several operations to be atomic, or use a serializer that another thread may unlink, hold a `LockGuard`.
class STUDIO_DATA_EXPORT PropertySerializerRegistry {
public:
    class LockGuard;

    /// The process's only registry.
    static PropertySerializerRegistry& getInstance();

    PropertySerializerRegistry(PropertySerializerRegistry const&) = delete;
    PropertySerializerRegistry& operator=(PropertySerializerRegistry const&) = delete;
    ~PropertySerializerRegistry();

    /// Registers the serializer of `type`; no effect if it has one. *Throws* `InvalidValue` for a null type or
    /// serializer.
    void registerPropertySerializer(Type const& type, std::unique_ptr<PropertySerializer> serializer);
    /// The serializer of `type`, borrowed; null if it has none.
    [[nodiscard]] PropertySerializer* findPropertySerializer(Type const& type) const;
    /// Unregisters the serializer of `type` and passes it to the caller; null if it has none.
    [[nodiscard]] std::unique_ptr<PropertySerializer> unlinkPropertySerializer(Type const& type);

private:
    friend class foundation::NeverDestroyed<PropertySerializerRegistry>;
    struct Entry {
        Type type;   // keeps the key's address from being reused
        std::unique_ptr<PropertySerializer> serializer;
    };

    PropertySerializerRegistry() = default;

    mutable std::recursive_mutex m_mutex;
    std::unordered_map<ModelElement::Impl const*, Entry> m_serializers;
};

/// Holds the registry's lock while it lives. Recursive on one thread.
class STUDIO_DATA_EXPORT PropertySerializerRegistry::LockGuard {
public:
    /// Blocks until the lock is free.
    explicit LockGuard(PropertySerializerRegistry const& registry) : m_lock{registry.m_mutex} {}

private:
    std::lock_guard<std::recursive_mutex> m_lock;
};

}   // namespace tarn::zero::meta

#pragma once

#include "foundation/SameType.h"
#include "tarn/zero/ValueMeta.h"

#include <boost/optional/optional.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace tarn::zero {

/// Combines `seed`, the hash of a sequence, with the hash of its next element, by Boost's 64-bit mixing.
STUDIO_DATA_EXPORT std::size_t combinedHash(std::size_t seed, std::size_t hash) noexcept;

/// Hash of a value. A type without `std::hash` hashes to 0, so that hashed containers fall back on `==`; a vector
/// combines its elements in order, by Boost's 64-bit mixing.
template <class T>
struct ValueHash {
    /// The `std::hash` of `value`, or 0.
    static std::size_t of(T const& value) noexcept
    {
        if constexpr (requires { std::hash<T>{}(value); })
            return std::hash<T>{}(value);
        else
            return 0;
    }
};
/// Hash of an optional value: that of the contained value, or 0.
template <class T>
struct ValueHash<boost::optional<T>> {
    /// The hash of the contained value, or 0.
    static std::size_t of(boost::optional<T> const& value) noexcept { return value ? ValueHash<T>::of(*value) : 0; }
};
template <class T>
struct ValueHash<std::vector<T>> {
    static std::size_t of(std::vector<T> const& values) noexcept
    {
        std::size_t seed = 0;
        for (T const& value : values)
            seed = combinedHash(seed, ValueHash<T>::of(value));
        return seed;
    }
};

/// The C++ type that a slot must have to hold a `T`: for a container or an optional, its value type.
template <class T>
struct SlotTypeOf {
    /// The slot type of `T`.
    using type = T;
};
template <class T>
struct SlotTypeOf<std::vector<T>> : SlotTypeOf<T> {};
template <class T>
struct SlotTypeOf<std::set<T>> : SlotTypeOf<T> {};
template <class T>
struct SlotTypeOf<boost::optional<T>> : SlotTypeOf<T> {};

/// Type-erased value: a payload of any copyable type, the functions that handle it, and the slot it belongs to. Copies
/// are independent.
class STUDIO_DATA_EXPORT Value {
public:
    /// Makes an empty value without a slot type.
    Value() noexcept = default;
    /// Makes an empty value of the slot's type.
    explicit Value(ValueMeta meta) noexcept : m_meta{std::move(meta)} {}
    template <class T>
    Value(ValueMeta meta, T payload)
        : m_meta{std::move(meta)}, m_handlers{&handlersOf<T>()}, m_payload{new T(std::move(payload))}
    {}
    Value(Value const& other);
    Value(Value&& other) noexcept;
    /// Assigns a copy; self-assignment is safe.
    Value& operator=(Value other) noexcept;
    ~Value();

    /// True if there is no value.
    bool isEmpty() const noexcept { return m_handlers == nullptr; }
    /// The slot of the value.
    ValueMeta const& meta() const noexcept { return m_meta; }
    /// The payload's hash; 0 for an empty value.
    std::size_t hash() const;

    /// A copy of the payload; a default `T` if the value is empty. A collection is read as a `CollectionRef`, which
    /// shares it; if the value is empty, it holds a new empty collection.
    /// *Throws* `CannotCastIncompatibleTypes` if the slot or the payload is of another type.
    template <class T>
    T getValue() const
    {
        checkCompatible<T>();
        if (isEmpty())
            return T();
        if (!m_payload)
            reportIncompatible();
        return *static_cast<T const*>(m_payload);
    }
    /// The payload, borrowed; null if there is none or it is of another type.
    template <class T>
    T const* peekValue() const noexcept
    {
        return m_handlers && foundation::isSameType(*m_handlers->type, typeid(T)) ? static_cast<T const*>(m_payload)
                                                                                  : nullptr;
    }
    /// *Throws* `CannotCastIncompatibleTypes`, which names the value's own type, if the value cannot be read as a `T`.
    template <class T>
    void checkCompatible() const
    {
        if (!isCompatible<T>())
            reportIncompatible();
    }
    /// True if the value can be read as a `T`: the payload is a `T` and the slot is of that type or of unknown type. A
    /// slot of elements accepts every handle to an element of its class or a derived one.
    template <class T>
    bool isCompatible() const
    {
        if (m_handlers && !foundation::isSameType(*m_handlers->type, typeid(T)))
            return false;
        if constexpr (std::is_base_of_v<ModelElement, T>)
            if (m_payload && slotAccepts(*static_cast<T const*>(m_payload)))
                return true;
        return slotAccepts(typeid(typename SlotTypeOf<T>::type));
    }

    /// A copy on the heap; null for null.
    template <class T>
    static void* genericCloner(void* payload)
    {
        return payload ? new T(*static_cast<T const*>(payload)) : nullptr;
    }
    /// Deletes the payload; ignores null.
    template <class T>
    static void genericDeleter(void* payload)
    {
        delete static_cast<T*>(payload);
    }
    /// The hash of the payload; 0 for null.
    template <class T>
    static std::size_t genericHasher(void* payload)
    {
        return payload ? ValueHash<T>::of(*static_cast<T const*>(payload)) : 0;
    }

private:
    struct Handlers {
        std::type_info const* type;
        void* (*clone)(void*);
        void (*destroy)(void*);
        std::size_t (*hash)(void*);
    };

    template <class T>
    static Handlers const& handlersOf() noexcept
    {
        static constexpr Handlers handlers{&typeid(T), &genericCloner<T>, &genericDeleter<T>, &genericHasher<T>};
        return handlers;
    }

    bool slotAccepts(std::type_info const& type) const;
    bool slotAccepts(ModelElement const& element) const;
    [[noreturn]] void reportIncompatible() const;

    ValueMeta m_meta;
    Handlers const* m_handlers = nullptr;   // null: empty
    void* m_payload = nullptr;
};

}   // namespace tarn::zero

#pragma once

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

/// The hash of a sequence that had `seed` and now goes on with an element of that hash: Boost's 64-bit mixing.
STUDIO_DATA_EXPORT std::size_t combinedHash(std::size_t seed, std::size_t hash) noexcept;

/// The hash of a value as the framework takes it. A type without a standard hash contributes 0, so that hashed
/// containers fall back on `==`; a vector combines its elements in order, with Boost's 64-bit mixing.
template <class T>
struct ValueHash {
    /// The standard hash, or 0.
    static std::size_t of(T const& value) noexcept
    {
        if constexpr (requires { std::hash<T>{}(value); })
            return std::hash<T>{}(value);
        else
            return 0;
    }
};
/// Of an optional value: that of the value that it holds, or 0.
template <class T>
struct ValueHash<boost::optional<T>> {
    /// The hash.
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

/// The C++ type that a slot must name to hold a `T`: of several values, the type of one.
template <class T>
struct SlotTypeOf {
    /// That type.
    using type = T;
};
template <class T>
struct SlotTypeOf<std::vector<T>> : SlotTypeOf<T> {};
template <class T>
struct SlotTypeOf<std::set<T>> : SlotTypeOf<T> {};
template <class T>
struct SlotTypeOf<boost::optional<T>> : SlotTypeOf<T> {};

/// A type-erased value: a payload of any copyable type, the three functions that handle it, and the slot it belongs to.
/// Copies are independent.
class STUDIO_DATA_EXPORT Value {
public:
    /// Empty, of no known type.
    Value() noexcept = default;
    /// Empty, of the slot's type.
    explicit Value(ValueMeta meta) noexcept : m_meta{std::move(meta)} {}
    template <class T>
    Value(ValueMeta meta, T payload)
        : m_meta{std::move(meta)}, m_handlers{&handlersOf<T>()}, m_payload{new T(std::move(payload))}
    {}
    Value(Value const& other);
    Value(Value&& other) noexcept;
    /// Becomes a copy, also of itself.
    Value& operator=(Value other) noexcept;
    ~Value();

    /// True if the box holds no value.
    bool isEmpty() const noexcept { return m_handlers == nullptr; }
    /// The slot that the value sits in.
    ValueMeta const& meta() const noexcept { return m_meta; }
    /// The payload's hash; 0 for an empty value.
    std::size_t hash() const;

    /// A copy of the payload; a default `T` if the value is empty. Of a collection, which is read as a `CollectionRef`,
    /// it is a handle: one that shares the collection, or a new empty one if the value is empty.
    /// *Throws* `CannotCastIncompatibleTypes` if the value's slot is of another type, or its payload.
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
        return m_handlers && *m_handlers->type == typeid(T) ? static_cast<T const*>(m_payload) : nullptr;
    }
    /// Throws `CannotCastIncompatibleTypes`, which names the value's own type, if the value cannot be read as a `T`.
    template <class T>
    void checkCompatible() const
    {
        if (!isCompatible<T>())
            reportIncompatible();
    }
    /// True if the value can be read as a `T`: the slot is of that type, or of none that is known, and the payload is a
    /// `T`. A slot of elements accepts every handle to an element of its class or one derived from it.
    template <class T>
    bool isCompatible() const
    {
        if (m_handlers && *m_handlers->type != typeid(T))
            return false;
        if constexpr (std::is_base_of_v<ModelElement, T>)
            if (m_payload && slotAccepts(*static_cast<T const*>(m_payload)))
                return true;
        return slotAccepts(typeid(typename SlotTypeOf<T>::type));
    }

    /// A heap copy; of null, null.
    template <class T>
    static void* genericCloner(void* payload)
    {
        return payload ? new T(*static_cast<T const*>(payload)) : nullptr;
    }
    /// Destroys and frees; ignores null.
    template <class T>
    static void genericDeleter(void* payload)
    {
        delete static_cast<T*>(payload);
    }
    /// The hash; 0 for null.
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

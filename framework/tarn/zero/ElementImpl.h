#pragma once

#include "foundation/Export.h"
#include "tarn/zero/Fwd.h"

#include <atomic>
#include <cstdint>
#include <limits>

namespace tarn::zero {

/// Reference-counted base of everything that a handle points to. An object starts with no reference and deletes itself
/// when the last one is dropped. The count is atomic; all other state belongs to one thread.
class STUDIO_DATA_EXPORT ElementImpl {
public:
    /// The count while the object deletes itself: references taken and dropped meanwhile are ignored.
    static constexpr std::int32_t REFCOUNT_DELETING = (std::numeric_limits<std::int32_t>::min)();

    /// Process-wide hook, null by default. An element being invalidated passes it each of its collections once, before
    /// its handles turn false. For scripting hosts that hand out collections. Must not throw.
    using CollectionCallback = void (*)(AbstractOwnedCollection& collection);
    /// The installed hook.
    static CollectionCallback m_callback;

    ElementImpl(ElementImpl const&) = delete;
    ElementImpl& operator=(ElementImpl const&) = delete;

    /// Takes a reference. Ignored while the object deletes itself.
    void addRef() noexcept
    {
        if (m_refCount.load(std::memory_order_relaxed) != REFCOUNT_DELETING)
            m_refCount.fetch_add(1, std::memory_order_relaxed);
    }

    /// Drops a reference; the object deletes itself with the last one.
    void removeRef() noexcept
    {
        if (m_refCount.load(std::memory_order_relaxed) == REFCOUNT_DELETING)
            return;
        if (m_refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
            destroySelf();
    }

protected:
    ElementImpl() noexcept = default;
    virtual ~ElementImpl();

private:
    void destroySelf() noexcept;

    std::atomic<std::int32_t> m_refCount{0};
};

/// Counts one more reference of a `Counted<T>`. A handle class whose `T` is incomplete where handles are used has an
/// overload of its own, and one of `dropReference`.
template <class T>
void takeReference(T* object) noexcept
{
    object->addRef();
}
/// Counts one reference of a `Counted<T>` less; the last one destroys the object.
template <class T>
void dropReference(T* object) noexcept
{
    object->removeRef();
}

/// One counted reference to a `T`.
template <class T>
class Counted {
public:
    Counted() noexcept = default;
    explicit Counted(T* object) noexcept : m_object{object}
    {
        if (m_object)
            takeReference(m_object);
    }
    Counted(Counted const& other) noexcept : Counted{other.m_object} {}
    Counted(Counted&& other) noexcept : m_object{other.m_object} { other.m_object = nullptr; }
    ~Counted()
    {
        if (m_object)
            dropReference(m_object);
    }

    Counted& operator=(Counted other) noexcept
    {
        T* const old = m_object;
        m_object = other.m_object;
        other.m_object = old;
        return *this;
    }

    T* get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    friend bool operator==(Counted const& left, Counted const& right) noexcept
    {
        return left.m_object == right.m_object;
    }

private:
    T* m_object = nullptr;
};

}   // namespace tarn::zero

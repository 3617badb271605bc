#pragma once

#include "tarn/zero/ListenerHolder.h"

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace tarn::zero::detail {

/// The listeners of one model in order of registration: a copy-on-write array. Taking a snapshot takes constant time,
/// `add` and `remove` are linear. A snapshot does not change with the list, so the list may change during a delivery.
/// Not a `std::shared_ptr` to an array: snapshots are taken once per report on the model's thread and counted without
/// atomics.
class ListenerList {
    struct Holders {
        std::vector<std::shared_ptr<ListenerHolderBase>> list;
        std::size_t users = 1;
    };

public:
    /// An immutable copy of the list, shared; keeps its holders alive.
    class Snapshot {
    public:
        Snapshot() = default;
        Snapshot(Snapshot const& other) noexcept : m_holders{other.m_holders}
        {
            if (m_holders)
                ++m_holders->users;
        }
        Snapshot(Snapshot&& other) noexcept : m_holders{std::exchange(other.m_holders, nullptr)} {}
        Snapshot& operator=(Snapshot other) noexcept
        {
            std::swap(m_holders, other.m_holders);
            return *this;
        }
        ~Snapshot()
        {
            if (m_holders && --m_holders->users == 0)
                delete m_holders;
        }

        std::size_t size() const noexcept { return m_holders ? m_holders->list.size() : 0; }
        ListenerHolderBase& operator[](std::size_t at) const noexcept { return *m_holders->list[at]; }

    private:
        friend class ListenerList;

        explicit Snapshot(std::unique_ptr<Holders> holders) noexcept : m_holders{holders.release()} {}

        Holders* m_holders = nullptr;
    };

    bool empty() const noexcept { return m_present.size() == 0; }
    Snapshot const& snapshot() const noexcept { return m_present; }
    bool contains(Listener const* listener) const noexcept { return find(listener) != m_present.size(); }
    /// True if a change concerns at least one listener; see `Listener::concerns`.
    bool isConcerned(ModelElement::Impl const& element, std::uint64_t changed) const noexcept;
    void add(std::shared_ptr<ListenerHolderBase> holder);
    /// Removes and invalidates the listener's holder, if it has one. Never fails.
    void remove(Listener const* listener) noexcept;
    /// Invalidates every holder.
    void clear() noexcept;

private:
    std::size_t find(Listener const* listener) const noexcept;

    Snapshot m_present;
};

}   // namespace tarn::zero::detail

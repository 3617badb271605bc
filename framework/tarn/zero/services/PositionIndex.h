#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace tarn::zero::services {

/// Finds the places of a list by the hashes of what stands there: a table of 8 bytes an entry, probed in line, that
/// looks into the list only where a hash agrees. Erasing leaves no gaps and gives no room back, so what was taken out
/// can always be put in again.
class PositionIndex {
public:
    using Hash = std::uint32_t;
    static constexpr std::uint32_t NOWHERE = ~std::uint32_t{0};

    /// The upper half of a 64-bit hash knows all of its input.
    static Hash fold(std::size_t hash) noexcept { return static_cast<Hash>(hash ^ hash >> 32); }

    /// The first place of that hash that `isWanted(place)`; else `NOWHERE`.
    template <class Test>
    std::uint32_t find(Hash hash, Test const& isWanted) const noexcept
    {
        if (m_count == 0)
            return NOWHERE;
        for (std::uint32_t at = hash & m_mask; m_slots[at].place != 0; at = (at + 1) & m_mask)
            if (m_slots[at].hash == hash && isWanted(m_slots[at].place - 1))
                return m_slots[at].place - 1;
        return NOWHERE;
    }

    /// Room for `count` entries in all. *Throws* `std::bad_alloc`, and has the room it had then.
    void reserve(std::size_t count)
    {
        std::size_t slots = m_slots ? m_mask + std::size_t{1} : 4;
        while (slots / 4 * 3 < count)
            slots *= 2;
        if (m_slots && slots == m_mask + std::size_t{1})
            return;
        PositionIndex larger{slots};
        for (std::size_t at = 0; m_count != 0 && at <= m_mask; ++at)
            if (m_slots[at].place != 0)
                larger.insert(m_slots[at].hash, m_slots[at].place - 1);
        *this = std::move(larger);
    }

    /// Enters a place; there is room.
    void insert(Hash hash, std::uint32_t place) noexcept
    {
        std::uint32_t at = hash & m_mask;
        while (m_slots[at].place != 0)
            at = (at + 1) & m_mask;
        m_slots[at] = {hash, place + 1};
        ++m_count;
    }
    /// Takes out a place that is there.
    void erase(Hash hash, std::uint32_t place) noexcept
    {
        std::uint32_t gap = slotOf(hash, place);
        // What was probed over the gap moves into it.
        for (std::uint32_t at = (gap + 1) & m_mask; m_slots[at].place != 0; at = (at + 1) & m_mask)
            if (((at - m_slots[at].hash) & m_mask) >= ((at - gap) & m_mask)) {
                m_slots[gap] = m_slots[at];
                gap = at;
            }
        m_slots[gap] = {};
        --m_count;
    }
    /// What stood at `from` stands at `to` now.
    void move(Hash hash, std::uint32_t from, std::uint32_t to) noexcept { m_slots[slotOf(hash, from)].place = to + 1; }
    /// Forgets all places and keeps the room.
    void clear() noexcept
    {
        for (std::size_t at = 0; m_count != 0 && at <= m_mask; ++at)
            m_slots[at] = {};
        m_count = 0;
    }

    PositionIndex() noexcept = default;
    PositionIndex(PositionIndex&& other) noexcept
        : m_slots{std::move(other.m_slots)},
          m_mask{std::exchange(other.m_mask, 0)},
          m_count{std::exchange(other.m_count, 0)}
    {}
    PositionIndex& operator=(PositionIndex&& other) noexcept
    {
        m_slots = std::move(other.m_slots);
        m_mask = std::exchange(other.m_mask, 0);
        m_count = std::exchange(other.m_count, 0);
        return *this;
    }
    ~PositionIndex() = default;

private:
    struct Slot {
        Hash hash = 0;
        std::uint32_t place = 0;   // plus one; 0 is free
    };

    explicit PositionIndex(std::size_t slots)
        : m_slots{std::make_unique<Slot[]>(slots)}, m_mask{static_cast<std::uint32_t>(slots - 1)}
    {}

    std::uint32_t slotOf(Hash hash, std::uint32_t place) const noexcept
    {
        std::uint32_t at = hash & m_mask;
        while (m_slots[at].place != place + 1)
            at = (at + 1) & m_mask;
        return at;
    }

    std::unique_ptr<Slot[]> m_slots;   // a power of two of them, at most three quarters in use
    std::uint32_t m_mask = 0;
    std::uint32_t m_count = 0;
};

}   // namespace tarn::zero::services

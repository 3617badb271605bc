#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace foundation {

/// Hash index from 32-bit hashes to positions in the caller's vector; the caller compares keys. Open addressing with
/// linear probing and backward-shift deletion, at most 4/5 full: constant expected time, 10 to 12 bytes per entry.
/// It grows only in `reserve` and never shrinks, so an erased entry can be inserted again without a failure.
///
/// That is why no library container serves: rollback puts back what was erased and must not fail, but a full
/// `boost::unordered_flat_set` allocates within ten pairs of erasing and inserting, because erasures lower its load
/// limit. Figures for 1,000 elements with a vector for the order, a lookup by name, hashing and comparing included:
/// 18.6 bytes per element and 112 instructions here, 25.6 and 125 with `unordered_flat_set`, 48 and 121 with
/// `unordered_flat_map`, 68 and 100 with a hashed and ordered `multi_index_container`.
class PositionIndex {
public:
    /// A 32-bit hash, kept in each entry.
    using Hash = std::uint32_t;
    /// No position.
    static constexpr std::uint32_t NOWHERE = ~std::uint32_t{0};

    /// Folds a 64-bit hash to 32 bits; both halves count.
    static Hash fold(std::uint64_t hash) noexcept { return static_cast<Hash>(hash ^ hash >> 32); }

    /// The first position with that hash for which `isWanted(position)` is true; `NOWHERE` if there is none.
    template <class Test>
    std::uint32_t find(Hash hash, Test const& isWanted) const noexcept
    {
        if (m_count == 0)
            return NOWHERE;
        for (std::uint32_t at = home(hash); m_slots[at].position != 0; at = after(at))
            if (m_slots[at].hash == hash && isWanted(m_slots[at].position - 1))
                return m_slots[at].position - 1;
        return NOWHERE;
    }

    /// Reserves capacity for `count` entries in all. *Throws* `std::bad_alloc` and changes nothing.
    void reserve(std::size_t count)
    {
        if (count + count / 4 < m_size)
            return;
        std::size_t const step = m_size < 64 ? m_size / 2 : m_size / 4;
        PositionIndex larger{(std::max)({count + count / 4 + 1, m_size + step, std::size_t{5}})};
        for (std::size_t at = 0; m_count != 0 && at != m_size; ++at)
            if (m_slots[at].position != 0)
                larger.insert(m_slots[at].hash, m_slots[at].position - 1);
        *this = std::move(larger);
    }

    /// Inserts a position. *Requires* capacity.
    void insert(Hash hash, std::uint32_t position) noexcept
    {
        std::uint32_t at = home(hash);
        while (m_slots[at].position != 0)
            at = after(at);
        m_slots[at] = {hash, position + 1};
        ++m_count;
    }
    /// Erases a position. *Requires* that it is in the index.
    void erase(Hash hash, std::uint32_t position) noexcept
    {
        std::uint32_t gap = slotOf(hash, position);
        // Backward shift: an entry that was probed over the gap moves into it.
        for (std::uint32_t at = after(gap); m_slots[at].position != 0; at = after(at))
            if (distance(home(m_slots[at].hash), at) >= distance(gap, at)) {
                m_slots[gap] = m_slots[at];
                gap = at;
            }
        m_slots[gap] = {};
        --m_count;
    }
    /// Changes the position of an entry from `from` to `to`.
    void move(Hash hash, std::uint32_t from, std::uint32_t to) noexcept
    {
        m_slots[slotOf(hash, from)].position = to + 1;
    }
    /// Erases all entries and keeps the capacity.
    void clear() noexcept
    {
        for (std::size_t at = 0; m_count != 0 && at != m_size; ++at)
            m_slots[at] = {};
        m_count = 0;
    }

    /// Makes an empty index without capacity.
    PositionIndex() noexcept = default;
    /// Takes over all entries; `other` is empty afterwards.
    PositionIndex(PositionIndex&& other) noexcept
        : m_slots{std::move(other.m_slots)},
          m_size{std::exchange(other.m_size, 0)},
          m_count{std::exchange(other.m_count, 0)}
    {}
    /// Replaces all entries by those of `other`, which is empty afterwards.
    PositionIndex& operator=(PositionIndex&& other) noexcept
    {
        m_slots = std::move(other.m_slots);
        m_size = std::exchange(other.m_size, 0);
        m_count = std::exchange(other.m_count, 0);
        return *this;
    }
    ~PositionIndex() = default;

private:
    struct Slot {
        Hash hash = 0;
        std::uint32_t position = 0;   // plus one; 0 is free
    };

    explicit PositionIndex(std::size_t size)
        : m_slots{std::make_unique<Slot[]>(size)}, m_size{static_cast<std::uint32_t>(size)}
    {}

    /// The home slot of a hash: scaled to the table, so that it may have any size.
    std::uint32_t home(Hash hash) const noexcept
    {
        return static_cast<std::uint32_t>(std::uint64_t{hash} * m_size >> 32);
    }
    std::uint32_t after(std::uint32_t at) const noexcept { return ++at == m_size ? 0 : at; }
    std::uint32_t distance(std::uint32_t from, std::uint32_t to) const noexcept
    {
        return to >= from ? to - from : to + m_size - from;
    }

    std::uint32_t slotOf(Hash hash, std::uint32_t position) const noexcept
    {
        std::uint32_t at = home(hash);
        while (m_slots[at].position != position + 1)
            at = after(at);
        return at;
    }

    std::unique_ptr<Slot[]> m_slots;   // load factor at most 4/5
    std::uint32_t m_size = 0;
    std::uint32_t m_count = 0;
};

}   // namespace foundation

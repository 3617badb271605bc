#pragma once

#include "gel/detail/Instructions.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace gel::detail {

/// Hash table of programs by text: open addressing with linear probing, at most half full, so that a lookup reads two
/// slots on average. Holds one reference per program; `clear` is the only removal, so there are no tombstones.
///
/// Its own because the lookup is most of `gel::eval` of a short text: it takes 112 instructions with a text of 25
/// bytes, hashing and comparing included, and 130 to 133 in `boost::unordered_flat_set` or over a `PositionIndex`. The
/// price is 32 bytes per entry, where the two take 17 and 20 (4,096 entries).
class ProgramTable {
public:
    ProgramTable() = default;
    ProgramTable(ProgramTable const&) = delete;
    ProgramTable& operator=(ProgramTable const&) = delete;
    ~ProgramTable() { clear(); }

    std::size_t size() const noexcept { return m_size; }

    /// The program of `text`, whose hash is `hash`; null if there is none.
    Instructions const* find(std::string_view text, std::uint64_t hash) const noexcept;

    /// Inserts a program. *Requires* that its text is not in the table. *Throws* `std::bad_alloc` and changes nothing.
    void insert(Instructions const& program, std::uint64_t hash);

    /// Releases all programs and keeps the array.
    void clear() noexcept;

    void swap(ProgramTable& other) noexcept;

private:
    struct Slot {
        std::uint64_t hash;
        Instructions const* program;   // null: empty
    };

    static void put(std::vector<Slot>& slots, Slot const& slot) noexcept;

    std::vector<Slot> m_slots;   // size is a power of two
    std::size_t m_size = 0;
};

inline Instructions const* ProgramTable::find(std::string_view text, std::uint64_t hash) const noexcept
{
    if (m_size == 0)
        return nullptr;
    std::size_t const mask = m_slots.size() - 1;
    for (std::size_t index = static_cast<std::size_t>(hash) & mask;; index = (index + 1) & mask) {
        Slot const& slot = m_slots[index];
        if (!slot.program || (slot.hash == hash && slot.program->text() == text))
            return slot.program;
    }
}

}   // namespace gel::detail

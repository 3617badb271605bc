#pragma once

#include "gel/detail/Instructions.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace gel::detail {

/// 64-bit hash of a text: every bit depends on every byte.
/// *Cost*: a fifth of `std::hash`, which would take as long as evaluating the text.
std::uint64_t hashOf(std::string_view text) noexcept;

/// Open-addressing hash table of programs by text (linear probing, at most half full). Holds one reference per program;
/// `clear` is the only removal.
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
    struct Place {
        std::uint64_t hash;
        Instructions const* program;   // null: empty
    };

    static void put(std::vector<Place>& places, Place const& place) noexcept;

    std::vector<Place> m_places;   // size is a power of two
    std::size_t m_size = 0;
};

inline Instructions const* ProgramTable::find(std::string_view text, std::uint64_t hash) const noexcept
{
    if (m_size == 0)
        return nullptr;
    std::size_t const mask = m_places.size() - 1;
    for (std::size_t index = hash & mask;; index = (index + 1) & mask) {
        Place const& place = m_places[index];
        if (!place.program || (place.hash == hash && place.program->text() == text))
            return place.program;
    }
}

}   // namespace gel::detail

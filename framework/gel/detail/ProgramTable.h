#pragma once

#include "gel/detail/Instructions.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace gel::detail {

/// A number that tells texts apart: every bit of it depends on every byte of the text.
/// Cost: a fifth of `std::hash`, which would take as long as evaluating the text.
std::uint64_t hashOf(std::string_view text) noexcept;

/// Programs by their texts, each held once; none is taken out alone. An array of which half is empty at least: a
/// program stands at the place that its hash names, or behind it with no empty place between.
class ProgramTable {
public:
    ProgramTable() = default;
    ProgramTable(ProgramTable const&) = delete;
    ProgramTable& operator=(ProgramTable const&) = delete;
    ~ProgramTable() { clear(); }

    std::size_t size() const noexcept { return m_size; }

    /// The program of `text`, whose hash is known already; null when it is not there.
    Instructions const* find(std::string_view text, std::uint64_t hash) const noexcept;

    /// Holds a program whose text is not there. Throws `std::bad_alloc`, and is as it was.
    void insert(Instructions const& program, std::uint64_t hash);

    /// Lets all programs go, but keeps the array.
    void clear() noexcept;

    void swap(ProgramTable& other) noexcept;

private:
    struct Place {
        std::uint64_t hash;
        Instructions const* program;   // null: empty
    };

    static void put(std::vector<Place>& places, Place const& place) noexcept;

    std::vector<Place> m_places;   // a power of two
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

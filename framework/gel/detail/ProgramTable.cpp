#include "gel/detail/ProgramTable.h"

#include <cstring>
#include <utility>

namespace gel::detail {

namespace {

constexpr std::size_t FIRST_PLACES = 64;

template <class Word>
std::uint64_t wordAt(char const* bytes) noexcept
{
    Word word;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

/// Folds both halves of the product: each bit depends on all bits of both factors.
std::uint64_t mixed(std::uint64_t left, std::uint64_t right) noexcept
{
    __extension__ using Product = unsigned __int128;
    Product const product = static_cast<Product>(left) * right;
    return static_cast<std::uint64_t>(product >> 64U) ^ static_cast<std::uint64_t>(product);
}

}   // namespace

std::uint64_t hashOf(std::string_view text) noexcept
{
    constexpr std::uint64_t FIRST = 0x9E37'79B9'7F4A'7C15;   // odd, with bits evenly spread
    constexpr std::uint64_t SECOND = 0xC2B2'AE3D'27D4'EB4F;
    char const* bytes = text.data();
    std::size_t left = text.size();
    std::uint64_t hash = FIRST ^ left;
    for (; left > 16; bytes += 16, left -= 16)
        hash = mixed(wordAt<std::uint64_t>(bytes) ^ hash, wordAt<std::uint64_t>(bytes + 8) ^ SECOND);

    std::uint64_t head = 0;   // the first and the last word of the rest; they overlap
    std::uint64_t tail = 0;
    if (left >= 8) {
        head = wordAt<std::uint64_t>(bytes);
        tail = wordAt<std::uint64_t>(bytes + left - 8);
    } else if (left >= 4) {
        head = wordAt<std::uint32_t>(bytes);
        tail = wordAt<std::uint32_t>(bytes + left - 4);
    } else if (left > 0) {
        head = wordAt<unsigned char>(bytes) << 8U | wordAt<unsigned char>(bytes + left / 2);
        tail = wordAt<unsigned char>(bytes + left - 1);
    }
    return mixed(mixed(head ^ hash, tail ^ SECOND), FIRST);
}

void ProgramTable::insert(Instructions const& program, std::uint64_t hash)
{
    if (2 * m_size >= m_places.size()) {
        std::vector<Place> larger(m_places.empty() ? FIRST_PLACES : 2 * m_places.size());
        for (Place const& place : m_places)
            if (place.program)
                put(larger, place);
        m_places = std::move(larger);
    }
    program.hold();
    put(m_places, {hash, &program});
    ++m_size;
}

void ProgramTable::clear() noexcept
{
    if (m_size == 0)
        return;
    m_size = 0;
    for (Place& place : m_places)
        if (Instructions const* const program = std::exchange(place.program, nullptr))
            program->release();
}

void ProgramTable::swap(ProgramTable& other) noexcept
{
    m_places.swap(other.m_places);
    std::swap(m_size, other.m_size);
}

void ProgramTable::put(std::vector<Place>& places, Place const& place) noexcept
{
    std::size_t const mask = places.size() - 1;
    std::size_t index = place.hash & mask;
    while (places[index].program)
        index = (index + 1) & mask;
    places[index] = place;
}

}   // namespace gel::detail

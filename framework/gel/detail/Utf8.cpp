#include "gel/detail/Utf8.h"

#include <algorithm>
#include <array>

namespace gel::detail {

CodePoint decode(std::string_view text) noexcept
{
    auto const byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    char32_t const lead = byte(0);
    if (lead < 0x80)
        return {lead, 1};
    if (lead < 0xC2 || lead > 0xF4)
        return {lead, 0};

    std::size_t const size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (text.size() < size)
        return {lead, 0};
    char32_t value = lead & (0x7FU >> size);
    for (std::size_t index = 1; index < size; ++index) {
        if (!continues(text[index]))
            return {lead, 0};
        value = (value << 6U) | (byte(index) & 0x3FU);
    }
    constexpr std::array<char32_t, 5> SMALLEST{0, 0, 0x80, 0x800, 0x10000};
    bool const shortest = value >= SMALLEST[size];
    return {value, shortest && isScalar(value) ? size : 0};
}

void append(std::string& text, char32_t value)
{
    auto const add = [&](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    auto const addRest = [&](unsigned shift) { add(0x80U | ((value >> shift) & 0x3FU)); };
    if (value < 0x80) {
        add(value);
    } else if (value < 0x800) {
        add(0xC0U | (value >> 6U));
        addRest(0);
    } else if (value < 0x10000) {
        add(0xE0U | (value >> 12U));
        addRest(6);
        addRest(0);
    } else {
        add(0xF0U | (value >> 18U));
        addRest(12);
        addRest(6);
        addRest(0);
    }
}

std::string codePointName(char32_t value)
{
    std::string digits;
    for (; value != 0 || digits.size() < 4; value >>= 4U)
        digits.insert(digits.begin(), "0123456789ABCDEF"[value & 0xFU]);
    return "U+" + digits;
}

std::size_t countCodePoints(std::string_view text) noexcept
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return !continues(byte); }));
}

std::size_t bytesOf(std::string_view text, std::size_t codePoints) noexcept
{
    for (std::size_t index = 0; index < text.size(); ++index)
        if (!continues(text[index]) && codePoints-- == 0)
            return index;
    return text.size();
}

Place placeOf(std::string_view text, std::size_t offset) noexcept
{
    std::string_view const before = text.substr(0, offset);
    std::size_t const lineBegin = before.rfind('\n') + 1;   // npos + 1 is 0
    auto const lines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    return {lines + 1, countCodePoints(before.substr(lineBegin)) + 1};
}

std::string toText(Place place)
{
    return std::to_string(place.line) + ':' + std::to_string(place.column);
}

}   // namespace gel::detail

#include "gel/detail/Utf8.h"

#include <boost/nowide/utf/utf.hpp>

#include <algorithm>
#include <iterator>

namespace gel::detail {

namespace utf = boost::nowide::utf;

CodePoint decode(std::string_view text) noexcept
{
    auto at = text.begin();
    utf::code_point const value = utf::utf_traits<char>::decode(at, text.end());
    if (value == utf::illegal || value == utf::incomplete)
        return {static_cast<unsigned char>(text.front()), 0};
    return {static_cast<char32_t>(value), static_cast<std::size_t>(at - text.begin())};
}

void append(std::string& text, char32_t value)
{
    utf::utf_traits<char>::encode(value, std::back_inserter(text));
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

#include "studio/inspect/detail/PlainText.h"

#include <algorithm>
#include <cstddef>

namespace studio::inspect::detail {
namespace {

unsigned char byteAt(std::string_view text, std::size_t at)
{
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

/// Returns the number of bytes of the character at `at`; 0 if there is none. Overlong forms, surrogates and numbers
/// above U+10FFFF are no characters.
std::size_t characterAt(std::string_view text, std::size_t at)
{
    unsigned char const first = byteAt(text, at);
    if (first < 0x80)
        return 1;
    if (first < 0xc2 || first > 0xf4)
        return 0;
    std::size_t const size = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    unsigned char const second = byteAt(text, at + 1);
    unsigned char const least = first == 0xe0 ? 0xa0 : first == 0xf0 ? 0x90 : 0x80;
    unsigned char const most = first == 0xed ? 0x9f : first == 0xf4 ? 0x8f : 0xbf;
    if (second < least || second > most)
        return 0;
    for (std::size_t each = at + 2; each < at + size; ++each) {
        if ((byteAt(text, each) & 0xc0) != 0x80)
            return 0;
    }
    return size;
}

}   // namespace

PlainText::PlainText(std::string_view text)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    positions.reserve(text.size() + 1);
    std::uint32_t position = 0;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const size = characterAt(text, at);
        positions.insert(positions.end(), std::max<std::size_t>(size, 1), position);
        if (size == 0) {
            unsigned char const byte = byteAt(text, at);
            ((utf8 += "\\x") += DIGITS[byte >> 4]) += DIGITS[byte & 15];
            position += 4;
            ++at;
        } else {
            utf8 += text.substr(at, size);
            position += size == 4 ? 2 : 1;
            at += size;
        }
    }
    positions.push_back(position);
}

}   // namespace studio::inspect::detail

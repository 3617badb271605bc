#include "studio/commands/detail/Quoted.h"

namespace studio::commands::detail {

namespace {

/// Returns the bytes of the first character; 0 if the text does not begin with one in UTF-8.
std::size_t sizeOfFirst(std::string_view text)
{
    auto const byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    unsigned char const lead = byte(0);
    std::size_t const size = lead < 0x80   ? 1
                             : lead < 0xc2 ? 0
                             : lead < 0xe0 ? 2
                             : lead < 0xf0 ? 3
                             : lead < 0xf5 ? 4
                                           : 0;
    if (size > text.size())
        return 0;
    for (std::size_t i = 1; i < size; ++i)
        if ((byte(i) & 0xc0U) != 0x80)
            return 0;
    bool const isOverlong = (lead == 0xe0 && byte(1) < 0xa0) || (lead == 0xf0 && byte(1) < 0x90);
    bool const isNone = (lead == 0xed && byte(1) >= 0xa0) || (lead == 0xf4 && byte(1) >= 0x90);
    return isOverlong || isNone ? 0 : size;
}

}   // namespace

std::string shown(std::string_view text, std::size_t mostBytes)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    bool const isLong = text.size() > mostBytes;
    if (isLong) {
        std::size_t end = mostBytes - 3;
        while (end != 0 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80)   // not inside a character
            --end;
        text = text.substr(0, end);
    }
    std::string result;
    while (!text.empty()) {
        auto const byte = static_cast<unsigned char>(text[0]);
        std::size_t const size = sizeOfFirst(text);
        if (size == 0 || byte < 0x20 || byte == 0x7f)
            (result += "\\x") += {DIGITS[byte >> 4U], DIGITS[byte & 0xfU]};
        else
            result += text.substr(0, size);
        text.remove_prefix(size == 0 ? 1 : size);
    }
    return result += isLong ? "..." : "";
}

std::string inQuotes(std::string_view text)
{
    return '"' + shown(text) + '"';
}

}   // namespace studio::commands::detail

#include "studio/commands/detail/Quoted.h"

namespace studio::commands::detail {

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
    for (char const letter : text) {
        auto const byte = static_cast<unsigned char>(letter);
        if (byte < 0x20 || byte == 0x7f)
            (result += "\\x") += {DIGITS[byte >> 4U], DIGITS[byte & 0xfU]};
        else
            result += letter;
    }
    return result += isLong ? "..." : "";
}

std::string inQuotes(std::string_view text)
{
    return '"' + shown(text) + '"';
}

}   // namespace studio::commands::detail

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace gel::detail {

/// A decoded code point and its size in bytes; size 0 if the bytes are not well-formed UTF-8.
struct CodePoint {
    char32_t value;
    std::size_t size;
};

/// The first code point of a non-empty text.
CodePoint decode(std::string_view text) noexcept;

/// True for a Unicode scalar value: any code point up to U+10FFFF except surrogates.
constexpr bool isScalar(char32_t value) noexcept
{
    return value < 0xD800 || (value > 0xDFFF && value <= 0x10FFFF);
}

/// Appends the UTF-8 form of a scalar value.
void append(std::string& text, char32_t value);

/// The name of a code point: `U+` and at least four hexadecimal digits.
std::string codePointName(char32_t value);

/// True for a continuation byte. Counting the other bytes counts code points, also in malformed text.
constexpr bool continues(char byte) noexcept
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::size_t countCodePoints(std::string_view text) noexcept;

/// The size in bytes of the first `codePoints` code points of a text, at most its length.
std::size_t bytesOf(std::string_view text, std::size_t codePoints) noexcept;

/// A line and a column in a text, both from 1.
struct Place {
    std::size_t line;
    std::size_t column;
};

Place placeOf(std::string_view text, std::size_t offset) noexcept;

/// `LINE:COLUMN`
std::string toText(Place place);

}   // namespace gel::detail

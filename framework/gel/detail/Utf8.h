#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace gel::detail {

/// A decoded code point and the bytes that it took; a size of 0 says that the bytes are not well-formed UTF-8.
struct CodePoint {
    char32_t value;
    std::size_t size;
};

/// The first code point of a text that is not empty.
CodePoint decode(std::string_view text) noexcept;

/// Whether a code point may be written as UTF-8: any but the surrogates, up to U+10FFFF.
constexpr bool isScalar(char32_t value) noexcept
{
    return value < 0xD800 || (value > 0xDFFF && value <= 0x10FFFF);
}

/// Appends the UTF-8 form of a scalar value.
void append(std::string& text, char32_t value);

/// `U+` and at least four hexadecimal digits.
std::string codePointName(char32_t value);

/// Whether a byte continues a code point. Counting the others counts code points, in malformed text too.
constexpr bool continues(char byte) noexcept
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::size_t countCodePoints(std::string_view text) noexcept;

/// The bytes that the first `codePoints` code points of a text take; all of it when it has fewer.
std::size_t bytesOf(std::string_view text, std::size_t codePoints) noexcept;

/// A place in a text for people, both from 1.
struct Place {
    std::size_t line;
    std::size_t column;
};

Place placeOf(std::string_view text, std::size_t offset) noexcept;

/// `LINE:COLUMN`
std::string toText(Place place);

}   // namespace gel::detail

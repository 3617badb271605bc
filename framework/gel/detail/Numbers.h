#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace gel::detail {

constexpr bool isDigit(char byte) noexcept
{
    return byte >= '0' && byte <= '9';
}

/// Length in bytes of the number at the start of a text, in the form `digits [. digits] [e [sign] digits]`; 0 if it
/// does not start with a digit. Leading zeros are allowed.
std::size_t numberLength(std::string_view text) noexcept;

/// The double nearest to a text of that form; infinity on overflow, 0 on underflow.
double numberValue(std::string_view text) noexcept;

/// `numberValue` by `strtod`, for standard libraries without `std::from_chars` of doubles. Allocates nothing itself,
/// keeps `errno`.
double numberByStrtod(std::string_view text) noexcept;

/// Text of a number: the shortest digits that read back as the same double, formatted as in ECMAScript.
class NumberText {
public:
    explicit NumberText(double number) noexcept;   // not a NaN

    std::string_view view() const noexcept { return {m_buffer.data(), m_size}; }

private:
    void add(char byte) noexcept { m_buffer[m_size++] = byte; }
    void add(std::string_view text) noexcept;
    void addZeros(int count) noexcept;

    std::array<char, 32> m_buffer;   // the longest texts are like -1.2345678901234567e-308
    std::size_t m_size = 0;
};

}   // namespace gel::detail

#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace gel::detail {

constexpr bool isDigit(char byte) noexcept
{
    return byte >= '0' && byte <= '9';
}

/// The bytes at the start of a text that have the form of a number, `digits [. digits] [e [sign] digits]`: 0 when it
/// does not start with a digit. Leading zeros are taken.
std::size_t numberLength(std::string_view text) noexcept;

/// The double nearest to a whole text of that form: infinity when it is too large, 0 when it is too small for a double.
double numberValue(std::string_view text) noexcept;

/// The text of a number: the shortest digits that read back to the same double, laid out as ECMAScript does.
class NumberText {
public:
    explicit NumberText(double number) noexcept;   // not a NaN

    std::string_view view() const noexcept { return {m_buffer.data(), m_size}; }

private:
    void add(char byte) noexcept { m_buffer[m_size++] = byte; }
    void add(std::string_view text) noexcept;
    void addZeros(int count) noexcept;

    std::array<char, 32> m_buffer;   // the longest text is -1.2345678901234567e-308 or as long
    std::size_t m_size = 0;
};

}   // namespace gel::detail

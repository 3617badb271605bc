#include "gel/detail/Numbers.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <system_error>

namespace gel::detail {

namespace {

std::size_t skipDigits(std::string_view text, std::size_t from) noexcept
{
    while (from < text.size() && isDigit(text[from]))
        ++from;
    return from;
}

/// The exponent that the text of a number gives, or 0; one out of range exceeds any number of digits.
long long exponentIn(std::string_view text) noexcept
{
    constexpr long long BEYOND = 1LL << 48;
    std::size_t const mark = text.find_first_of("eE");
    if (mark == text.npos)
        return 0;
    bool const negative = text[mark + 1] == '-';
    std::size_t const digits = std::min(text.find_first_of("0123456789", mark), text.size());
    int exponent = 0;
    if (std::from_chars(text.data() + digits, text.data() + text.size(), exponent).ec == std::errc::result_out_of_range)
        return negative ? -BEYOND : BEYOND;
    return negative ? -exponent : exponent;
}

/// True if a number out of range overflows, false if it underflows: decided by the position of its first significant
/// digit.
[[maybe_unused]] bool isLarge(std::string_view text) noexcept
{
    std::size_t const mantissa = std::min(text.find_first_of("eE"), text.size());
    std::size_t const point = std::min(text.find('.'), mantissa);
    auto const first = static_cast<long long>(text.find_first_of("123456789"));
    return static_cast<long long>(point) + exponentIn(text) > first;
}

/// As `numberByStrtod`, by the faster `from_chars` where the standard library has it for this type.
template <class Number>
Number readNumber(std::string_view text) noexcept
{
    if constexpr (requires(char const* at, Number& value) { std::from_chars(at, at, value); }) {
        Number value = 0;
        if (std::from_chars(text.data(), text.data() + text.size(), value).ec == std::errc{})
            return value;
        return isLarge(text) ? std::numeric_limits<Number>::infinity() : 0;
    } else {
        return numberByStrtod(text);
    }
}

}   // namespace

std::size_t numberLength(std::string_view text) noexcept
{
    std::size_t end = skipDigits(text, 0);
    if (end == 0)
        return 0;
    if (end < text.size() && text[end] == '.') {
        std::size_t const fraction = skipDigits(text, end + 1);
        if (fraction == end + 1)
            return end;
        end = fraction;
    }
    if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
        bool const sign = end + 1 < text.size() && (text[end + 1] == '+' || text[end + 1] == '-');
        std::size_t const digits = end + (sign ? 2 : 1);
        std::size_t const exponent = skipDigits(text, digits);
        if (exponent > digits)
            end = exponent;
    }
    return end;
}

double numberValue(std::string_view text) noexcept
{
    if (text.substr(0, text.find_first_of("eE")).find_first_of("123456789") == text.npos)
        return 0;   // for any exponent
    return readNumber<double>(text);
}

double numberByStrtod(std::string_view text) noexcept
{
    constexpr std::size_t MOST_DIGITS = 780;   // no two doubles have a middle with more than 768
    constexpr long long FAR = 99'999;          // beyond all doubles, whatever the digits
    std::array<char, MOST_DIGITS + 16> written;
    std::size_t size = 0;
    long long exponent = exponentIn(text);
    bool isFraction = false;
    bool hasMore = false;
    for (char const byte : text.substr(0, text.find_first_of("eE"))) {
        if (byte == '.') {
            isFraction = true;
            continue;
        }
        bool const isKept = size < MOST_DIGITS && (size != 0 || byte != '0');
        if (isKept)
            written[size++] = byte;
        else if (size != 0 && byte != '0')
            hasMore = true;
        exponent += (isKept || size == 0 ? 0 : 1) - (isFraction ? 1 : 0);
    }
    if (size == 0)
        return 0;
    // Without a point the text means the same in every locale.
    if (hasMore) {
        written[size++] = '1';
        --exponent;
    }
    written[size++] = 'e';
    char* const begin = written.data() + size;
    *std::to_chars(begin, written.data() + written.size() - 1, std::clamp(exponent, -FAR, FAR)).ptr = '\0';
    int const error = errno;
    double const value = std::strtod(written.data(), nullptr);
    errno = error;
    return value;
}

NumberText::NumberText(double number) noexcept
{
    if (std::signbit(number) && number != 0)
        add('-');
    if (std::isinf(number)) {
        add("Infinity");
        return;
    }

    // The shortest digits and the exponent: d.ddde+xx
    std::array<char, 32> scientific;
    char* const begin = scientific.data();
    char* const end =
        std::to_chars(begin, begin + scientific.size(), std::abs(number), std::chars_format::scientific).ptr;
    char* const mark = std::find(begin, end, 'e');
    int exponent = 0;
    std::from_chars(mark[1] == '+' ? mark + 2 : mark + 1, end, exponent);
    char* const digitsEnd = std::remove(begin, mark, '.');
    std::string_view const digits(begin, static_cast<std::size_t>(digitsEnd - begin));
    int const count = static_cast<int>(digits.size());

    int const point = exponent + 1;   // value = 0.digits × 10^point
    if (count <= point && point <= 21) {
        add(digits);
        addZeros(point - count);
    } else if (0 < point && point <= 21) {
        add(digits.substr(0, static_cast<std::size_t>(point)));
        add('.');
        add(digits.substr(static_cast<std::size_t>(point)));
    } else if (-6 < point && point <= 0) {
        add("0.");
        addZeros(-point);
        add(digits);
    } else {
        add(digits[0]);
        if (count > 1) {
            add('.');
            add(digits.substr(1));
        }
        add(exponent < 0 ? "e-" : "e+");
        char* const to = m_buffer.data() + m_size;
        m_size +=
            static_cast<std::size_t>(std::to_chars(to, m_buffer.data() + m_buffer.size(), std::abs(exponent)).ptr - to);
    }
}

void NumberText::add(std::string_view text) noexcept
{
    std::copy(text.begin(), text.end(), m_buffer.data() + m_size);
    m_size += text.size();
}

void NumberText::addZeros(int count) noexcept
{
    for (; count > 0; --count)
        add('0');
}

}   // namespace gel::detail

#include "studio/inspect/detail/Values.h"

#include "studio/host/PathEnd.h"
#include "studio/host/Subscriptions.h"
#include "studio/inspect/Explanation.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <utility>

namespace studio::inspect {

namespace {

/// The character at the beginning of a text, if a terminal obeys it or a reader does not see it: a control character, a
/// separator of lines, a mark of writing direction. Also the number of its bytes, 0 for any other.
std::pair<unsigned, std::size_t> hiddenAt(std::string_view text) noexcept
{
    auto const byte = [&](std::size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U; };
    if (byte(0) < 0x20 || byte(0) == 0x7f)
        return {byte(0), 1};
    if (byte(0) == 0xc2 && byte(1) >= 0x80 && byte(1) < 0xa0)
        return {byte(1), 2};
    unsigned const last = byte(1) == 0x80 ? 0x2000 + byte(2) - 0x80 : byte(1) == 0x81 ? 0x2040 + byte(2) - 0x80 : 0;
    bool const isDirection =
        last == 0x200e || last == 0x200f || (last >= 0x202a && last <= 0x202e) || (last >= 0x2066 && last <= 0x2069);
    if (byte(0) == 0xe2 && (isDirection || last == 0x2028 || last == 0x2029))
        return {last, 3};
    return {0, 0};
}

}   // namespace

std::string printable(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        auto const [code, size] = hiddenAt(text);
        if (size == 0)
            result += text.front();
        else if (code == '\n')
            result += "\\n";
        else {
            std::array<char, 8> digits{};
            auto const written = std::to_chars(digits.data(), digits.data() + digits.size(), code, 16);
            result.append(code < 0x10 ? "\\u{0" : "\\u{").append(digits.data(), written.ptr) += '}';
        }
        text.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return result;
}

namespace detail {

using data::PropertyValue;

gel::Value languageValue(PropertyValue const& value)
{
    if (value.isString())
        return gel::Value{value.getString()};
    if (value.isLogical())
        return gel::Value{value.getBool()};
    if (value.isDouble())
        return std::isnan(value.getDouble()) ? gel::Value{} : gel::Value{value.getDouble()};
    return value.isUUID() ? gel::Value{value.asString()} : gel::Value{};
}

PropertyValue propertyValue(gel::Value const& value)
{
    if (value.isString())
        return PropertyValue{value.getString()};
    if (value.isLogical())
        return PropertyValue{value.getBool()};
    return value.isDouble() ? PropertyValue{value.getDouble()} : PropertyValue{};
}

bool truthOf(gel::Value const& value) noexcept
{
    if (value.isString())
        return !value.getString().empty();
    return value.isNumeric() && value.getNumeric() != 0;
}

bool truthOf(PropertyValue const& value)
{
    return truthOf(languageValue(value));
}

std::string printableJson(std::string ascii)
{
    for (std::size_t at = 0; (at = ascii.find('\x7f', at)) != std::string::npos;)
        ascii.replace(at, 1, "\\u007f");
    return ascii;
}

std::string literal(gel::Value const& value)
{
    return literal(propertyValue(value));
}

std::string literal(PropertyValue const& value)
{
    if (value.isUndefined())
        return "undefined";
    if (!value.isString())
        return host::shown(value);
    std::string escaped;
    for (char const each : value.getString()) {
        if (each == '\'' || each == '\\')
            escaped += '\\';
        escaped += each;
    }
    return '\'' + printable(escaped) + '\'';
}

gel::Value ReaderSource::lookup(std::string const& symbol) const
{
    return begin.is_nil() ? gel::Value{} : languageValue(host::walkAlong(contexts, begin, symbol).value);
}

}   // namespace detail
}   // namespace studio::inspect

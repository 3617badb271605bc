#include "studio/inspect/detail/Values.h"

#include "studio/host/PathEnd.h"
#include "studio/host/Subscriptions.h"

#include <cmath>

namespace studio::inspect::detail {

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

std::string printable(std::string_view text)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string result;
    for (char const each : text) {
        auto const code = static_cast<unsigned char>(each);
        if (code >= 0x20 && code != 0x7f)
            result += each;
        else if (each == '\n')
            result += "\\n";
        else
            (((result += "\\u{") += DIGITS[code >> 4]) += DIGITS[code & 15]) += '}';
    }
    return result;
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

}   // namespace studio::inspect::detail

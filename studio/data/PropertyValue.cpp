#include "studio/data/PropertyValue.h"

#include <boost/uuid/uuid_io.hpp>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <ostream>
#include <stdexcept>

namespace studio::data {

namespace {

void require(bool accepted, char const* refusal)
{
    if (!accepted)
        throw std::invalid_argument{refusal};
}

std::string integralText(double number)
{
    // By design: numbers that no int holds, the infinities included, all read as the smallest int. Scripts compare
    // these texts.
    using Limits = std::numeric_limits<int>;
    bool const fits = number >= Limits::min() && number <= Limits::max();
    return std::to_string(fits ? static_cast<int>(number) : Limits::min());
}

std::string decimalText(double number)
{
    if (std::isnan(number))   // for which standard libraries have several texts
        return std::signbit(number) ? "-nan" : "nan";
    // Only numbers below 2^52 have a fraction: 16 digits, the point, six decimals, a sign.
    std::array<char, 32> text;
    std::to_chars_result const end =
        std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, 6);
    return std::string{text.data(), end.ptr};
}

/// Returns the shortest text that reads back as the number.
std::string exactText(double number)
{
    std::array<char, 32> text;
    std::to_chars_result const end = std::to_chars(text.data(), text.data() + text.size(), number);
    return std::string{text.data(), end.ptr};
}

/// Quotes a text. Escapes line breaks and invisible characters and keeps all else, UTF-8 or not.
std::string quoted(std::string const& text)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string shown = "\"";
    for (char const character : text) {
        auto const byte = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\')
            (shown += '\\') += character;
        else if (character == '\n')
            shown += "\\n";
        else if (byte < 0x20 || byte == 0x7f)
            ((shown += "\\x") += DIGITS[byte / 16]) += DIGITS[byte % 16];
        else
            shown += character;
    }
    return shown += '"';
}

}   // namespace

undefined PropertyValue::getUndefined() const
{
    require(isUndefined(), "Not a valid undefined object\n");
    return undefined{};
}

boost::uuids::uuid PropertyValue::getUUID() const
{
    require(isUUID(), "Not a valid UUID\n");
    return *std::get_if<boost::uuids::uuid>(&value);
}

double PropertyValue::getDouble() const
{
    require(isDouble(), "Value isnt a valid double\n");
    return *std::get_if<double>(&value);
}

double PropertyValue::getNumeric() const
{
    require(isNumeric(), "Value isn't a valid numeric\n");
    if (isDouble())
        return *std::get_if<double>(&value);
    return *std::get_if<bool>(&value) ? 1.0 : 0.0;
}

bool PropertyValue::getBool() const
{
    if (isLogical())
        return *std::get_if<bool>(&value);
    if (isDouble())
        return *std::get_if<double>(&value) != 0.0;
    require(isString(), "Condition isnt a valid boolean\n");
    // By design: a text condition means set or not set, so "false" and "0" are true.
    return !std::get_if<std::string>(&value)->empty();
}

std::string const& PropertyValue::getString() const
{
    require(isString(), "Condition isnt a valid string\n");
    return *std::get_if<std::string>(&value);
}

std::string PropertyValue::asString() const
{
    if (double const* const number = std::get_if<double>(&value))
        return std::floor(*number) == *number ? integralText(*number) : decimalText(*number);
    if (bool const* const logical = std::get_if<bool>(&value))
        return *logical ? "true" : "false";
    if (std::string const* const text = std::get_if<std::string>(&value))
        return *text;
    if (boost::uuids::uuid const* const uuid = std::get_if<boost::uuids::uuid>(&value))
        return boost::uuids::to_string(*uuid);
    // The constructor may have been given a variant that a throwing assignment left valueless.
    require(isUndefined(), "Value cannot be represented as a string\n");
    return "undefined";
}

char const* PropertyValue::refuseNull()
{
    throw std::logic_error{"a text must not be null"};
}

bool PropertyValue::equalOfOneKind(PropertyValue const& left, PropertyValue const& right) noexcept
{
    return left.value == right.value;
}

std::ostream& operator<<(std::ostream& out, PropertyValue const& value)
{
    if (value.isString())
        return out << quoted(value.getString());
    return out << (value.isDouble() ? exactText(value.getDouble()) : value.asString());
}

}   // namespace studio::data

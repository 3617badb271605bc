#pragma once

#include "studio/data/PropertyValue.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace studio::data {

namespace detail {

/// -1 for what is no hexadecimal digit.
constexpr int digitOf(char character) noexcept
{
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return -1;
}

/// The UUID that the text is: 8-4-4-4-12 hexadecimal digits and nothing else, which is all that a lexical cast takes.
/// A cast would throw for every ordinary text.
inline std::optional<boost::uuids::uuid> uuidOf(std::string_view text) noexcept
{
    constexpr std::size_t LENGTH = 36;
    if (text.size() != LENGTH)
        return std::nullopt;
    boost::uuids::uuid uuid;
    std::size_t position = 0;
    for (unsigned char& byte : uuid) {
        bool const startsGroup = position == 8 || position == 13 || position == 18 || position == 23;
        if (startsGroup && text[position++] != '-')
            return std::nullopt;
        int const high = digitOf(text[position++]);
        int const low = digitOf(text[position++]);
        if (high < 0 || low < 0)
            return std::nullopt;
        byte = static_cast<unsigned char>(high * 16 + low);
    }
    return uuid;
}

}   // namespace detail

// For users of nlohmann::json, whose values convert from and to property values where this header is included. It names
// nothing of that library, so who does not use it pays nothing.

/// Has `json = value` give the JSON of a value: null for undefined, and the 36 characters for a UUID. Numbers that are
/// not finite stay numbers until the JSON is written, as null.
template <class Json>
void to_json(Json& json, PropertyValue const& value)
{
    if (value.isString())
        json = value.getString();
    else if (value.isUUID())
        json = value.asString();
    else if (value.isDouble())
        json = value.getDouble();
    else if (value.isLogical())
        json = value.getBool();
    else
        json = nullptr;
}

/// Has `json.get<PropertyValue>()` give the value of a null, a logical, a number or a text. *Throws*
/// `std::invalid_argument` for what no value can hold, arrays and objects: `value` is as before.
// By design: a text that looks like a UUID comes back as one, for so are references to contexts kept.
template <class Json>
void from_json(Json const& json, PropertyValue& value)
{
    if (json.is_string()) {
        std::string const& text = json.template get_ref<typename Json::string_t const&>();
        std::optional<boost::uuids::uuid> const uuid = detail::uuidOf(text);
        value = uuid ? PropertyValue{*uuid} : PropertyValue{text};
    } else if (json.is_number()) {
        value = json.template get<double>();
    } else if (json.is_boolean()) {
        value = json.template get<bool>();
    } else if (json.is_null()) {
        value = PropertyValue{};
    } else {
        throw std::invalid_argument{"A JSON " + std::string(json.type_name()) + " is no property value"};
    }
}

}   // namespace studio::data

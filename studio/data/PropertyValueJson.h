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

/// Returns the value of a hexadecimal digit; -1 for any other character.
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

/// Parses a UUID: 8-4-4-4-12 hexadecimal digits and nothing else, as a lexical cast accepts it; `nullopt` for any other
/// text. Unlike a cast it does not throw, since most texts are no UUIDs.
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

// Conversions for users of nlohmann::json, in effect where this header is included. The header names nothing of that
// library, so it costs nothing if you do not use it.

/// Implements `json = value`: null for undefined, the 36 characters for a UUID. Numbers that are not finite stay
/// numbers until the JSON is written, as null.
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

/// Implements `json.get<PropertyValue>()` for a null, a logical, a number or a text. *Throws* `std::invalid_argument`
/// for arrays and objects; `value` is unchanged.
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

#include "studio/data/PropertyValueSerializer.h"

#include "fl/i18n/Unicode.h"

#include <nlohmann/json.hpp>

#include <boost/uuid/uuid.hpp>

#include <optional>
#include <string_view>
#include <utility>

namespace studio::data {

namespace {

using Json = nlohmann::json;

/// -1 for what is no hexadecimal digit.
int digitOf(char character) noexcept
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
std::optional<boost::uuids::uuid> uuidOf(std::string_view text) noexcept
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

PropertyValue valueOf(Json&& json)
{
    switch (json.type()) {
    case Json::value_t::string: {
        // By design: a text that looks like a UUID comes back as one, for so are references to contexts kept.
        std::string& text = json.get_ref<std::string&>();
        std::optional<boost::uuids::uuid> const uuid = uuidOf(text);
        return uuid ? PropertyValue{*uuid} : PropertyValue{std::move(text)};
    }
    case Json::value_t::number_float:
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned: return json.get<double>();
    case Json::value_t::boolean: return json.get<bool>();
    default: return {};
    }
}

}   // namespace

PropertyValueSerializer::~PropertyValueSerializer() = default;

std::u16string PropertyValueSerializer::doSerializeValue(PropertyValue const& value)
{
    Json json;
    if (value.isString() || value.isUUID())
        json = value.asString();
    else if (value.isDouble())
        json = value.getDouble();
    else if (value.isLogical())
        json = value.getBool();
    return fl::i18n::utf8_to_ustring(json.dump(-1, ' ', false, Json::error_handler_t::strict));
}

PropertyValue PropertyValueSerializer::doParseValue(std::u16string const& text)
{
    return valueOf(Json::parse(fl::i18n::ustring_to_utf8(text), nullptr, true, false));
}

}   // namespace studio::data

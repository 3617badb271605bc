#include "studio/data/PropertyValueSerializer.h"

#include "fl/i18n/Unicode.h"
#include "studio/data/PropertyValueJson.h"

#include <nlohmann/json.hpp>

#include <boost/uuid/uuid.hpp>

#include <optional>
#include <utility>

namespace studio::data {

namespace {

using Json = nlohmann::json;

PropertyValue valueOf(Json&& json)
{
    switch (json.type()) {
    case Json::value_t::string: {
        // By design: a text that looks like a UUID comes back as one, for so are references to contexts kept.
        std::string& text = json.get_ref<std::string&>();
        std::optional<boost::uuids::uuid> const uuid = detail::uuidOf(text);
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

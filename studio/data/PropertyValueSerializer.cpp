#include "studio/data/PropertyValueSerializer.h"

#include "fl/i18n/Unicode.h"
#include "studio/data/PropertyValueJson.h"

#include <nlohmann/json.hpp>

namespace studio::data {

using Json = nlohmann::json;

PropertyValueSerializer::~PropertyValueSerializer() = default;

std::u16string PropertyValueSerializer::doSerializeValue(PropertyValue const& value)
{
    Json const json = value;
    return fl::i18n::utf8_to_ustring(json.dump(-1, ' ', false, Json::error_handler_t::strict));
}

PropertyValue PropertyValueSerializer::doParseValue(std::u16string const& text)
{
    Json const json = Json::parse(fl::i18n::ustring_to_utf8(text), nullptr, true, false);
    return json.is_structured() ? PropertyValue{} : json.get<PropertyValue>();
}

}   // namespace studio::data

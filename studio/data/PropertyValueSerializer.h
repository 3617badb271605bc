#pragma once

#include "foundation/Export.h"
#include "studio/data/PropertyValue.h"
#include "tarn/zero/meta/PropertySerializer.h"

#include <string>

namespace studio::data {

/// The text form of property values in stored models: one JSON text. A UUID and a text of the same characters are
/// written alike and come back as the UUID; numbers that are not finite come back undefined; all else comes back as it
/// was. Without state: may be used on any thread.
class STUDIO_DATA_EXPORT PropertyValueSerializer : public tarn::zero::meta::DefaultPropertySerializer<PropertyValue> {
public:
    using DefaultPropertySerializer::DefaultPropertySerializer;
    ~PropertyValueSerializer() override;

    /// Compact JSON, what is not ASCII unescaped. *Throws* the JSON library's type error for a text that is not UTF-8.
    std::u16string doSerializeValue(PropertyValue const& value) override;

    /// The value of a JSON text; arrays and objects are undefined. *Throws* the JSON library's error for what is not
    /// one JSON text and for a number that no double holds; `fl::i18n::ConversionError` for an unpaired surrogate.
    PropertyValue doParseValue(std::u16string const& text) override;
};

}   // namespace studio::data

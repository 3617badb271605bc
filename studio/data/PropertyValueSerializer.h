#pragma once

#include "foundation/Export.h"
#include "studio/data/PropertyValue.h"
#include "tarn/zero/meta/PropertySerializer.h"

#include <string>

namespace studio::data {

/// The text form of property values in stored models: one JSON text. A UUID and a text of the same characters are
/// written alike and are read as the UUID; numbers that are not finite are read as undefined; every other value
/// survives. Stateless: may be used on any thread.
class STUDIO_DATA_EXPORT PropertyValueSerializer : public tarn::zero::meta::DefaultPropertySerializer<PropertyValue> {
public:
    using DefaultPropertySerializer::DefaultPropertySerializer;
    ~PropertyValueSerializer() override;

    /// Returns compact JSON; characters outside ASCII are not escaped. *Throws* the JSON library's type error for a
    /// text that is not UTF-8.
    std::u16string doSerializeValue(PropertyValue const& value) override;

    /// Returns the value of a JSON text; undefined for arrays and objects. *Throws* the JSON library's error if the
    /// text is not one JSON text or has a number that no double holds; `fl::i18n::ConversionError` for an unpaired
    /// surrogate.
    PropertyValue doParseValue(std::u16string const& text) override;
};

}   // namespace studio::data

#include "Target.h"
#include "studio/data/PropertyValueSerializer.h"

#include "fl/i18n/Unicode.h"
#include "tarn/zero/meta/Type.h"

#include <exception>
#include <string>
#include <string_view>

// The bytes are a JSON text. It is refused as the JSON library refuses it, or read; what was read is written so that it
// reads the same, and written again as the same text.

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace studio::data;
    static PropertyValueSerializer s_serializer{tarn::zero::meta::Type{}};
    std::u16string text;
    try {
        text = fl::i18n::utf8_to_ustring(std::string(data, data + size));
    } catch (std::exception const&) {
        return 0;   // not UTF-8
    }
    try {
        PropertyValue const value = s_serializer.doParseValue(text);
        std::u16string const written = s_serializer.doSerializeValue(value);
        PropertyValue const again = s_serializer.doParseValue(written);
        require(again == value, "a value reads back as it was");
        require(s_serializer.doSerializeValue(again) == written, "a value is written one way");
    } catch (std::exception const& error) {
        // A text that does not parse, or a number that no double holds. Its type is the library's own, and may be
        // unknown here.
        std::string_view const refusal = error.what();
        require(refusal.starts_with("[json.exception.parse_error.") ||
                    refusal.starts_with("[json.exception.out_of_range."),
                "a text is refused for what it is");
    }
    return 0;
}

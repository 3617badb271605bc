#include "studio/data/PropertyValueSerializer.h"

#include "fl/i18n/Unicode.h"
#include "studio/data/PropertyValueJson.h"
#include "support/Printers.h"
#include "tarn/zero/meta/Type.h"

#include <boost/lexical_cast.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace studio::data {
namespace {

using namespace std::string_literals;

char const* const UUID_TEXT = "0f8fad5b-d9cb-469f-a165-70867728950e";
boost::uuids::uuid const ID = boost::lexical_cast<boost::uuids::uuid>(UUID_TEXT);
constexpr double INF = std::numeric_limits<double>::infinity();

std::string serialized(PropertyValue const& value)
{
    return fl::i18n::ustring_to_utf8(PropertyValueSerializer{tarn::zero::meta::Type{}}.doSerializeValue(value));
}

PropertyValue parsed(std::string const& json)
{
    return PropertyValueSerializer{tarn::zero::meta::Type{}}.doParseValue(fl::i18n::utf8_to_ustring(json));
}

TEST(SerializedValue, HasItsTextAndComesBack)
{
    struct Row {
        PropertyValue value;
        std::string json;
        std::optional<PropertyValue> comesBackAs = {};   // none: as itself
    };
    // By design: a text that looks like a UUID comes back as one.
    // clang-format off
    Row const rows[] = {
        {{}, "null"}, {true, "true"}, {false, "false"}, {2.0, "2.0"}, {0.5, "0.5"}, {0.1, "0.1"}, {1e16, "1e+16"},
        {5e-324, "5e-324"}, {1.7976931348623157e308, "1.7976931348623157e+308"},
        {std::nan(""), "null", PropertyValue{}}, {INF, "null", PropertyValue{}}, {-INF, "null", PropertyValue{}},
        {"abc", R"("abc")"}, {"", R"("")"}, {"true", R"("true")"}, {"a\"b\\c\n\t\x01/"s, R"("a\"b\\c\n\t\u0001/")"},
        {"a\0b"s, R"("a\u0000b")"}, {"\xC3\xA9 \xF0\x9F\x98\x80", "\"\xC3\xA9 \xF0\x9F\x98\x80\""},
        {ID, "\""s + UUID_TEXT + '"'}, {boost::uuids::uuid{}, R"("00000000-0000-0000-0000-000000000000")"},
        {UUID_TEXT, "\""s + UUID_TEXT + '"', ID},
    };
    // clang-format on
    for (auto const& [value, json, comesBackAs] : rows) {
        EXPECT_EQ(serialized(value), json);
        EXPECT_EQ(parsed(json), comesBackAs.value_or(value));
    }
    EXPECT_EQ(serialized(-0.0), "-0.0");
    EXPECT_TRUE(std::signbit(parsed("-0.0").getDouble()));
}

TEST(ParsedText, GivesTheValueAlsoOfWhatItDoesNotWrite)
{
    // clang-format off
    std::pair<std::string, PropertyValue> const rows[] = {
        {"42", 42.0}, {"-1", -1.0}, {"1e3", 1000.0}, {"18446744073709551615", 0x1p64},
        {"123456789012345678901234567890", 123456789012345678901234567890.0}, {"[1,2]", {}}, {"{}", {}},
        {std::string(100'000, '[') + std::string(100'000, ']'), {}}, {" \n true\t", true},
        {R"("\u00e9\ud83d\ude00")", "\xC3\xA9\xF0\x9F\x98\x80"}, {R"("0F8FAD5B-D9CB-469F-A165-70867728950E")", ID},
        {R"("\u0030f8fad5b-d9cb-469f-a165-70867728950e")", ID},
        {R"(" 0f8fad5b-d9cb-469f-a165-70867728950e")", " 0f8fad5b-d9cb-469f-a165-70867728950e"},
    };
    // clang-format on
    for (auto const& [json, value] : rows)
        EXPECT_EQ(parsed(json), value) << json.substr(0, 100);
}

TEST(ParsedText, FailuresAreTheLibrariesOwn)
{
    for (char const* json : {"", " ", "1 2", "{", "tru", "'a'", "// no\n1", "/* no */ 1", "1,", "01", "\"\x01\""})
        EXPECT_THROW(parsed(json), nlohmann::json::parse_error) << json;
    EXPECT_THROW(parsed("1e400"), nlohmann::json::out_of_range);
    EXPECT_THROW(serialized("\xC3"), nlohmann::json::type_error);
    PropertyValueSerializer serializer{tarn::zero::meta::Type{}};
    EXPECT_THROW(serializer.doParseValue({u'"', 0xD800, u'"'}), fl::i18n::ConversionError);
}

// ---- for users of the JSON library

template <class Json>
void expectValuesInDocuments()
{
    std::vector<PropertyValue> const values{{}, true, -2.5, 0x1p64, "", "undefined", ID, boost::uuids::uuid{}};
    Json const list = values;
    EXPECT_EQ(list.dump().substr(0, 27), R"([null,true,-2.5,1.844674407)");
    EXPECT_EQ(Json::parse(list.dump()).template get<std::vector<PropertyValue>>(), values);
    EXPECT_TRUE(Json(PropertyValue(std::nan(""))).is_number());   // who writes it writes null
    EXPECT_EQ((Json{{"size", PropertyValue(2)}}.dump()), R"({"size":2.0})");

    PropertyValue value = "as before";
    for (char const* text : {"[]", R"({"a":1})"})
        EXPECT_THROW(Json::parse(text).get_to(value), std::invalid_argument) << text;
    EXPECT_EQ(value, "as before");
}

TEST(JsonOfValues, GoesThroughDocumentsOfAnyKindAndRefusesWhatNoValueHolds)
{
    expectValuesInDocuments<nlohmann::json>();
    expectValuesInDocuments<nlohmann::ordered_json>();
}

// ---- what the framework asks for, in its own value boxes

TEST(SerializerInTheFramework, HandlesBoxedValues)
{
    PropertyValueSerializer serializer{tarn::zero::meta::Type{}};
    auto const boxed = serializer.parseValue(u"2.5");
    EXPECT_EQ(serializer.serializeValue(boxed) + serializer.serializeValue(tarn::zero::Value{}), u"2.5null");
    auto const sequence = serializer.combineAsUnmanagedSequenceValue({boxed, serializer.parseValue(u"null")});
    EXPECT_EQ(sequence.getValue<std::vector<PropertyValue>>(), (std::vector<PropertyValue>{2.5, {}}));
    EXPECT_THROW(serializer.combineAsUnmanagedSetValue({boxed}),   // values have no order
                 foundation::core::except::Exception<tarn0::messages::InvalidValue>);
}

// ---- UUIDs: exactly the texts that a lexical cast takes

void expectSameAsLexicalCast(std::string const& text)
{
    PropertyValue expected = text;
    try {
        expected = boost::lexical_cast<boost::uuids::uuid>(text);
    } catch (boost::bad_lexical_cast const&) {}
    ASSERT_EQ(parsed(nlohmann::json(text).dump()), expected) << text;
}

TEST(ParsedUuid, IsWhatALexicalCastTakes)
{
    for (std::string const& text :
         {""s, "{"s + UUID_TEXT + "}", UUID_TEXT + " "s, UUID_TEXT + "\0"s, "0f8fad5bd9cb469fa16570867728950e"s,
          "0f8fad5b-d9cb-469f-a165-70867728950"s, "0f8fad5b-d9cb-469f-a165-70867728950e0"s,
          "0f8fad5bd-9cb-469f-a165-70867728950e"s, "0f8fad5b-d9cb-469f-a165-70867728950g"s,
          "0f8fad5b d9cb 469f a165 70867728950e"s, std::string(36, '-'), std::string(36, '0'), std::string(36, ' ')})
        expectSameAsLexicalCast(text);

    std::string const alphabet = "09afAFgG/:@`-- x\x01"s + '\0';
    std::minstd_rand random{20240229};
    auto const below = [&](std::size_t limit) { return static_cast<std::size_t>(random()) % limit; };
    for (int round = 0; round < 5000; ++round) {
        std::string text = UUID_TEXT;
        for (std::size_t mutations = below(4); mutations > 0 && !text.empty(); --mutations) {
            std::size_t const position = below(text.size());
            char const character = alphabet[below(alphabet.size())];
            switch (below(4)) {
            case 0: text.erase(position, 1); break;
            case 1: text.insert(position, 1, character); break;
            default: text[position] = character; break;
            }
        }
        expectSameAsLexicalCast(text);
    }
}

}   // namespace
}   // namespace studio::data

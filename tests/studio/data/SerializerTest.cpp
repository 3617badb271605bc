#include "studio/data/PropertyValueSerializer.h"

#include "fl/i18n/Unicode.h"
#include "support/Printers.h"
#include "tarn/zero/meta/Type.h"

#include <boost/lexical_cast.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <random>
#include <string>
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

// ---- values to text and back

struct ValueCase {
    char const* name;
    PropertyValue value;
    std::string json;
    PropertyValue comesBackAs;
};
class SerializedValue : public testing::TestWithParam<ValueCase> {};

TEST_P(SerializedValue, HasItsTextAndComesBack)
{
    EXPECT_EQ(serialized(GetParam().value), GetParam().json);
    EXPECT_EQ(parsed(GetParam().json), GetParam().comesBackAs);
}

ValueCase keeps(char const* name, PropertyValue const& value, std::string const& json)
{
    return {name, value, json, value};
}

INSTANTIATE_TEST_SUITE_P(
    All, SerializedValue,
    testing::Values(keeps("Undefined", {}, "null"), keeps("True", true, "true"), keeps("False", false, "false"),
                    keeps("Integral", 2.0, "2.0"), keeps("Fraction", 0.5, "0.5"), keeps("Tenth", 0.1, "0.1"),
                    keeps("Exponent", 1e16, "1e+16"), keeps("Tiny", 5e-324, "5e-324"),
                    keeps("Largest", 1.7976931348623157e308, "1.7976931348623157e+308"),
                    ValueCase{"NaN", std::nan(""), "null", {}}, ValueCase{"Infinity", INF, "null", {}},
                    ValueCase{"MinusInfinity", -INF, "null", {}}, keeps("Text", "abc", R"("abc")"),
                    keeps("EmptyText", "", R"("")"), keeps("TextOfALogical", "true", R"("true")"),
                    keeps("Escapes", "a\"b\\c\n\t\x01/"s, R"("a\"b\\c\n\t\u0001/")"),
                    keeps("Zero", "a\0b"s, R"("a\u0000b")"),
                    keeps("NotAscii", "\xC3\xA9 \xF0\x9F\x98\x80", "\"\xC3\xA9 \xF0\x9F\x98\x80\""),
                    keeps("Id", ID, "\""s + UUID_TEXT + '"'),
                    keeps("NilId", boost::uuids::uuid{}, R"("00000000-0000-0000-0000-000000000000")"),
                    ValueCase{"TextThatLooksLikeAnId", UUID_TEXT, "\""s + UUID_TEXT + '"', ID}),
    [](auto const& info) { return info.param.name; });

TEST(SerializedValue, MinusZeroKeepsItsSign)
{
    EXPECT_EQ(serialized(-0.0), "-0.0");
    EXPECT_TRUE(std::signbit(parsed("-0.0").getDouble()));
}

// ---- texts that it does not write itself

struct TextCase {
    char const* name;
    std::string json;
    PropertyValue value;
};
class ParsedText : public testing::TestWithParam<TextCase> {};

TEST_P(ParsedText, GivesTheValue)
{
    EXPECT_EQ(parsed(GetParam().json), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    All, ParsedText,
    testing::Values(TextCase{"Integer", "42", 42.0}, TextCase{"Negative", "-1", -1.0},
                    TextCase{"Exponent", "1e3", 1000.0}, TextCase{"Unsigned64", "18446744073709551615", 0x1p64},
                    TextCase{"BeyondIntegers", "123456789012345678901234567890", 123456789012345678901234567890.0},
                    TextCase{"Array", "[1,2]", {}}, TextCase{"Object", "{}", {}},
                    TextCase{"DeepArray", std::string(100'000, '[') + std::string(100'000, ']'), {}},
                    TextCase{"Spaces", " \n true\t", true},
                    TextCase{"EscapedText", R"("\u00e9\ud83d\ude00")", "\xC3\xA9\xF0\x9F\x98\x80"},
                    TextCase{"UpperCaseId", R"("0F8FAD5B-D9CB-469F-A165-70867728950E")", ID},
                    TextCase{"EscapedId", R"("\u0030f8fad5b-d9cb-469f-a165-70867728950e")", ID},
                    TextCase{"IdWithSpace", R"(" 0f8fad5b-d9cb-469f-a165-70867728950e")",
                             " 0f8fad5b-d9cb-469f-a165-70867728950e"}),
    [](auto const& info) { return info.param.name; });

TEST(ParsedText, FailuresAreTheLibrariesOwn)
{
    for (char const* json : {"", " ", "1 2", "{", "tru", "'a'", "// no\n1", "/* no */ 1", "1,", "01", "\"\x01\""})
        EXPECT_THROW(parsed(json), nlohmann::json::parse_error) << json;
    EXPECT_THROW(parsed("1e400"), nlohmann::json::out_of_range);
    EXPECT_THROW(serialized("\xC3"), nlohmann::json::type_error);
    PropertyValueSerializer serializer{tarn::zero::meta::Type{}};
    EXPECT_THROW(serializer.doParseValue({u'"', 0xD800, u'"'}), fl::i18n::ConversionError);
}

// ---- what the framework asks for, in its own value boxes

TEST(SerializerInTheFramework, HandlesBoxedValues)
{
    using tarn::zero::Value;
    using tarn::zero::ValueMeta;
    namespace messages = tarn0::messages;
    PropertyValueSerializer serializer{tarn::zero::meta::Type{}};
    Value const boxed = serializer.parseValue(u"2.5");
    EXPECT_EQ(boxed.getValue<PropertyValue>(), PropertyValue(2.5));
    EXPECT_EQ(serializer.serializeValue(boxed), u"2.5");
    EXPECT_EQ(serializer.serializeValue(Value{}), u"null");
    EXPECT_EQ(serializer.createDefaultValue().getValue<PropertyValue>(), PropertyValue());
    EXPECT_FALSE(serializer.createEmptyOptionalValue().getValue<boost::optional<PropertyValue>>());
    EXPECT_EQ(serializer.serializeValue(serializer.parseOptionalValue(u"true")), u"true");

    Value const sequence = serializer.combineAsUnmanagedSequenceValue({boxed, serializer.parseValue(u"null"), boxed});
    EXPECT_TRUE(sequence.meta().isUnmanaged());
    EXPECT_EQ(sequence.getValue<std::vector<PropertyValue>>(), (std::vector<PropertyValue>{2.5, {}, 2.5}));
    EXPECT_EQ(boxed.hash(), 0u);
    EXPECT_EQ(sequence.hash(), serializer.combineAsUnmanagedSequenceValue({boxed, boxed, boxed}).hash());

    EXPECT_THROW(serializer.combineAsUnmanagedSetValue({boxed}),
                 foundation::core::except::Exception<messages::InvalidValue>);
    Value const ofAnotherType{ValueMeta{}, "2.5"s};
    EXPECT_THROW(serializer.serializeValue(ofAnotherType),
                 foundation::core::except::Exception<messages::CannotCastIncompatibleTypes>);
    EXPECT_THROW(serializer.combineAsUnmanagedSequenceValue({boxed, ofAnotherType}),
                 foundation::core::except::Exception<messages::CannotCastIncompatibleTypes>);
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

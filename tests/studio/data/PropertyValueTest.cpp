#include "studio/data/PropertyValue.h"

#include "support/Printers.h"
#include "support/Refusals.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace studio::data {
namespace {

using namespace std::string_literals;

boost::uuids::uuid const ID{
    {0x0f, 0x8f, 0xad, 0x5b, 0xd9, 0xcb, 0x46, 0x9f, 0xa1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0e}};
constexpr double INF = std::numeric_limits<double>::infinity();
double const NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

// ---- every kind through every getter

enum class Kind { Undefined, Uuid, Number, Logical, Text };

TEST(PropertyValueKind, GivesItselfToTheGettersOfItsKindAndRefusesTheOthers)
{
    struct Row {
        PropertyValue value;
        Kind kind;
        std::optional<double> numeric;   // none: refused
        std::optional<bool> condition;   // none: refused
        char const* text;
    };
    // By design: a text condition means set or not set.
    Row const rows[] = {{{}, Kind::Undefined, {}, {}, "undefined"},
                        {ID, Kind::Uuid, {}, {}, "0f8fad5b-d9cb-469f-a165-70867728950e"},
                        {true, Kind::Logical, 1.0, true, "true"},
                        {false, Kind::Logical, 0.0, false, "false"},
                        {0.0, Kind::Number, 0.0, false, "0"},
                        {2.5, Kind::Number, 2.5, true, "2.500000"},
                        {INF, Kind::Number, INF, true, "-2147483648"},
                        {"", Kind::Text, {}, false, ""},
                        {"1", Kind::Text, {}, true, "1"},
                        {"false", Kind::Text, {}, true, "false"}};
    for (auto const& [value, kind, numeric, condition, text] : rows) {
        SCOPED_TRACE(text);
        EXPECT_EQ(value.isUndefined(), kind == Kind::Undefined);
        EXPECT_EQ(value.isUUID(), kind == Kind::Uuid);
        EXPECT_EQ(value.isDouble(), kind == Kind::Number);
        EXPECT_EQ(value.isLogical(), kind == Kind::Logical);
        EXPECT_EQ(value.isString(), kind == Kind::Text);
        EXPECT_EQ(value.isNumeric(), numeric.has_value());
        EXPECT_EQ(value.asString(), text);

        auto const expect = [](bool accepts, char const* refusal, auto const& getter) {
            EXPECT_EQ(support::refusalOf<std::invalid_argument>(getter), accepts ? "accepted" : refusal);
        };
        PropertyValue const& any = value;
        expect(kind == Kind::Undefined, "Not a valid undefined object\n", [&] { any.getUndefined(); });
        expect(kind == Kind::Uuid, "Not a valid UUID\n", [&] { EXPECT_EQ(any.getUUID(), ID); });
        expect(kind == Kind::Number, "Value isnt a valid double\n", [&] { any.getDouble(); });
        expect(kind == Kind::Text, "Condition isnt a valid string\n", [&] { any.getString(); });
        expect(numeric.has_value(), "Value isn't a valid numeric\n",
               [&, &wanted = numeric] { EXPECT_EQ(any.getNumeric(), *wanted); });
        expect(condition.has_value(), "Condition isnt a valid boolean\n",
               [&, &wanted = condition] { EXPECT_EQ(any.getBool(), *wanted); });
    }
}

// By design: numbers that no int holds read as the smallest int.
TEST(PropertyValueText, OfANumberIsAnIntOrHasSixDecimals)
{
    // clang-format off
    std::pair<double, char const*> const rows[] = {
        {-0.0, "0"}, {2.0, "2"}, {-12.0, "-12"}, {-3.25, "-3.250000"}, {-1e-9, "-0.000000"}, {5e-7, "0.000000"},
        {4503599627370495.5, "4503599627370495.500000"}, {-4503599627370495.5, "-4503599627370495.500000"},
        {2147483647.0, "2147483647"}, {2147483648.0, "-2147483648"}, {-2147483648.0, "-2147483648"},
        {-2147483649.0, "-2147483648"}, {1e12, "-2147483648"}, {-INF, "-2147483648"}, {NOT_A_NUMBER, "nan"},
        {std::copysign(NOT_A_NUMBER, -1.0), "-nan"},
    };
    // clang-format on
    for (auto const& [number, text] : rows)
        EXPECT_EQ(PropertyValue(number).asString(), text);
    EXPECT_TRUE(std::isnan(PropertyValue(NOT_A_NUMBER).getNumeric()) && PropertyValue(NOT_A_NUMBER).getBool());
}

TEST(PropertyValueText, ShowsTheKindOnAStreamWhateverItsState)
{
    // clang-format off
    std::pair<PropertyValue, std::string> const rows[] = {
        {{}, "undefined"}, {"undefined", "\"undefined\""}, {true, "true"}, {"true", "\"true\""}, {1, "1"}, {"1", "\"1\""},
        {0.1, "0.1"}, {1e300, "1e+300"}, {1234567.25, "1234567.25"}, {-0.0, "-0"}, {NOT_A_NUMBER, "nan"}, {-INF, "-inf"},
        {ID, "0f8fad5b-d9cb-469f-a165-70867728950e"}, {"a \"b\" \\ c", "\"a \\\"b\\\" \\\\ c\""},
        {"\n\t\x7f\xC3\xA9\0"s, "\"\\n\\x09\\x7f\xC3\xA9\\x00\""},
    };
    // clang-format on
    for (auto const& [value, text] : rows) {
        std::ostringstream out;
        out << std::hex << std::showpos << value << '|';
        out.width(60);
        out << std::left << value << '|';
        EXPECT_EQ(out.str(), text + '|' + text + std::string(60 - text.size(), ' ') + '|');
        EXPECT_EQ(testing::PrintToString(value), text) << "in a failed expectation";
    }
    EXPECT_EQ(testing::PrintToString(ID), "0f8fad5b-d9cb-469f-a165-70867728950e");
}

// ---- what the constructors make of other types

TEST(PropertyValueConstruction, EveryArithmeticTypeButBoolIsANumber)
{
    EXPECT_EQ(PropertyValue(1), PropertyValue(1.0));
    EXPECT_EQ(PropertyValue(-1L), PropertyValue(-1.0));
    EXPECT_EQ(PropertyValue(4294967295u), PropertyValue(4294967295.0));
    EXPECT_EQ(PropertyValue(0.5f), PropertyValue(0.5));
    EXPECT_EQ(PropertyValue('A'), PropertyValue(65.0));
    EXPECT_EQ(PropertyValue(std::numeric_limits<unsigned long long>::max()), PropertyValue(18446744073709551616.0));
    EXPECT_EQ(PropertyValue(PropertyValue::Variant{std::string("x")}), PropertyValue("x"));
    EXPECT_THROW(PropertyValue(static_cast<char const*>(nullptr)), std::logic_error);
}

struct Any {
    int field;
    void operation();
};
template <class... Types>
constexpr bool noneConstructs = (!std::is_constructible_v<PropertyValue, Types> && ...);

TEST(PropertyValueConstruction, PointersThatAreNoTextDoNotCompile)
{
    EXPECT_TRUE((std::is_constructible_v<PropertyValue, char const*>));
    EXPECT_TRUE((std::is_constructible_v<PropertyValue, char const(&)[4]>));
    EXPECT_TRUE((noneConstructs<void*, int const*, char*, wchar_t const*, ContextProvider*, std::string*, void (*)(),
                                int Any::*, void (Any::*)()>));
}

static_assert(std::is_nothrow_move_constructible_v<PropertyValue> && std::is_nothrow_move_assignable_v<PropertyValue>);

// ---- equality

TEST(PropertyValueEquality, HoldsWithinOneKindAndValueOnly)
{
    // All values differ from one another, and each but NaN equals its copy.
    std::vector<PropertyValue> values{PropertyValue(), ID, boost::uuids::uuid{}, 0.0, 1.0, NOT_A_NUMBER, true, false};
    for (std::string const& text : {""s, "1"s, "true"s, "undefined"s, PropertyValue(ID).asString(), "1\0"s})
        values.push_back(text);
    for (std::size_t left = 0; left < values.size(); ++left) {
        for (std::size_t right = 0; right < values.size(); ++right) {
            PropertyValue const copy = values[right];
            bool const isNaN = copy.isDouble() && std::isnan(copy.getDouble());
            EXPECT_EQ(values[left] == copy, left == right && !isNaN) << left << ' ' << right;
        }
    }
    EXPECT_EQ(PropertyValue(0.0), PropertyValue(-0.0));
    boost::uuids::uuid lastByteDiffers = ID;
    ++lastByteDiffers.data[15];
    EXPECT_NE(PropertyValue(ID), PropertyValue(lastByteDiffers));
}

// ---- locales

/// Digits in a locale that groups them and writes a decimal comma.
struct CommaPunctuation : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(PropertyValueText, IsTheSameInEveryLocale)
{
    std::locale const before = std::locale::global(std::locale(std::locale::classic(), new CommaPunctuation));
    std::string const cLocale = std::setlocale(LC_ALL, nullptr);
    for (char const* name : {"C", "de_DE.UTF-8", "fr_FR.UTF-8", "tr_TR.UTF-8"}) {   // those installed take effect
        std::setlocale(LC_ALL, name);
        EXPECT_EQ(PropertyValue(12345.5).asString(), "12345.500000");
        EXPECT_EQ(PropertyValue(1234567).asString(), "1234567");
        EXPECT_EQ(PropertyValue(ID).asString(), "0f8fad5b-d9cb-469f-a165-70867728950e");
    }
    std::setlocale(LC_ALL, cLocale.c_str());
    std::locale::global(before);
}

}   // namespace
}   // namespace studio::data

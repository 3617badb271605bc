#include "studio/data/PropertyValue.h"

#include "support/Printers.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <locale>
#include <optional>
#include <stdexcept>
#include <type_traits>
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

struct KindCase {
    char const* name;
    PropertyValue value;
    Kind kind;
    std::optional<double> numeric;   // none: refused
    std::optional<bool> condition;   // none: refused
    char const* text;
};

class PropertyValueKind : public testing::TestWithParam<KindCase> {};

template <class Getter>
std::string refusalOf(Getter const& getter)
{
    try {
        getter();
    } catch (std::invalid_argument const& refusal) {
        return refusal.what();
    }
    return "accepted";
}

TEST_P(PropertyValueKind, GivesItselfToTheGettersOfItsKindAndRefusesTheOthers)
{
    KindCase const& row = GetParam();
    PropertyValue const& value = row.value;
    EXPECT_EQ(value.isUndefined(), row.kind == Kind::Undefined);
    EXPECT_EQ(value.isUUID(), row.kind == Kind::Uuid);
    EXPECT_EQ(value.isDouble(), row.kind == Kind::Number);
    EXPECT_EQ(value.isLogical(), row.kind == Kind::Logical);
    EXPECT_EQ(value.isString(), row.kind == Kind::Text);
    EXPECT_EQ(value.isNumeric(), row.numeric.has_value());

    auto const expected = [](bool accepted, char const* refusal) { return accepted ? "accepted" : refusal; };
    EXPECT_EQ(refusalOf([&] { value.getUndefined(); }),
              expected(row.kind == Kind::Undefined, "Not a valid undefined object\n"));
    EXPECT_EQ(refusalOf([&] { EXPECT_EQ(value.getUUID(), ID); }),
              expected(row.kind == Kind::Uuid, "Not a valid UUID\n"));
    EXPECT_EQ(refusalOf([&] { value.getDouble(); }), expected(row.kind == Kind::Number, "Value isnt a valid double\n"));
    EXPECT_EQ(refusalOf([&] { EXPECT_EQ(value.getString(), row.text); }),
              expected(row.kind == Kind::Text, "Condition isnt a valid string\n"));
    EXPECT_EQ(refusalOf([&] {
                  double const number = value.getNumeric();
                  EXPECT_TRUE(number == *row.numeric || (std::isnan(number) && std::isnan(*row.numeric)));
              }),
              expected(row.numeric.has_value(), "Value isn't a valid numeric\n"));
    EXPECT_EQ(refusalOf([&] { EXPECT_EQ(value.getBool(), *row.condition); }),
              expected(row.condition.has_value(), "Condition isnt a valid boolean\n"));
    EXPECT_EQ(value.asString(), row.text);
}

INSTANTIATE_TEST_SUITE_P(
    All, PropertyValueKind,
    testing::Values(KindCase{"Default", {}, Kind::Undefined, {}, {}, "undefined"},
                    KindCase{"Id", ID, Kind::Uuid, {}, {}, "0f8fad5b-d9cb-469f-a165-70867728950e"},
                    KindCase{"True", true, Kind::Logical, 1.0, true, "true"},
                    KindCase{"False", false, Kind::Logical, 0.0, false, "false"},
                    KindCase{"Zero", 0.0, Kind::Number, 0.0, false, "0"},
                    KindCase{"MinusZero", -0.0, Kind::Number, -0.0, false, "0"},
                    KindCase{"Integral", 2.0, Kind::Number, 2.0, true, "2"},
                    KindCase{"Negative", -12.0, Kind::Number, -12.0, true, "-12"},
                    KindCase{"Fraction", 2.5, Kind::Number, 2.5, true, "2.500000"},
                    KindCase{"NegativeFraction", -3.25, Kind::Number, -3.25, true, "-3.250000"},
                    KindCase{"RoundsToZeroDecimals", -1e-9, Kind::Number, -1e-9, true, "-0.000000"},
                    KindCase{"TiesRoundToEven", 0.0000005, Kind::Number, 0.0000005, true, "0.000000"},
                    KindCase{"LargestFraction", 4503599627370495.5, Kind::Number, 4503599627370495.5, true,
                             "4503599627370495.500000"},
                    KindCase{"SmallestFraction", -4503599627370495.5, Kind::Number, -4503599627370495.5, true,
                             "-4503599627370495.500000"},
                    KindCase{"IntMax", 2147483647.0, Kind::Number, 2147483647.0, true, "2147483647"},
                    KindCase{"AboveIntMax", 2147483648.0, Kind::Number, 2147483648.0, true, "-2147483648"},
                    KindCase{"IntMin", -2147483648.0, Kind::Number, -2147483648.0, true, "-2147483648"},
                    KindCase{"BelowIntMin", -2147483649.0, Kind::Number, -2147483649.0, true, "-2147483648"},
                    KindCase{"Huge", 1e12, Kind::Number, 1e12, true, "-2147483648"},
                    KindCase{"Infinity", INF, Kind::Number, INF, true, "-2147483648"},
                    KindCase{"MinusInfinity", -INF, Kind::Number, -INF, true, "-2147483648"},
                    KindCase{"NaN", NOT_A_NUMBER, Kind::Number, NOT_A_NUMBER, true, "nan"},
                    KindCase{"MinusNaN", std::copysign(NOT_A_NUMBER, -1.0), Kind::Number, NOT_A_NUMBER, true, "-nan"},
                    KindCase{"EmptyText", "", Kind::Text, {}, false, ""},
                    KindCase{"TextOfANumber", "1", Kind::Text, {}, true, "1"},
                    KindCase{"TextFalseIsSet", "false", Kind::Text, {}, true, "false"}),
    [](auto const& info) { return info.param.name; });

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

TEST(PropertyValueConstruction, PointersThatAreNoTextDoNotCompile)
{
    EXPECT_TRUE((std::is_constructible_v<PropertyValue, char const*>));
    EXPECT_TRUE((std::is_constructible_v<PropertyValue, char const(&)[4]>));
    EXPECT_FALSE((std::is_constructible_v<PropertyValue, void*>));
    EXPECT_FALSE((std::is_constructible_v<PropertyValue, int const*>));
    EXPECT_FALSE((std::is_constructible_v<PropertyValue, char*>));
    EXPECT_FALSE((std::is_constructible_v<PropertyValue, wchar_t const*>));
    EXPECT_FALSE((std::is_constructible_v<PropertyValue, ContextProvider*>));
    EXPECT_FALSE((std::is_constructible_v<PropertyValue, std::string*>));
    EXPECT_FALSE((std::is_constructible_v<PropertyValue, void (*)()>));
    EXPECT_FALSE((std::is_constructible_v<PropertyValue, int Any::*>));
    EXPECT_FALSE((std::is_constructible_v<PropertyValue, void (Any::*)()>));
}

TEST(PropertyValueConstruction, MovingKeepsALongTextInPlace)
{
    PropertyValue source(std::string(1000, 'x'));
    char const* const text = source.getString().data();
    PropertyValue const moved(std::move(source));
    EXPECT_EQ(moved.getString().data(), text);
    static_assert(std::is_nothrow_move_constructible_v<PropertyValue> &&
                  std::is_nothrow_move_assignable_v<PropertyValue>);
}

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

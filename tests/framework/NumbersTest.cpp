#include "gel/detail/Numbers.h"
#include "foundation/Hash.h"
#include "gel/detail/Power.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

// Some functions have one implementation for each kind of platform. Each test compares both, whichever is in use here.
namespace {

using namespace gel::detail;

constexpr double INF = std::numeric_limits<double>::infinity();

TEST(Numbers, FoldsProductsWithAndWithoutWideIntegers)
{
    std::mt19937_64 random(1);
    for (std::uint64_t const edge : {0x0ULL, 0x1ULL, 0xffffffffULL, 0x100000000ULL, 0x8000000000000000ULL, ~0x0ULL})
        for (int time = 0; time < 2'000; ++time) {
            std::uint64_t const left = time % 2 == 0 ? edge : random();
            std::uint64_t const right = time == 0 ? edge : random();
            ASSERT_EQ(foundation::detail::foldedByHalves(left, right), foundation::detail::folded(left, right))
                << left << ' ' << right;
        }
    EXPECT_EQ(foundation::detail::foldedByHalves(~0ULL, ~0ULL), ~0ULL);   // (2^64 - 2) ^ 1
    EXPECT_EQ(foundation::hashOf("an expression"), foundation::hashOf(std::string("an expression")));
}

TEST(Numbers, ReadsTextsWithAndWithoutFromChars)
{
    std::string const zeros(20'000, '0');
    // 2^-1075, the middle of 0 and the least double, as digits of 10^-1075
    std::string middle = "1";
    for (int time = 0; time < 1'075; ++time) {
        int carry = 0;
        for (auto digit = middle.rbegin(); digit != middle.rend(); ++digit) {
            int const product = (*digit - '0') * 5 + carry;
            *digit = static_cast<char>('0' + product % 10);
            carry = product / 10;
        }
        if (carry != 0)
            middle.insert(0, 1, static_cast<char>('0' + carry));
    }
    struct Row {
        std::string text;
        double value;
    };
    for (Row const& row : {Row{"0", 0},
                           Row{"000.000e99999999999", 0},
                           Row{"9007199254740993", 9007199254740992},
                           Row{"9007199254740993." + zeros + "1", 9007199254740994},
                           Row{"9007199254740992.9" + zeros, 9007199254740992},
                           Row{"1e23", 1e23},
                           Row{"5e-324", 5e-324},
                           Row{"2.4703282292062328e-324", 5e-324},
                           Row{"2.4703282292062327e-324", 0},
                           Row{middle + "e-1075", 0},
                           Row{middle + "0001e-1079", 5e-324},
                           Row{middle + zeros + "1e-21076", 5e-324},
                           Row{"1e400", INF},
                           Row{"1e-400", 0},
                           Row{"1" + zeros, INF},
                           Row{"1" + zeros + "e-20000", 1},
                           Row{"0." + zeros + "1e20001", 1},
                           Row{"0." + zeros + "1", 0},
                           Row{"0." + zeros + "1e99999999999999999999", INF},
                           Row{"1" + zeros + "e-99999999999999999999", 0},
                           Row{"1.7976931348623157e308", 1.7976931348623157e308},
                           Row{"1.7976931348623159e+308", INF},
                           Row{"00012.500E+001", 125}}) {
        EXPECT_EQ(numberValue(row.text), row.value) << row.text.substr(0, 40);
        EXPECT_EQ(numberByStrtod(row.text), row.value) << row.text.substr(0, 40);
    }
    std::mt19937_64 random(2);
    for (int time = 0; time < 200'000; ++time) {
        double const number = std::fabs(std::bit_cast<double>(random()));
        if (!std::isfinite(number))
            continue;
        std::string const text(NumberText(number).view());
        ASSERT_TRUE(numberValue(text) == number && numberByStrtod(text) == number) << text;
        std::string const longer = text.substr(0, text.find('e')) + (text.find('.') == text.npos ? ".0" : "") +
                                   std::to_string(random()) +
                                   (text.find('e') == text.npos ? "" : text.substr(text.find('e')));
        ASSERT_EQ(numberValue(longer), numberByStrtod(longer)) << longer;
    }
}

TEST(Numbers, RaisesToWholePowersAsExactlyAsThereAreDoubles)
{
    struct Row {
        double base, exponent, result;
    };
    for (Row const& row : {Row{2, 10, 1'024},
                           Row{-3, 3, -27},
                           Row{10, 22, 1e22},
                           Row{10, 23, 1e23},
                           Row{10, -5, 1e-5},
                           Row{10, 308, 1e308},
                           Row{10, -320, 1e-320},
                           Row{2, -1'024, std::ldexp(1, -1'024)},
                           Row{0.5, 1'024, std::ldexp(1, -1'024)},
                           Row{2, 1'024, INF},
                           Row{-2, 1'023, -std::ldexp(1, 1'023)},
                           Row{1e-300, -2, INF},
                           Row{-1e300, -3, -0.0},
                           Row{5e-324, -1, INF},
                           Row{5e-324, 1, 5e-324},
                           Row{0, -1, INF},
                           Row{0, 3, 0},
                           Row{INF, -1, 0},
                           Row{7, 0, 1},
                           Row{1.000000001, 1'000, 1.0000010000005823},
                           Row{982, 6, 0x1.8e3c1836339f4p+59},
                           Row{0x1.2e446dcf90c6bp+511, -2, 0x0.b7a09f6330f3bp-1022},
                           Row{9, 0.5, 3}}) {
        EXPECT_EQ(std::bit_cast<std::uint64_t>(power(row.base, row.exponent)), std::bit_cast<std::uint64_t>(row.result))
            << row.base << '^' << row.exponent << ' ' << power(row.base, row.exponent);
    }
    // Never further from std::pow than one step; that of mingw-w64 is off by more than forty itself.
#if defined(__MINGW32__)
    constexpr double TOLERANCE = 1e-13;
#else
    constexpr double TOLERANCE = std::numeric_limits<double>::epsilon();
#endif
    std::mt19937_64 random(3);
    for (int time = 0; time < 100'000; ++time) {
        double const base = std::bit_cast<double>(random() >> 12 | 0x3fe0000000000000U) - (time % 2 ? 0.5 : -0.5);
        double const exponent = static_cast<double>(random() % 200) - 100;
        double const own = power(base, exponent), other = std::pow(base, exponent);
        ASSERT_TRUE(own == other || std::abs(own - other) <= std::abs(other) * TOLERANCE) << base << '^' << exponent;
    }
}

}   // namespace

#include "fl/i18n/Unicode.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using fl::i18n::ConversionError;
using fl::i18n::ustring_to_utf8;
using fl::i18n::ustring_to_utf8_lossy;
using fl::i18n::utf8_to_ustring;
using namespace std::string_literals;

TEST(Unicode, EveryScalarValueSurvivesTheRoundTrip)
{
    for (char32_t scalar = 0; scalar <= 0x10FFFF; ++scalar) {
        if (scalar >= 0xD800 && scalar < 0xE000)
            continue;
        std::u16string units{u'<'};
        if (scalar < 0x10000) {
            units += static_cast<char16_t>(scalar);
        } else {
            units += static_cast<char16_t>(0xD7C0 + (scalar >> 10));
            units += static_cast<char16_t>(0xDC00 + (scalar & 0x3FF));
        }
        units += u'>';
        std::string const bytes = ustring_to_utf8(units);
        std::size_t const length = scalar < 0x80 ? 1 : scalar < 0x800 ? 2 : scalar < 0x10000 ? 3 : 4;
        ASSERT_EQ(bytes.size(), length + 2) << "U+" << std::hex << static_cast<unsigned long>(scalar);
        ASSERT_EQ(utf8_to_ustring(bytes), units) << "U+" << std::hex << static_cast<unsigned long>(scalar);
    }
}

TEST(Unicode, KnownTexts)
{
    EXPECT_EQ(utf8_to_ustring(""), u"");
    EXPECT_EQ(utf8_to_ustring("caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"), u"caf\u00E9 \u20AC \U0001F600");
    EXPECT_EQ(ustring_to_utf8(u"caf\u00E9 \u20AC \U0001F600"), "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80");
    EXPECT_EQ(utf8_to_ustring("a\0b"s).size(), 3u);
}

struct IllFormed {
    char const* name;
    std::string text;
    std::size_t offset;
};
class UnicodeIllFormedUtf8 : public testing::TestWithParam<IllFormed> {};

TEST_P(UnicodeIllFormedUtf8, IsRefusedWithTheOffsetOfTheSequence)
{
    try {
        utf8_to_ustring(GetParam().text);
        FAIL() << "accepted";
    } catch (ConversionError const& error) {
        EXPECT_EQ(error.offset(), GetParam().offset);
        EXPECT_NE(std::string(error.what()).find("offset " + std::to_string(GetParam().offset)), std::string::npos);
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, UnicodeIllFormedUtf8,
    testing::Values(IllFormed{"LoneContinuation", "ab\x80", 2}, IllFormed{"OverlongSlash", "\xC0\xAF", 0},
                    IllFormed{"OverlongC1", "\xC1\xBF", 0}, IllFormed{"OverlongThree", "a\xE0\x9F\xBF", 1},
                    IllFormed{"OverlongFour", "\xF0\x8F\xBF\xBF", 0}, IllFormed{"HighSurrogate", "\xED\xA0\x80", 0},
                    IllFormed{"LowSurrogate", "\xED\xBF\xBF", 0}, IllFormed{"AboveTheLast", "\xF4\x90\x80\x80", 0},
                    IllFormed{"LeadF5", "\xF5\x80\x80\x80", 0}, IllFormed{"ByteFF", "x\xFF", 1},
                    IllFormed{"CutAfterLead", "abc\xE2", 3}, IllFormed{"CutAfterSecond", "\xE2\x82", 0},
                    IllFormed{"CutFour", "\xF0\x9F\x98", 0}, IllFormed{"AsciiInside", "\xE2(\xAC", 0},
                    IllFormed{"LeadInside", "\xF0\x9F\xC3\xA9", 0}, IllFormed{"SecondSequence", "\xC3\xA9\xC3\xC3", 2}),
    [](auto const& info) { return info.param.name; });

TEST(Unicode, UnpairedSurrogatesAreRefusedOrShownAsReplacements)
{
    struct Case {
        std::vector<char16_t> units;
        std::size_t offset;
        char const* shown;
    };
    for (auto const& [units, offset, shown] : {
             Case{{u'a', 0xD83D}, 1, "a\uFFFD"},
             Case{{0xD83D, u'a'}, 0, "\uFFFDa"},
             Case{{u'a', 0xDE00, u'b'}, 1, "a\uFFFDb"},
             Case{{0xD83D, 0xD83D, 0xDE00}, 0, "\uFFFD\U0001F600"},
             Case{{0xD83D, 0xDE00, 0xDE00}, 2, "\U0001F600\uFFFD"},
         }) {
        std::u16string const text(units.begin(), units.end());
        EXPECT_EQ(ustring_to_utf8_lossy(text), shown);
        try {
            ustring_to_utf8(text);
            ADD_FAILURE() << "accepted";
        } catch (std::range_error const& error) {
            EXPECT_EQ(dynamic_cast<ConversionError const&>(error).offset(), offset);
        }
    }
}

}   // namespace

#include "fl/i18n/Unicode.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace fl::i18n;
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
    EXPECT_EQ(utf8_to_ustring("caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"), u"caf\u00E9 \u20AC \U0001F600");
    EXPECT_EQ(utf8_to_ustring("a\0b"s).size() + utf8_to_ustring("").size(), 3u);
}

TEST(Unicode, IllFormedUtf8IsRefusedWithTheOffsetOfTheSequence)
{
    // clang-format off
    std::pair<char const*, std::size_t> const rows[] = {
        {"ab\x80", 2}, {"\xC0\xAF", 0}, {"\xC1\xBF", 0}, {"a\xE0\x9F\xBF", 1}, {"\xF0\x8F\xBF\xBF", 0},   // overlong
        {"\xED\xBF\xBF", 0}, {"\xED\xA0\x80", 0}, {"\xF4\x90\x80\x80", 0}, {"\xF5\x80\x80\x80", 0},   // no characters
        {"abc\xE2", 3}, {"\xE2\x82", 0}, {"\xF0\x9F\x98", 0}, {"\xE2(\xAC", 0}, {"\xF0\x9F\xC3\xA9", 0},   // cut
        {"\xC3\xA9\xC3\xC3", 2}, {"x\xFF", 1},
    };
    // clang-format on
    for (auto const& [text, offset] : rows)
        try {
            utf8_to_ustring(text);
            ADD_FAILURE() << testing::PrintToString(text) << " is accepted";
        } catch (ConversionError const& error) {
            EXPECT_EQ(error.offset(), offset) << testing::PrintToString(text);
            EXPECT_NE(std::string(error.what()).find("offset " + std::to_string(offset)), std::string::npos);
        }
}

TEST(Unicode, UnpairedSurrogatesAreRefusedOrShownAsReplacements)
{
    struct Row {
        std::vector<char16_t> units;
        std::size_t offset;
        char const* shown;
    };
    Row const rows[] = {{{u'a', 0xD83D}, 1, "a\uFFFD"},
                        {{0xD83D, u'a'}, 0, "\uFFFDa"},
                        {{u'a', 0xDE00, u'b'}, 1, "a\uFFFDb"},
                        {{0xDE00, 0xDE00}, 0, "\uFFFD\uFFFD"},
                        {{0xD83D, 0xD83D, 0xDE00}, 0, "\uFFFD\U0001F600"},
                        {{0xD83D, 0xDE00, 0xDE00}, 2, "\U0001F600\uFFFD"}};
    for (auto const& [units, offset, shown] : rows) {
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

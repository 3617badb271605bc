#include "studio/commands/Chord.h"
#include "support/Refusals.h"

#include <gtest/gtest.h>

#include <string>

namespace studio::commands {
namespace {

TEST(Chord, OfEachKeyAndModifiersParsesFromItsOwnText)
{
    for (std::uint8_t key = 0; key != keyNames().size(); ++key)
        for (std::uint8_t modifiers = 0; modifiers != 16; ++modifiers) {
            Chord const chord{modifiers, key};
            EXPECT_EQ(parseChord(textOf(chord)), chord) << textOf(chord);
        }
}

struct Written {
    char const* text;
    char const* printed;   // or the reason of the refusal
};

TEST(Keys, AreParsedAndPrintedInOneForm)
{
    for (auto const& [text, printed] : {
             Written{"ctrl+k ctrl+s", "ctrl+k ctrl+s"},
             Written{"  META+Alt+shift+Ctrl+P   F1 ", "ctrl+shift+alt+meta+p f1"},
             Written{"ctrl+- ctrl+\\ ` numpad_add", "ctrl+- ctrl+\\ ` numpad_add"},
             Written{"a a a a a a a a", "a a a a a a a a"},
             Written{"", "column 1: no keys"},
             Written{"   ", "column 1: no keys"},
             Written{"a a a a a a a a a", "column 17: a sequence has 8 chords at most"},
             Written{"ctrl+k ctrl+pgdown", "column 13: unknown key \"pgdown\"; did you mean \"pagedown\"?"},
             Written{"ctr+k", "column 1: unknown modifier \"ctr\"; did you mean \"ctrl\"?"},
             Written{"k+ctrl", "column 1: unknown modifier \"k\""},
             Written{"ctrl+shift", "column 6: a key is missing after the modifier \"shift\""},
             Written{"ctrl++", "column 6: a key is missing; the key of the plus sign is \"=\""},
             Written{"ctrl+", "column 6: a key is missing; the key of the plus sign is \"=\""},
             Written{"cmd+Esc", "column 1: unknown modifier \"cmd\"; did you mean \"meta\"?"},
             Written{"Esc", "column 1: unknown key \"Esc\"; did you mean \"escape\"?"},
             Written{"ctrl+?", "column 6: unknown key \"?\"; did you mean \"shift+/\"?"},
             Written{"ctrl+k, ctrl+s", "column 6: unknown key \"k,\"; chords are separated by spaces"},
             Written{"ctrl+ctrl+k", "column 6: the modifier \"ctrl\" stands twice"},
             Written{"ctrl+\xc3\xa4", "column 6: unknown key \"\xc3\xa4\""},
             Written{"\x01\n", "column 1: unknown key \"\\x01\\x0a\""},
         }) {
        std::string found;
        std::string const refusal =
            support::refusalOf<std::invalid_argument>([&, &keys = text] { found = textOf(parseKeys(keys)); });
        EXPECT_EQ(refusal == "accepted" ? found : refusal, printed);
    }
    std::string const refusal = support::refusalOf([] { parseKeys(std::string(1'000'000, 'x')); });
    EXPECT_LT(refusal.size(), 150u);
    EXPECT_EQ(support::refusalOf([] { textOf(Chord{16, 0}); }), support::refusalOf([] { textOf(Chord{0, 255}); }));
    EXPECT_EQ(support::refusalOf([] { parseChord("a b"); }), "column 2: one chord has no spaces");
}

}   // namespace
}   // namespace studio::commands

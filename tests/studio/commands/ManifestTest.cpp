#include "studio/commands/Manifest.h"
#include "support/Random.h"
#include "support/Refusals.h"

#include <gtest/gtest.h>

#include <string>

namespace studio::commands {
namespace {

TEST(Manifest, IsReadIntoThePartsOfAContribution)
{
    Contribution::Parts const parts = readManifest(R"({
        "source": "git",
        "definitions": {"isGit": "scm.provider == 'git'"},
        "commands": [{"id": "git.push", "title": "Push {git.branch}", "category": "Git", "enabled": "isGit",
                      "visible": "", "checked": "git.isPushing"}],
        "menus": {"scm/title": [{"command": "git.push", "group": "navigation", "order": 1.5, "when": "isGit"},
                                {"submenu": "git/more", "title": "More"}]},
        "keys": [{"keys": "ctrl+k ctrl+p", "command": "git.push", "when": "isGit", "weight": -3,
                  "arguments": {"force": true, "tags": [1, 2.50, "\u00e4\n", null]}},
                 {"command": "-git.pull"}]})",
                                                   "git.json");
    ASSERT_EQ(parts.definitions.size(), 1u);
    EXPECT_EQ(parts.definitions[0].first + ": " + parts.definitions[0].second, "isGit: scm.provider == 'git'");
    ASSERT_EQ(parts.commands.size(), 1u);
    Command const& push = parts.commands[0];
    EXPECT_EQ(push.id + '|' + push.title + '|' + push.category + '|' + push.enabled + '|' + push.visible + '|' +
                  push.checked,
              "git.push|Push {git.branch}|Git|isGit||git.isPushing");
    ASSERT_EQ(parts.entries.size(), 2u);
    MenuEntry const& entry = parts.entries[0];
    EXPECT_EQ(entry.menu + '|' + entry.group + '|' + entry.command + '|' + entry.when,
              "scm/title|navigation|git.push|isGit");
    EXPECT_EQ(entry.order, 1.5);
    EXPECT_EQ(parts.entries[1].submenu + '|' + parts.entries[1].title, "git/more|More");
    ASSERT_EQ(parts.rules.size(), 2u);
    KeyRule const& rule = parts.rules[0];
    EXPECT_EQ(rule.keys + '|' + rule.command + '|' + rule.when + '|' + rule.source, "ctrl+k ctrl+p|git.push|isGit|git");
    EXPECT_EQ(rule.arguments, "{\"force\":true,\"tags\":[1,2.50,\"\xc3\xa4\\n\",null]}");
    EXPECT_EQ(rule.weight, -3);
    EXPECT_EQ(parts.rules[1].keys + parts.rules[1].command, "-git.pull");
}

struct Row {
    std::string text;
    char const* reason;
};

TEST(Manifest, ErrorsNameFilePlaceAndReason)
{
    for (auto const& [text, reason] : {
             Row{"", "line 1, column 1: syntax error while parsing value - unexpected end of input; expected '[', '{', "
                     "or a literal"},
             Row{"{\n \"keys\": [,]}", "line 2, column 11: syntax error while parsing value - unexpected ','; expected "
                                       "'[', '{', or a literal"},
             Row{"[]", "the document: expected an object, found a list"},
             Row{R"({"command": []})", "the document: unknown member \"command\"; did you mean \"commands\"?"},
             Row{R"({"keys": {}})", "/keys: expected a list, found an object"},
             Row{R"({"keys": [{}]})", "/keys/0: the member \"command\" is missing"},
             Row{R"({"keys": [{"command": "x"}]})",
                 "/keys/0: the member \"keys\" is missing; a removal alone may leave it out"},
             Row{R"({"keys": [{"command": "-"}]})", "/keys/0: a removal needs a command"},
             Row{R"({"keys": [{"command": "-x"}, {"command": "x", "keys": "ctrl+f99"}]})",
                 "/keys/1/keys: column 6: unknown key \"f99\"; did you mean \"f9\"?"},
             Row{R"({"keys": [{"command": "x", "keys": "f1", "weight": 1.5}]})",
                 "/keys/0/weight: a weight is a whole number of 31 bits"},
             Row{R"({"keys": [{"command": "x", "keys": "f1", "weight": 1e999}]})",
                 "line 1, column 52: number overflow parsing '1e999'"},
             Row{R"({"commands": [{"id": "x", "enabled": "a &&"}]})",
                 "/commands/0/enabled: gel:1:5: expected an operand, found end of text"},
             Row{R"({"commands": [{"id": "x", "enabled": true}]})",
                 "/commands/0/enabled: expected a text, found a logical"},
             Row{R"({"commands": [{"id": ""}]})", "/commands/0/id: a name is empty"},
             Row{R"({"commands": [{"id": "x", "id": "y"}]})", "/commands/0: the member \"id\" stands twice"},
             Row{R"({"menus": {"a/b~": [{"command": "x", "submenu": "y"}]}})",
                 "/menus/a~1b~0/0: an entry has a command or a submenu, and not both"},
             Row{R"({"menus": {"a": [{"title": "x"}]}})",
                 "/menus/a/0: an entry has a command or a submenu, and not both"},
             Row{R"({"commands": [{"id": "x"}, {"id": "x"}]})", "/commands/1: the command \"x\" stands twice"},
             Row{R"({"commands": [{"id": "x", "title": "Cut {a"}]})",
                 "/commands/0/title: a brace is not closed: Cut {a"},
             Row{R"({"menus": {"a": [{"submenu": "x", "title": "{a +}"}]}})", "/menus/a/0/title: gel:1:4: "},
             Row{R"({"definitions": {"x.y": "a"}})", "/definitions/x.y: a definition needs a plain name"},
             Row{R"({"definitions": {"x": "y", "y": "!x"}})",
                 "/definitions/y: a definition leads back to itself: y -> x -> y"},
             Row{R"({"definitions": {"x": "("}})", "/definitions/x: gel:1:2: expected an operand, found end of text"},
             Row{"{\"source\": \"\xff\"}", "line 1, column 13: syntax error while parsing value - invalid string: "
                                           "ill-formed UTF-8 byte; last read: '\"\\xff'"},
             Row{"{\"keys\": [" + std::string(100'000, '[') + "]}", "/keys/0/0/0"},
         }) {
        std::string const refusal =
            support::refusalOf<std::invalid_argument>([&manifest = text] { readManifest(manifest, "a.json"); });
        EXPECT_TRUE(refusal.starts_with(std::string{"a.json: "} + reason)) << refusal;
        EXPECT_LT(refusal.size(), 500u);
    }
}

TEST(Manifest, OfAnyBytesIsReadOrRefused)
{
    std::string const valid =
        R"({"keys": [{"keys": "ctrl+k f1", "command": "x", "when": "a && !b", "arguments": [{}, 1e9]}],)"
        R"("menus": {"a/b": [{"submenu": "c", "order": -1.5}]}, "definitions": {"x": "`a`"}})";
    for (std::uint64_t const seed : support::seeds(2)) {
        support::Random random{seed};
        for (int round = 0; round != 2'000; ++round) {
            std::string text = valid;
            for (std::size_t changes = 1 + random.below(3); changes != 0; --changes)
                if (std::size_t const at = random.below(text.size()); random.oneIn(3))
                    text.erase(at, 1 + random.below(4));
                else
                    text[at] = static_cast<char>(random.oneIn(2)
                                                     ? random.below(256)
                                                     : static_cast<std::size_t>(valid[random.below(valid.size())]));
            try {
                readManifest(text, "a.json");
            } catch (std::invalid_argument const& error) {
                ASSERT_TRUE(std::string{error.what()}.starts_with("a.json: ")) << "seed " << seed << ": " << text;
            }
        }
    }
}

}   // namespace
}   // namespace studio::commands

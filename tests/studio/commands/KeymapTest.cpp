#include "studio/commands/Keymap.h"
#include "studio/commands/Contribution.h"
#include "studio/data/ExpressionEngine.h"
#include "support/Allocations.h"
#include "support/Contexts.h"
#include "support/Refusals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace studio::commands {
namespace {

using data::ExpressionEngine;
using data::ReleasePolicy;
using Kind = KeyMatch::Kind;
using Reason = KeyVerdict::Reason;

constexpr std::array KINDS{"none", "pending", "runs", "swallowed"};
constexpr std::array REASONS{"wins", "pending", "condition", "disabled", "weaker", "removed"};

std::string shown(KeyMatch const& match)
{
    std::string text = KINDS[static_cast<std::size_t>(match.kind)];
    if (match.kind != Kind::None)
        text += ' ' + std::to_string(match.rule);
    if (match.kind == Kind::Command)
        (text += ' ') += match.command;
    return text;
}

/// A root with the logicals a to d, a table with two commands, and a key map.
struct Fixture {
    explicit Fixture(Keymap::Disabled policy = Keymap::Disabled::PassedOver) : keymap{table, policy}
    {
        commands = load({}, {{"one", "One", {}, "a", {}, {}}, {"two", "Two", {}, "b", {}, {}}});
        table.explainWith([](std::string const& condition) { return std::vector<std::string>{"needs " + condition}; });
    }
    Contribution load(std::vector<KeyRule> rules, std::vector<Command> more = {})
    {
        return {table, nullptr, &keymap, {std::move(more), {}, std::move(rules), {}}};
    }
    std::string match(std::string const& keys) const { return shown(keymap.match(parseKeys(keys))); }
    std::string verdicts(std::string const& keys) const
    {
        std::string text;
        for (KeyVerdict const& each : keymap.verdicts(parseKeys(keys))) {
            (text += text.empty() ? "" : "; ") +=
                std::to_string(each.rule) + ' ' + REASONS[static_cast<std::size_t>(each.reason)];
            text += each.by == each.rule ? "" : " " + std::to_string(each.by);
            for (std::string const& sentence : each.sentences)
                text += ", " + sentence;
        }
        return text;
    }

    support::Provider root = support::context({{"a", true}, {"b", true}, {"c", true}, {"d", false}});
    ExpressionEngine engine{root, ReleasePolicy::KeepsShared};
    CommandTable table{engine};
    Keymap keymap;
    Contribution commands;
};

TEST(Keymap, RunsTheStrongestRuleWhoseConditionHolds)
{
    Fixture f;
    Contribution const rules = f.load({
        {"ctrl+k", "one", "", "{}", 0, "maker"},              // 0
        {"ctrl+k", "two", "c", "", 5, "maker"},               // 1
        {"ctrl+k ctrl+s", "three", "d", "", 0, "maker"},      // 2
        {"ctrl+k ctrl+s", "one", "c || d", "", 0, "maker"},   // 3
        {"ctrl+k", "four", "d", "", 9, "maker"},              // 4
    });
    EXPECT_EQ(f.match("ctrl+k"), "runs 1 two");
    EXPECT_EQ(f.verdicts("ctrl+k"), "4 condition, needs d; 1 wins; 3 weaker 1; 2 condition, needs d; 0 weaker 1");
    EXPECT_EQ(f.match("ctrl+k ctrl+s"), "runs 3 one");
    f.root->setPropertyValue("b", false);
    EXPECT_EQ(f.match("ctrl+k"), "pending 3");
    EXPECT_EQ(f.verdicts("ctrl+k"),
              "4 condition, needs d; 1 disabled, needs b; 3 pending; 2 condition, needs d; 0 weaker 3");
    std::string described;
    for (KeyVerdict const& each : f.keymap.verdicts(parseKeys("ctrl+k")))
        described += describe(each) + '\n';
    EXPECT_EQ(described, "rule 4 does not apply: its condition is false (needs d)\n"
                         "rule 1 runs nothing: its command is disabled (needs b)\n"
                         "rule 3 decides: a longer sequence is pending\n"
                         "rule 2 does not apply: its condition is false (needs d)\n"
                         "rule 0 is weaker than rule 3\n");
    f.root->setPropertyValue("d", true);
    EXPECT_EQ(f.match("ctrl+k"), "runs 4 four");   // an unknown command counts as enabled
    f.root->setPropertyValue("d", false);
    f.root->setPropertyValue("a", false);
    EXPECT_EQ(f.match("ctrl+k"), "none");
    EXPECT_EQ(f.match("ctrl+s"), "none");
    EXPECT_EQ(f.keymap.rulesOf("one"), (std::vector<std::size_t>{3, 0}));
    EXPECT_TRUE(f.keymap.verdicts({}).empty());
    EXPECT_EQ(shown(f.keymap.match({})), "none");
}

TEST(Keymap, SwallowsTheKeysOfADisabledCommandByOption)
{
    Fixture f{Keymap::Disabled::Swallowed};
    Contribution const rules = f.load({{"f1", "one"}, {"f1", "two"}, {"f1 f2", "one", "d"}});
    EXPECT_EQ(f.match("f1"), "runs 1 two");
    f.root->setPropertyValue("b", false);
    EXPECT_EQ(f.match("f1"), "swallowed 1");
    EXPECT_EQ(f.verdicts("f1"), "2 condition, needs d; 1 disabled, needs b; 0 weaker 1");
    f.root->setPropertyValue("d", true);
    EXPECT_EQ(f.match("f1"), "pending 2");
}

TEST(Keymap, KeepsPendingChordsUntilTheSequenceEnds)
{
    Fixture f;
    Contribution rules = f.load({{"ctrl+k ctrl+s", "one"}, {"ctrl+s", "two"}});
    auto const press = [&](char const* chord) { return shown(f.keymap.press(parseChord(chord))); };
    EXPECT_EQ(press("ctrl+k"), "pending 0");
    EXPECT_EQ(textOf(f.keymap.pending()), "ctrl+k");
    EXPECT_EQ(press("ctrl+s"), "runs 0 one");
    EXPECT_EQ(press("ctrl+s"), "runs 1 two");
    EXPECT_EQ(press("ctrl+k"), "pending 0");
    EXPECT_EQ(press("ctrl+x"), "none");
    EXPECT_EQ(press("ctrl+k"), "pending 0");
    f.keymap.reset();
    EXPECT_EQ(press("ctrl+s"), "runs 1 two");
    EXPECT_EQ(press("ctrl+k"), "pending 0");
    rules = {};   // its plugin goes
    EXPECT_EQ(press("ctrl+s"), "none");
}

struct Removal {
    KeyRule rule;
    char const* removed;   // the rules that it takes away
};

TEST(Keymap, RemovalsTakeAwayWhatTheyNameUntilTheyEnd)
{
    Fixture f;
    Contribution const rules = f.load({
        {"ctrl+k", "x", "a && b", {}, 0, "maker"},      // 0
        {"ctrl+k ctrl+s", "x", "b", {}, 0, "maker"},    // 1
        {"f1", "x", "a && (b || c)", {}, 0, "maker"},   // 2
        {"ctrl+k", "x", "a", {}, 0, "user"},            // 3
        {"ctrl+k", "y", "a", {}, 0, "maker"},           // 4
    });
    auto const removed = [&] {
        std::string text;
        for (char const* const keys : {"ctrl+k", "f1"})
            for (KeyVerdict const& each : f.keymap.verdicts(parseKeys(keys)))
                if (each.reason == Reason::Removed && each.rule < 5)
                    text += std::to_string(each.rule);
        std::sort(text.begin(), text.end());
        return text;
    };
    for (auto const& [rule, expected] : {
             Removal{{"", "-x", "", {}, 0, "user"}, "012"},
             Removal{{"ctrl+k", "-x", "", {}, 0, "user"}, "01"},
             Removal{{"ctrl+k ctrl+s", "-x", "", {}, 0, "user"}, "1"},
             Removal{{"ctrl+k ctrl+s f1", "-x", "", {}, 0, "user"}, ""},
             Removal{{"", "-x", "b", {}, 0, "user"}, "01"},
             Removal{{"", "-x", "b && a", {}, 0, "user"}, "0"},
             Removal{{"", "-x", "a && b || a && c", {}, 0, "user"}, "02"},
             Removal{{"", "-x", "c", {}, 0, "user"}, ""},
             Removal{{"", "-x", "", {}, 0, "maker"}, "3"},
             Removal{{"", "-z", "", {}, 0, "user"}, ""},
         }) {
        Contribution removal = f.load({rule});
        EXPECT_EQ(removed(), expected) << rule.keys << ' ' << rule.command << ' ' << rule.when;
        Contribution second = f.load({rule, {"ctrl+k", "x", "a && b && c", {}, 0, "maker"}});
        removal = {};
        EXPECT_EQ(removed(), expected);
        second = {};
        EXPECT_EQ(removed(), "");
    }
    EXPECT_EQ(f.verdicts("f1"), "2 wins");
}

TEST(Keymap, RefusesBadRulesAndKeepsWhatItHas)
{
    Fixture f;
    Contribution const rules = f.load({{"f1", "one", "c"}});
    for (auto const& [bad, reason] : std::initializer_list<std::pair<KeyRule, char const*>>{
             {{"f99", "x"}, "rule \"f99\" of \"x\", keys: column 1: unknown key \"f99\"; did you mean \"f9\"?"},
             {{"", "x"}, "rule \"\" of \"x\", keys: column 1: no keys"},
             {{"f1", ""}, "rule \"f1\" of \"\": a rule needs a command"},
             {{"f1", "-"}, "rule \"f1\" of \"-\": a rule needs a command"},
             {{"f1", "x", "a &&"}, "gel:1:5: rule \"f1\" of \"x\", when: expected an operand, found end of text"},
         }) {
        EXPECT_EQ(support::refusalOf([&f, &last = bad] { f.load({{"f1", "-one"}, {"f1 f2", "two"}, last}); }), reason);
        EXPECT_EQ(f.verdicts("f1"), "0 wins");
    }
    CommandTable other{f.engine};
    EXPECT_EQ(support::refusalOf([&] {
                  Contribution{other, nullptr, &f.keymap, {}};
              }),
              "the key map of a contribution belongs to another command table");
    for (std::size_t skipped = 0;; ++skipped) {
        bool happened = false;
        {
            support::FailingAllocation const failing{skipped};
            try {
                f.keymap.rulesOf("one");   // warm
                Contribution const more = f.load({{"f1 f2", "two", "c && d"}, {"", "-one", "c", {}, 0, "user"}});
            } catch (std::bad_alloc const&) {}
            happened = failing.happened();
        }
        ASSERT_EQ(f.verdicts("f1"), "0 wins") << skipped;
        if (!happened)
            break;
    }
}

TEST(Keymap, OutlivesItsTableAndEngineAndContributionsOutliveIt)
{
    support::Provider const root = support::context({{"a", true}});
    std::optional<ExpressionEngine> engine{std::in_place, root, ReleasePolicy::KeepsShared};
    std::optional<CommandTable> table{std::in_place, *engine};
    std::optional<Keymap> keymap{std::in_place, *table};
    Keymap other{*table};
    Contribution rules{*table, nullptr, &*keymap, {{}, {}, {{"f1", "one", "a"}, {"f1", "-one", "", {}, 0, "x"}}, {}}};
    Contribution others{*table, nullptr, &other, {{}, {}, {{"f1", "one", "a"}}, {}}};
    keymap.reset();
    rules = {};
    engine.reset();
    root->setPropertyValue("a", false);
    EXPECT_EQ(shown(other.press(parseChord("f1"))), "runs 0 one");   // as it was reported last
    table.reset();
    EXPECT_EQ(shown(other.press(parseChord("f1"))), "none");
    EXPECT_TRUE(other.verdicts(parseKeys("f1")).empty() && other.rulesOf("one").empty() && !other.rule(0));
}

TEST(Keymap, GetsRulesTogetherWithTheirCommandsWhenTheRoundEnds)
{
    Fixture f;
    Contribution const rules = f.load({{"f1", "one"}});
    Contribution added;
    std::string during;
    auto const handle = f.engine.acquireExpression("c", [&](std::string const&, data::PropertyValue const& value) {
        if (value.getBool())
            return;
        added = f.load({{"f1", "new"}, {"f1", "-one", {}, {}, 0, "user"}}, {{"new", "New", {}, "d"}});
        during = f.verdicts("f1") + ", " + f.match("f1") + ", " + std::to_string(f.keymap.rulesOf("new").size());
    });
    f.root->setPropertyValue("c", false);
    EXPECT_EQ(during, "0 wins, runs 0 one, 0");
    EXPECT_EQ(f.verdicts("f1"), "1 disabled, needs d; 0 removed 2");
}

TEST(Keymap, ARemovalThatEndsIsReplacedByOneThatCounts)
{
    Fixture f;
    KeyRule const narrow{"f1", "-one", {}, {}, 0, "user"};
    Contribution const rules = f.load({{"f1", "one"}});
    Contribution first = f.load({narrow});
    Contribution const second = f.load({narrow});
    Contribution third;
    std::string during;
    auto const handle = f.engine.acquireExpression("c", [&](std::string const&, data::PropertyValue const& value) {
        if (value.getBool())
            return;
        third = f.load({{"", "-one", {}, {}, 0, "user"}});
        first = {};
        during = f.verdicts("f1");
    });
    f.root->setPropertyValue("c", false);
    EXPECT_EQ(during, "0 removed 2");
}

TEST(Keymap, APressAllocatesNothing)
{
    Fixture f;
    Contribution const rules = f.load({{"ctrl+k ctrl+s", "one", "d"}, {"ctrl+k ctrl+s", "two", "c"}});
    for (char const* const chord : {"ctrl+k", "ctrl+s", "f1"}) {
        Chord const pressed = parseChord(chord);
        std::size_t const before = support::allocationCount();
        f.keymap.press(pressed);
        EXPECT_EQ(support::allocationCount(), before);
    }
}

TEST(Keymap, LoadsAndUnloadsManyRulesOnOneKeyInLinearMemory)
{
    Fixture f;
    std::vector<KeyRule> many;
    for (int i = 0; i != 10'000; ++i) {
        many.push_back(
            {i % 2 == 0 ? "f1" : "f1 f2", "x" + std::to_string(i % 100), i % 3 == 0 ? "c" : "d", {}, i % 7, "maker"});
        if (i % 100 == 0)
            many.push_back({"f1", "-x" + std::to_string(i % 200), "c && d", {}, 0, "user"});
    }
    std::size_t const before = support::liveAllocations();
    Contribution all = f.load(many);
    EXPECT_LT(support::liveAllocations() - before, 8 * many.size());
    EXPECT_EQ(f.keymap.verdicts(parseKeys("f1")).size(), 10'000u);
    all = {};
    EXPECT_EQ(f.match("f1"), "none");
}

}   // namespace
}   // namespace studio::commands

#include "studio/commands/Keymap.h"
#include "gel/Eval.h"
#include "studio/commands/Contribution.h"
#include "studio/commands/Implication.h"
#include "studio/data/ExpressionEngine.h"
#include "support/Allocations.h"
#include "support/Contexts.h"
#include "support/Random.h"
#include "support/Refusals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
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

/// Reads the logicals of a root.
struct Logicals final : gel::DataSource {
    explicit Logicals(data::ContextProvider const& provider) : root{provider} {}
    gel::Value lookup(std::string const& symbol) const override { return root.getPropertyValue(symbol).getBool(); }
    data::ContextProvider const& root;
};

using Rules = std::map<std::size_t, KeyRule>;

/// The verdicts by definition: a scan of all rules, each compared with each.
std::string naiveVerdicts(Fixture const& f, Rules const& rules, std::string const& sequence, Keymap::Disabled policy)
{
    KeySequence const keys = parseKeys(sequence);
    auto const begins = [](KeySequence const& all, KeySequence const& begin) {
        return begin.size() <= all.size() && std::equal(begin.begin(), begin.end(), all.begin());
    };
    auto const holds = [&](std::string const& condition) {
        return condition.empty() || gel::eval(condition, Logicals{*f.root}).getBool();
    };
    auto const isRemoved = [&](KeyRule const& rule) {
        return std::any_of(rules.begin(), rules.end(), [&](auto const& each) {
            KeyRule const& removal = each.second;
            return removal.command == '-' + rule.command && removal.source != rule.source &&
                   (removal.keys.empty() || begins(parseKeys(rule.keys), parseKeys(removal.keys))) &&
                   implies(rule.when, removal.when);
        });
    };
    std::vector<std::pair<int, std::size_t>> order;
    for (auto const& [number, rule] : rules)
        if (rule.command[0] != '-' && begins(parseKeys(rule.keys), keys))
            order.emplace_back(-rule.weight, ~number);
    std::sort(order.begin(), order.end());
    std::string text;
    bool isDecided = false;
    for (auto const& place : order) {
        KeyRule const& rule = rules.at(~place.second);
        bool const isLonger = parseKeys(rule.keys).size() > keys.size();
        bool const isEnabled = holds(rule.command == "one" ? "a" : rule.command == "two" ? "b" : "");
        bool const counts = isEnabled || policy == Keymap::Disabled::Swallowed;
        bool const decides = !isRemoved(rule) && holds(rule.when) && counts && !isDecided;
        text += std::to_string(~place.second) + ' ' +
                (isRemoved(rule)     ? "removed"
                 : !holds(rule.when) ? "condition"
                 : !counts           ? "disabled"
                 : isDecided         ? "weaker"
                 : isLonger          ? "pending"
                 : !isEnabled        ? "disabled"
                                     : "wins") +
                "; ";
        isDecided |= decides;
    }
    return text;
}

TEST(Keymap, AnswersAsAScanOfAllRulesDoesWhileRulesComeAndGo)
{
    static constexpr std::array KEYS{"f1", "f1 f2", "f1 f2 f3", "f1 f3", "f2"};
    static constexpr std::array COMMANDS{"one", "two", "x", "-one", "-x"};
    static constexpr std::array CONDITIONS{"", "a", "c", "a && c", "d || a && c", "!d && c", "c && (a || b)", "d"};
    static constexpr std::array SOURCES{"maker", "user"};
    for (std::uint64_t const seed : support::seeds(4)) {
        support::Random random{seed};
        auto const policy = random.oneIn(2) ? Keymap::Disabled::Swallowed : Keymap::Disabled::PassedOver;
        Fixture f{policy};
        f.table.explainWith({});
        std::vector<std::pair<Contribution, std::vector<std::size_t>>> loaded;
        Rules rules;
        std::size_t next = 0;
        for (int step = 0; step != 150; ++step) {
            if (random.oneIn(3)) {
                std::string const name{"abcd"[random.below(4)]};
                f.root->setPropertyValue(name, !f.root->getPropertyValue(name).getBool());
            } else if (loaded.size() > 5 || (!loaded.empty() && random.oneIn(3))) {
                auto const gone = loaded.begin() + static_cast<std::ptrdiff_t>(random.below(loaded.size()));
                for (std::size_t const number : gone->second)
                    rules.erase(number);
                loaded.erase(gone);
            } else {
                std::vector<KeyRule> added(1 + random.below(4));
                std::vector<std::size_t> numbers;
                for (KeyRule& rule : added) {
                    rule = {random.pick(KEYS),
                            random.pick(COMMANDS),
                            random.pick(CONDITIONS),
                            {},
                            static_cast<int>(random.below(3)),
                            random.pick(SOURCES)};
                    if (rule.command[0] == '-' && random.oneIn(2))
                        rule.keys.clear();
                    rules.emplace(next, rule);
                    numbers.push_back(next++);
                }
                loaded.emplace_back(f.load(added), numbers);
            }
            for (char const* const keys : KEYS) {
                std::string text;
                std::string decided = "none";
                for (KeyVerdict const& each : f.keymap.verdicts(parseKeys(keys))) {
                    std::string const row =
                        std::to_string(each.rule) + ' ' + REASONS[static_cast<std::size_t>(each.reason)];
                    text += row + "; ";
                    bool const isSwallowed =
                        each.reason == Reason::CommandDisabled && policy == Keymap::Disabled::Swallowed;
                    if (each.reason == Reason::Wins || each.reason == Reason::Pending || isSwallowed)
                        decided = (isSwallowed     ? "swallowed "
                                   : each.isLonger ? "pending "
                                                   : "runs ") +
                                  std::to_string(each.rule) +
                                  (each.reason == Reason::Wins ? ' ' + f.keymap.rule(each.rule)->command : "");
                }
                ASSERT_EQ(text, naiveVerdicts(f, rules, keys, policy)) << "seed " << seed << ", step " << step;
                ASSERT_EQ(f.match(keys), decided) << "seed " << seed << ", step " << step;
            }
        }
    }
}

}   // namespace
}   // namespace studio::commands

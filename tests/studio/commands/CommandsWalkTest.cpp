#include "gel/Eval.h"
#include "studio/commands/Contribution.h"
#include "studio/commands/Implication.h"
#include "studio/commands/Keymap.h"
#include "studio/host/PathEnd.h"
#include "studio/host/Subscriptions.h"
#include "support/Contexts.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

// Random steps over a table, menus and a key map, beside a list of what is loaded: writes, loads and unloads, also
// inside callbacks of the engine and inside receivers, and callbacks and receivers that throw. Every report is
// replayed. At any moment the table and the menus show what was replayed; after each step that is what an evaluation of
// everything gives, and the verdicts on keys are those of a scan of all rules.
namespace studio::commands {
namespace {

using data::ExpressionEngine;
using data::PropertyValue;
using support::context;
using support::Provider;

/// A text, and what it is with all definitions in place.
struct Text {
    char const* text;
    char const* whole;
};
std::vector<Text> const CONDITIONS{{"", "true"},
                                   {"a", "a"},
                                   {"!a", "!a"},
                                   {"a && b", "a && b"},
                                   {"c > 1", "c > 1"},
                                   {"doc.x", "doc.x"},
                                   {"!doc.x", "!doc.x"},
                                   {"isA", "(a)"},
                                   {"!isAny", "!((a) || b)"},
                                   {"isAny && doc.x", "((a) || b) && doc.x"},
                                   {"missing", "missing"}};
std::vector<std::string> const NAMES{"k0", "k1", "k2", "k3", "k4", "k5", "k6", "k7"};
std::vector<std::string> const MENUS{"m0", "m1", "m2", "m3"};
std::vector<std::string> const GROUPS{"", "navigation", "1_a", "2_b"};
std::vector<std::string> const KEYS{"f1", "f1 f2", "f1 f2 f3", "f1 f3", "f2"};
std::vector<std::string> const RULES{"k0", "k1", "k2", "-k0", "-k1"};
constexpr char const* REASONS[] = {"wins", "pending", "condition", "disabled", "weaker", "removed"};

struct Planned : std::runtime_error {
    Planned() : runtime_error{"planned"} {}
};

/// Reads names through the model, without an engine.
struct Source final : gel::DataSource {
    explicit Source(Provider from) : root{std::move(from)} {}
    gel::Value lookup(std::string const& name) const override
    {
        PropertyValue const value = host::endOf(root, name).value;
        if (value.isDouble())
            return value.getDouble();
        return value.isLogical() ? gel::Value{value.getBool()} : gel::Value{};
    }
    Provider root;
};

class Walk {
public:
    Walk(std::uint64_t seed, bool isHandled) : random{seed}, handlesErrors{isHandled}
    {
        table->define("isAny", "isA || b");
        table->define("isA", "a");
        table->onChanged([this](std::span<CommandChange const> changes) { replay(changes); });
        menus->onChanged([this](std::span<MenuChange const> changes) { replay(changes); });
        if (handlesErrors)
            table->onError([this](host::Failure const& failure) { handled += failure.reason == "planned"; });
        for (char const* const text : {"a", "c > 1 || doc.x"})
            callbacks.push_back(
                engine->acquireExpression(text, [this](auto const&, auto const&) { act(thrownInEngine); }));
    }

    void run(int steps)
    {
        for (int step = 0; step != steps && !testing::Test::HasFailure(); ++step) {
            SCOPED_TRACE("step " + std::to_string(step));
            left = handled = thrown = thrownInEngine = calls = 0;
            acts = random.oneIn(2) ? random.below(5) : 0;
            bool const isQuiet = acts == 0;
            try {
                take();
            } catch (Planned const&) {
                ++left;
            }
            acts = 0;
            check();
            EXPECT_TRUE(!isQuiet || calls <= 1) << "one call for all commits";
            EXPECT_TRUE(!handlesErrors || thrownInEngine != 0 || (left == 0 && handled == thrown));
        }
        end();
    }

private:
    struct Loaded {
        Contribution::Parts parts;
        std::optional<Contribution> contribution{};   // empty while it is made
    };
    using Entries = std::vector<MenuEntry const*>;

    // Steps

    void take()
    {
        switch (random.below(6)) {
        case 0: return load();
        case 1: return unload();
        case 2:
            return support::inTransaction([this] {
                for (int i = 0; i != 3; ++i)
                    write();
            });
        case 3: return support::rolledBack([this] { write(); });
        default: return write();
        }
    }

    /// Does anything, in a callback or receiver.
    void act(std::size_t& failures)
    {
        verify();
        if (keymap) {   // it may end before the table
            KeyMatch const pressed = keymap->press(parseChord(random.oneIn(2) ? "f1" : "f2"));
            EXPECT_TRUE(pressed.kind == KeyMatch::Kind::None || keymap->rule(pressed.rule));
        }
        if (acts == 0)
            return;
        --acts;
        switch (random.below(5)) {
        case 0: ++failures; throw Planned{};
        case 1: return isMaking && !handlesErrors ? unload() : load();
        case 2: return unload();
        default: return write();
        }
    }

    void write()
    {
        switch (random.below(5)) {
        case 0: return root->setPropertyValue("a", random.oneIn(2));
        case 1: return root->setPropertyValue("b", random.oneIn(2));
        case 2: return root->setPropertyValue("c", random.below(4));
        case 3: return documents[random.below(2)]->setPropertyValue("x", random.oneIn(2));
        default: return root->setPropertyValue("doc", random.oneIn(4) ? PropertyValue{} : documents[random.below(2)]);
        }
    }

    void load()
    {
        if (loaded.size() > 6)
            return unload();
        auto const condition = [this] { return random.pick(CONDITIONS).text; };
        Contribution::Parts parts;
        for (std::size_t i = random.below(4); i != 0; --i)
            parts.commands.push_back(
                {random.pick(NAMES), random.oneIn(2) ? TITLE : "plain", "", condition(), condition(), condition()});
        for (std::size_t i = random.below(6); i != 0; --i) {
            bool const opens = random.oneIn(3);
            parts.entries.push_back({random.pick(MENUS), random.pick(GROUPS), static_cast<double>(random.below(3)),
                                     opens ? std::string{} : random.pick(NAMES),
                                     opens ? random.pick(MENUS) : std::string{}, opens ? TITLE : "", condition()});
        }
        for (std::size_t i = random.below(4); i != 0; --i) {
            std::string const command = random.pick(RULES);
            bool const isAnywhere = command[0] == '-' && random.oneIn(2);
            parts.rules.push_back({isAnywhere ? std::string{} : random.pick(KEYS),
                                   command,
                                   condition(),
                                   {},
                                   static_cast<int>(random.below(3)),
                                   random.oneIn(2) ? "maker" : "user"});
        }
        if (random.oneIn(10))
            parts.entries.push_back({random.pick(MENUS), "", 0, "k0", "", "", "a &&"});
        if (!isValid(parts)) {
            EXPECT_ANY_THROW(Contribution(*table, &*menus, &*keymap, parts));
            return;
        }
        Loaded& made = loaded.emplace_back(Loaded{parts});   // before it is reported
        ++isMaking;
        try {
            Contribution contribution{*table, &*menus, &*keymap, std::move(parts)};
            made.contribution = std::move(contribution);
        } catch (Planned const&) {
            loaded.remove_if([&](Loaded const& other) { return &other == &made; });
            --isMaking;
            throw;
        }
        --isMaking;
    }

    void unload()
    {
        auto const found = std::find_if(loaded.begin(), loaded.end(), [this](Loaded const& candidate) {
            return candidate.contribution && (random.oneIn(3) || &candidate == &loaded.back());
        });
        if (found == loaded.end())
            return;
        Contribution const ended = std::move(*found->contribution);
        loaded.erase(found);
    }

    // What was reported

    void replay(std::span<CommandChange const> changes)
    {
        ++calls;
        EXPECT_FALSE(changes.empty());
        for (CommandChange const& change : changes) {
            auto const known = states.find(change.id);
            EXPECT_EQ(change.before, known == states.end() ? std::nullopt : std::optional{known->second}) << change.id;
            EXPECT_NE(change.before, change.after) << change.id;
            states.erase(change.id);
            if (change.after)
                states[change.id] = *change.after;
        }
        areListsCurrent = false;
        act(thrown);
    }

    void replay(std::span<MenuChange const> changes)
    {
        for (MenuChange const& change : changes) {
            std::vector<MenuItem>& list = lists[change.menu];
            auto const at = list.begin() + static_cast<std::ptrdiff_t>(change.index);
            switch (change.kind) {
            case MenuChange::Kind::Removed: list.erase(at); break;
            case MenuChange::Kind::Moved: {
                MenuItem const item = *at;
                list.erase(at);
                list.insert(list.begin() + static_cast<std::ptrdiff_t>(change.to), item);
                break;
            }
            case MenuChange::Kind::Inserted: list.insert(at, menus->items(change.menu)[change.index]); break;
            case MenuChange::Kind::Changed:
                EXPECT_NE(*at, menus->items(change.menu)[change.index]);
                *at = menus->items(change.menu)[change.index];
            }
        }
        areListsCurrent = true;
        act(thrown);
    }

    /// What is visible is what was reported, at any moment.
    void verify()
    {
        for (std::string const& name : NAMES) {
            CommandState const* const state = table->find(name);
            auto const known = states.find(name);
            ASSERT_EQ(state != nullptr, known != states.end()) << name;
            if (state) {
                ASSERT_EQ(*state, known->second) << name;
            }
        }
        if (areListsCurrent)
            for (std::string const& menu : MENUS) {
                std::span<MenuItem const> const items = menus->items(menu);
                ASSERT_TRUE(std::equal(items.begin(), items.end(), lists[menu].begin(), lists[menu].end())) << menu;
            }
    }

    // What an evaluation of everything gives

    static char const* whole(std::string const& text)
    {
        return std::find_if(CONDITIONS.begin(), CONDITIONS.end(),
                            [&](Text const& condition) { return condition.text == text; })
            ->whole;
    }
    bool holds(std::string const& text) const
    {
        gel::Value const value = gel::eval(whole(text), Source{root});
        return value.isLogical() ? value.getBool() : value.isDouble() && value.getDouble() != 0;
    }
    std::string shown(std::string const& title) const
    {
        auto const text = [this](char const* name) { return host::shown(host::endOf(root, name).value); };
        return title == TITLE ? "is " + text("c") + " {of " + text("doc.x") : title;
    }
    Entries entriesOf(std::string const& menu) const
    {
        auto const rankOf = [](std::string const& group) { return group == "navigation" ? 0 : group.empty() ? 2 : 1; };
        Entries entries;
        for (Loaded const& plugin : loaded)
            for (MenuEntry const& entry : plugin.parts.entries)
                if (entry.menu == menu)
                    entries.push_back(&entry);
        std::stable_sort(entries.begin(), entries.end(), [&](MenuEntry const* one, MenuEntry const* other) {
            return std::tuple{rankOf(one->group), one->group, one->order} <
                   std::tuple{rankOf(other->group), other->group, other->order};
        });
        return entries;
    }
    bool leadsTo(std::string const& from, std::string const& menu, Entries const& added) const
    {
        Entries entries = entriesOf(from);
        std::copy_if(added.begin(), added.end(), std::back_inserter(entries),
                     [&](MenuEntry const* entry) { return entry->menu == from; });
        return from == menu || std::any_of(entries.begin(), entries.end(), [&](MenuEntry const* entry) {
                   return !entry->submenu.empty() && leadsTo(entry->submenu, menu, added);
               });
    }
    bool isValid(Contribution::Parts const& parts) const
    {
        std::vector<std::string> ids = table->list();
        for (Command const& command : parts.commands) {
            if (std::count(ids.begin(), ids.end(), command.id) != 0)
                return false;
            ids.push_back(command.id);
        }
        Entries added;
        for (MenuEntry const& entry : parts.entries) {
            if (entry.when == "a &&" || (!entry.submenu.empty() && leadsTo(entry.submenu, entry.menu, added)))
                return false;
            added.push_back(&entry);
        }
        return true;
    }
    std::vector<MenuItem> itemsOf(std::string const& menu, std::map<std::string, CommandState> const& commands) const
    {
        std::vector<MenuItem> items;
        for (MenuEntry const* const entry : entriesOf(menu)) {
            if (!holds(entry->when))
                continue;
            MenuItem item{0, entry->group, entry->command, entry->submenu, {shown(entry->title), true, true, {}}};
            if (auto const command = commands.find(entry->command); command != commands.end())
                item.state = command->second;
            else if (entry->submenu.empty() || itemsOf(entry->submenu, commands).empty())
                continue;
            if (item.state.isVisible)
                items.push_back(std::move(item));
        }
        return items;
    }

    /// The verdicts by definition: a scan of all rules, each compared with each.
    std::string verdicts(KeySequence const& keys, std::map<std::string, CommandState> const& commands) const
    {
        auto const begins = [](KeySequence const& all, KeySequence const& begin) {
            return begin.size() <= all.size() && std::equal(begin.begin(), begin.end(), all.begin());
        };
        std::vector<KeyRule const*> rules;
        for (Loaded const& plugin : loaded)
            for (KeyRule const& rule : plugin.parts.rules)
                rules.insert(rules.begin(), &rule);
        auto const isRemoved = [&](KeyRule const& rule) {
            return std::any_of(rules.begin(), rules.end(), [&](KeyRule const* removal) {
                return removal->command == '-' + rule.command && removal->source != rule.source &&
                       (removal->keys.empty() || begins(parseKeys(rule.keys), parseKeys(removal->keys))) &&
                       implies(whole(rule.when), whole(removal->when));
            });
        };
        std::vector<KeyRule const*> order = rules;
        std::stable_sort(order.begin(), order.end(), [](KeyRule const* stronger, KeyRule const* weaker) {
            return stronger->weight > weaker->weight;
        });
        std::string text;
        bool isDecided = false;
        for (KeyRule const* const rule : order) {
            if (rule->command[0] == '-' || !begins(parseKeys(rule->keys), keys))
                continue;
            auto const command = commands.find(rule->command);
            bool const isEnabled = command == commands.end() || command->second.isEnabled;
            bool const counts = isEnabled || policy == Keymap::Disabled::Swallowed;
            char const* const reason = isRemoved(*rule)                             ? "removed"
                                       : !holds(rule->when)                         ? "condition"
                                       : !counts                                    ? "disabled"
                                       : std::exchange(isDecided, true)             ? "weaker"
                                       : parseKeys(rule->keys).size() > keys.size() ? "pending"
                                       : !isEnabled                                 ? "disabled"
                                                                                    : "wins";
            text += textOf(*rule) + reason + "; ";
        }
        return text;
    }
    static std::string textOf(KeyRule const& rule) { return rule.keys + ' ' + rule.command + ' ' + rule.when + ' '; }

    void checkKeys(std::map<std::string, CommandState> const& commands)
    {
        for (std::string const& each : KEYS) {
            KeySequence const keys = parseKeys(each);
            std::string text;
            std::optional<std::size_t> deciding;
            for (KeyVerdict const& verdict : keymap->verdicts(keys)) {
                using Reason = KeyVerdict::Reason;
                text += textOf(*keymap->rule(verdict.rule)) + REASONS[static_cast<std::size_t>(verdict.reason)] + "; ";
                if (verdict.reason == Reason::Wins || verdict.reason == Reason::Pending ||
                    (verdict.reason == Reason::CommandDisabled && policy == Keymap::Disabled::Swallowed))
                    deciding = verdict.rule;
                if (verdict.reason == Reason::Weaker) {
                    EXPECT_EQ(verdict.by, deciding);
                }
            }
            EXPECT_EQ(text, verdicts(keys, commands)) << each;
            KeyMatch const match = keymap->match(keys);
            EXPECT_EQ(match.kind == KeyMatch::Kind::None ? std::nullopt : std::optional{match.rule}, deciding);
        }
    }

    void check()
    {
        areListsCurrent = true;
        verify();
        std::map<std::string, CommandState> naive;
        std::vector<std::string> ids;
        for (Loaded const& plugin : loaded)
            for (Command const& command : plugin.parts.commands) {
                ids.push_back(command.id);
                naive[command.id] = {shown(command.title), holds(command.enabled), holds(command.visible),
                                     command.checked.empty() ? std::nullopt : std::optional{holds(command.checked)}};
            }
        EXPECT_EQ(states, naive);
        EXPECT_EQ(table->list(), ids);
        for (std::string const& menu : MENUS) {
            std::vector<MenuItem> items = lists[menu];
            for (MenuItem& item : items)
                item.entry = 0;
            EXPECT_EQ(items, itemsOf(menu, naive)) << menu;
        }
        checkKeys(naive);
    }

    /// Ends everything, in any order.
    void end()
    {
        std::vector<int> order{0, 1, 2, 3, 4, 4, 4};
        for (std::size_t i = order.size(); i != 1; --i)
            std::swap(order[i - 1], order[random.below(i)]);
        for (int const what : order) {
            switch (what) {
            case 0: engine.reset(); break;
            case 1: table.reset(); break;
            case 2: menus.reset(); break;
            case 3: keymap.reset(); break;
            default: unload();
            }
            if (table && menus)
                verify();
            EXPECT_TRUE(table || !keymap || keymap->verdicts(parseKeys("f1")).empty());
            EXPECT_TRUE(table || !menus || (menus->list().empty() && menus->items("m0").empty()));
            if (table && !engine) {
                EXPECT_THROW(Contribution(*table, nullptr, nullptr, {}), std::logic_error);
            }
        }
        loaded.clear();
    }

    static constexpr char const* TITLE = "is {c} {{of {doc.x}";

    support::Random random;
    bool const handlesErrors;
    Provider documents[2] = {context({{"x", true}}), context({{"x", false}})};
    Provider root = context({{"a", true}, {"b", false}, {"c", 1}, {"doc", documents[0]}});
    std::optional<ExpressionEngine> engine{std::in_place, root, data::ReleasePolicy::KeepsShared};
    // The callbacks come first: their exceptions keep the table's own expressions from being evaluated.
    std::vector<std::unique_ptr<data::ExpressionHandle>> callbacks;
    std::optional<CommandTable> table{*engine};
    std::optional<Menus> menus{*table};
    Keymap::Disabled const policy = random.oneIn(2) ? Keymap::Disabled::Swallowed : Keymap::Disabled::PassedOver;
    std::optional<Keymap> keymap{std::in_place, *table, policy};
    std::list<Loaded> loaded;
    std::map<std::string, CommandState> states;
    std::map<std::string, std::vector<MenuItem>> lists;
    bool areListsCurrent = true;
    int isMaking = 0;
    std::size_t acts = 0, calls = 0, left = 0, handled = 0, thrown = 0, thrownInEngine = 0;
};

TEST(Commands, ShowWhatAnEvaluationOfEverythingGives)
{
    for (std::uint64_t const seed : support::seeds(30)) {
        SCOPED_TRACE("STUDIO_DATA_SEED=" + std::to_string(seed));
        Walk{seed, seed % 2 == 0}.run(250);
        if (HasFailure())
            return;
    }
}

}   // namespace
}   // namespace studio::commands

#include "workbench/CommandCheck.h"

#include "studio/commands/CommandTable.h"
#include "studio/commands/Contribution.h"
#include "studio/commands/Menus.h"
#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "workbench/Contexts.h"
#include "workbench/Text.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace workbench {

using namespace studio::commands;
using studio::data::ContextProvider;
using studio::data::ExpressionEngine;
using studio::data::ReleasePolicy;

namespace {

std::string listed(std::vector<std::size_t> const& numbers)
{
    std::string text = "[";
    for (std::size_t const number : numbers)
        text += (text.size() == 1 ? "" : ", ") + std::to_string(number);
    return text + ']';
}

std::string shown(KeyAnswer const& answer)
{
    switch (answer.kind) {
    case KeyAnswer::Kind::None: return "none";
    case KeyAnswer::Kind::Pending: return "pending";
    case KeyAnswer::Kind::Rule: break;
    }
    return "rule " + std::to_string(answer.rule);
}

std::string shown(bool isEnabled, std::optional<bool> isChecked)
{
    return std::string(isEnabled ? "enabled" : "disabled") + (!isChecked   ? ""
                                                              : *isChecked ? ", checked"
                                                                           : ", not checked");
}

/// The host: contexts, and what it was told of commands and menus.
class Host {
public:
    Host(CommandFiles const& files, Recording const& recording, CommandAnswers const& recorded, Keymap::Disabled policy)
        : contexts(recording.contexts, ContextProvider::create()), given{files}, answers{recorded}, disabled{policy}
    {
        contexts.apply(recording.initial);
        engine.emplace(contexts.root(), ReleasePolicy::KeepsShared);
        table.emplace(*engine);
        menus.emplace(*table, [](std::string_view, std::string_view) { return false; });
        keymap.emplace(*table, policy);
        table->onChanged([this](std::span<CommandChange const> changes) { take(changes); });
        menus->onChanged([this](std::span<MenuChange const> changes) { take(changes); });
        contribution = Contribution(*table, &*menus, &*keymap, files.parts);
        for (CommandAnswers::Sequence const& sequence : answers.sequences)
            sequences.push_back(parseKeys(sequence.keys));
        expectedKeys.resize(sequences.size());
        expectedMenus.resize(answers.menus.size());
    }

    void step(std::vector<Operation> const& operations) { contexts.apply(operations); }

    /// Compares what removals take away with what the file says.
    void compareRules()
    {
        for (std::size_t i = 0; i != sequences.size(); ++i) {
            std::vector<std::size_t> candidates;
            for (KeyVerdict const& each : keymap->verdicts(sequences[i]))
                if (each.reason != KeyVerdict::Reason::Removed)
                    candidates.push_back(each.rule);
            std::reverse(candidates.begin(), candidates.end());
            if (candidates != answers.sequences[i].candidates)
                differs("at the start", "candidates of " + answers.sequences[i].keys,
                        listed(answers.sequences[i].candidates), listed(candidates));
        }
        std::map<std::size_t, std::vector<std::size_t>> removed;
        for (std::size_t rule = 0; rule != given.parts.rules.size(); ++rule)
            if (!given.parts.rules[rule].command.starts_with('-'))
                for (KeyVerdict const& each : keymap->verdicts(parseKeys(given.parts.rules[rule].keys)))
                    if (each.rule == rule && each.reason == KeyVerdict::Reason::Removed)
                        removed[each.by].push_back(rule);
        for (auto const& [removal, rules] : given.removals)
            if (removed[removal] != rules)
                differs("at the start", "rules that rule " + std::to_string(removal) + " removes", listed(rules),
                        listed(removed[removal]));
        for (KeyRule const& rule : given.parts.rules)
            if (!rule.keys.empty() && textOf(parseKeys(rule.keys)) != rule.keys)
                differs("at the start", "the text of keys", rule.keys, textOf(parseKeys(rule.keys)));
    }

    void compare(std::string const& when, CommandRow const& row)
    {
        for (CommandRow::Keys const& each : row.keys)
            expectedKeys[each.sequence] = disabled == Keymap::Disabled::Swallowed ? each.byCondition : each.ofEnabled;
        for (CommandRow::Menu const& each : row.menus)
            expectedMenus[each.menu] = each;
        for (CommandRow::State const& each : row.commands)
            expectedCommands.insert_or_assign(each.command, each);
        compareKeys(when);
        compareMenus(when);
        compareCommands(when);
    }

    CommandCheck result;

private:
    void differs(std::string const& when, std::string const& what, std::string const& expected,
                 std::string const& found)
    {
        if (++result.differences <= 10)
            result.first.push_back(when + ", " + oneLine(what, 100) + ": expected " + oneLine(expected, 200) +
                                   ", found " + oneLine(found, 200));
    }

    void take(std::span<CommandChange const> changes)
    {
        for (CommandChange const& change : changes) {
            auto const known = commands.find(change.id);
            std::optional<CommandState> const before =
                known == commands.end() ? std::optional<CommandState>() : known->second;
            if (before != change.before || before == change.after)
                differs("at any time", "command " + change.id, "a change", "another state before, or none");
            if (change.after)
                commands.insert_or_assign(change.id, *change.after);
            else
                commands.erase(change.id);
        }
    }

    void take(std::span<MenuChange const> changes)
    {
        for (MenuChange const& change : changes) {
            std::vector<MenuItem>& list = lists[change.menu];
            auto const at = list.begin() + static_cast<std::ptrdiff_t>(change.index);
            switch (change.kind) {
            case MenuChange::Kind::Removed: list.erase(at); break;
            case MenuChange::Kind::Moved: {
                MenuItem item = std::move(*at);
                list.erase(at);
                list.insert(list.begin() + static_cast<std::ptrdiff_t>(change.to), std::move(item));
                break;
            }
            case MenuChange::Kind::Inserted: list.insert(at, menus->items(change.menu)[change.index]); break;
            case MenuChange::Kind::Changed: *at = menus->items(change.menu)[change.index]; break;
            }
        }
    }

    void compareKeys(std::string const& when)
    {
        for (std::size_t i = 0; i != sequences.size(); ++i) {
            KeyMatch const match = keymap->match(sequences[i]);
            KeyAnswer found;
            if (match.kind == KeyMatch::Kind::Pending)
                found.kind = KeyAnswer::Kind::Pending;
            else if (match.kind != KeyMatch::Kind::None)
                found = {KeyAnswer::Kind::Rule, match.rule};
            ++result.keys;
            if (!(found == expectedKeys[i]))
                differs(when, answers.sequences[i].keys, shown(expectedKeys[i]), shown(found));
        }
    }

    void compareMenus(std::string const& when)
    {
        for (std::size_t i = 0; i != answers.menus.size(); ++i) {
            CommandRow::Menu found{i, {}, {}, {}};
            std::vector<MenuItem> const& list = lists[answers.menus[i]];
            for (MenuItem const& item : list) {
                found.visible.push_back(item.entry);
                if (!item.state.isEnabled)
                    found.disabled.push_back(item.entry);
                if (item.state.isChecked.value_or(false))
                    found.checked.push_back(item.entry);
            }
            ++result.menus;
            CommandRow::Menu const& expected = expectedMenus[i];
            if (found.visible != expected.visible)
                differs(when, answers.menus[i] + ", visible", listed(expected.visible), listed(found.visible));
            if (found.disabled != expected.disabled)
                differs(when, answers.menus[i] + ", disabled", listed(expected.disabled), listed(found.disabled));
            if (found.checked != expected.checked)
                differs(when, answers.menus[i] + ", checked", listed(expected.checked), listed(found.checked));
        }
        for (std::string const& menu : menus->list()) {
            std::vector<MenuItem> const& list = lists[menu];
            std::span<MenuItem const> const items = menus->items(menu);
            if (!std::equal(list.begin(), list.end(), items.begin(), items.end()))
                differs(when, menu, "the items that were reported", "others");
        }
    }

    void compareCommands(std::string const& when)
    {
        for (Command const& command : given.parts.commands) {
            CommandState const* const present = table->find(command.id);
            auto const reported = commands.find(command.id);
            if (!present || reported == commands.end() || !(*present == reported->second))
                differs(when, command.id, "the state that was reported", "another");
        }
        for (auto const& [number, expected] : expectedCommands) {
            std::string const& id = given.parts.commands[number].id;
            CommandState const& found = commands[id];
            ++result.commands;
            if (found.isEnabled != expected.isEnabled || found.isChecked != expected.isChecked)
                differs(when, id, shown(expected.isEnabled, expected.isChecked),
                        shown(found.isEnabled, found.isChecked));
        }
    }

    Contexts contexts;
    CommandFiles const& given;
    CommandAnswers const& answers;
    Keymap::Disabled disabled;
    std::vector<KeySequence> sequences;
    // As they were reported.
    std::map<std::string, CommandState> commands;
    std::map<std::string, std::vector<MenuItem>> lists;
    // As they were recorded.
    std::vector<KeyAnswer> expectedKeys;
    std::vector<CommandRow::Menu> expectedMenus;
    std::map<std::size_t, CommandRow::State> expectedCommands;

    std::optional<ExpressionEngine> engine;
    std::optional<CommandTable> table;
    std::optional<Menus> menus;
    std::optional<Keymap> keymap;
    Contribution contribution;
};

}   // namespace

CommandCheck checkCommands(CommandFiles const& files, Recording const& recording, CommandAnswers const& answers,
                           Keymap::Disabled policy)
{
    Host host(files, recording, answers, policy);
    host.compareRules();
    host.compare("at the start", answers.rows.front());
    for (std::size_t step = 1; step != answers.rows.size(); ++step) {
        host.step(recording.steps[step - 1].operations);
        host.compare("step " + std::to_string(step), answers.rows[step]);
        ++host.result.steps;
    }
    return host.result;
}

}   // namespace workbench

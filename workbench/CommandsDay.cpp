#include "workbench/CommandsDay.h"

#include "studio/commands/Contribution.h"
#include "studio/commands/Keymap.h"
#include "studio/commands/Manifest.h"
#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/inspect/Reasons.h"
#include "workbench/Contexts.h"
#include "workbench/Text.h"
#include "workbench/sample/Sample.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace workbench {

using namespace studio::commands;
using Reason = KeyVerdict::Reason;
using studio::data::ContextProvider;
using studio::data::ExpressionEngine;
using studio::data::ReleasePolicy;

namespace {

constexpr std::size_t MOST_COLUMNS = 80;

/// Writes lines that end at spaces, and go on indented.
class Page {
public:
    Page(std::ostream& out, std::optional<std::size_t> width)
        : columns{std::min(width.value_or(MOST_COLUMNS), MOST_COLUMNS)}, out{out}
    {}

    void line(std::size_t indent, std::string_view text)
    {
        std::size_t const room = columns > indent + 4 ? columns - indent : 4;
        std::string const margin(indent, ' ');
        while (text.size() > room) {
            std::size_t const space = text.rfind(' ', room);
            std::size_t const cut = space == text.npos || space == 0 ? room : space;
            out << margin << text.substr(0, cut) << '\n';
            text.remove_prefix(std::min(text.find_first_not_of(' ', cut), text.size()));
        }
        if (!text.empty())
            out << margin << text << '\n';
    }
    void space() { out << '\n'; }

    std::size_t const columns;

private:
    std::ostream& out;
};

std::string joined(std::vector<std::string> const& sentences)
{
    std::string text;
    for (std::string const& sentence : sentences)
        (text += text.empty() ? "" : " ") += sentence;
    return text;
}

/// The editor, as a host of commands.
class Host {
public:
    Host(Page& page, Recording const& recording, std::vector<sample::Moment> const& moments)
        : page{page}, contexts(recording.contexts, ContextProvider::create())
    {
        contexts.apply(recording.initial);
        for (auto const& [condition, sentence] : sample::reasons())
            reasons.add(condition, sentence);
        table.explainWith([this](std::string const& condition) { return reasons.reasonFor(condition); });
        for (sample::Manifest const& manifest : sample::manifests())
            if (std::none_of(moments.begin(), moments.end(), [&](auto const& m) { return m.begins == manifest.name; }))
                begin(manifest.name);
        table.onChanged([this](std::span<CommandChange const> changes) {
            ++calls;
            commandChanges += changes.size();
        });
        menus.onChanged([this](std::span<MenuChange const> changes) { menuChanges += changes.size(); });
    }

    void step(std::vector<Operation> const& operations) { contexts.apply(operations); }

    void begin(std::string const& name)
    {
        for (sample::Manifest const& manifest : sample::manifests())
            if (manifest.name == name)
                contributions[name] = Contribution{table, &menus, &keymap, readManifest(manifest.text, name + ".json")};
    }
    void end(std::string const& name) { contributions.erase(name); }

    /// Writes a menu, and the reason for each item that is disabled.
    void showMenu(std::string const& menu, std::size_t indent = 2)
    {
        std::span<MenuItem const> const items = menus.items(menu);
        if (indent == 2)
            page.line(indent, menu + (items.empty() ? " menu: nothing to show" : " menu"));
        std::string const* group = nullptr;
        for (MenuItem const& item : items) {
            if (group && *group != item.group)
                page.line(indent + 4, "-----");
            group = &item.group;
            showItem(item, indent + 2);
        }
    }

    /// Presses keys one after the other, and writes what they did and why nothing else.
    void showKeys(std::string const& text)
    {
        KeySequence const keys = parseKeys(text);
        std::string pressed;
        std::size_t first = 0;   // of the chords that are pending
        bool isPending = false;
        for (std::size_t i = 0; i != keys.size(); ++i) {
            KeyMatch const match = keymap.press(keys[i]);
            isPending = match.kind == KeyMatch::Kind::Pending;
            if (isPending && i + 1 != keys.size())
                continue;
            (pressed += first == 0 ? "" : ", then ") += textOf(std::span{keys}.subspan(first, i + 1 - first));
            pressed += isPending                               ? " waits for another key"
                       : match.kind == KeyMatch::Kind::Command ? " runs " + titleOf(match.command)
                                                               : " does nothing";
            first = i + 1;
        }
        keymap.reset();
        page.line(2, pressed);
        for (KeyVerdict const& verdict : keymap.verdicts(keys))
            if (verdict.reason != Reason::Wins)
                page.line(6, reasonOf(verdict, isPending));
    }

    std::size_t calls = 0;
    std::size_t commandChanges = 0;
    std::size_t menuChanges = 0;

private:
    std::string titleOf(std::string_view command) const
    {
        CommandState const* const state = table.find(command);
        return state ? state->title : std::string{command};
    }

    void showItem(MenuItem const& item, std::size_t indent)
    {
        std::string text = item.state.isChecked ? *item.state.isChecked ? "x " : "o " : "  ";
        text += item.state.title;
        if (!item.submenu.empty()) {
            page.line(indent, text + " >");
            return showMenu(item.submenu, indent + 2);
        }
        std::vector<std::size_t> const rules = keymap.rulesOf(item.command);
        if (!rules.empty()) {
            std::string const& keys = keymap.rule(rules.front())->keys;
            std::size_t const column = std::min<std::size_t>(40, page.columns - std::min(page.columns, keys.size()));
            text.resize(std::max(text.size() + 2, column - std::min(column, indent)), ' ');
            text += keys;
        }
        page.line(indent, text);
        if (!item.state.isEnabled)
            page.line(indent + 6, "grey: " + joined(table.whyDisabled(item.command)));
    }

    /// `isPending`: the keys are the beginning of a longer sequence.
    std::string reasonOf(KeyVerdict const& verdict, bool isPending) const
    {
        KeyRule const& rule = *keymap.rule(verdict.rule);
        std::string const subject = titleOf(rule.command) + (verdict.isLonger ? " (" + rule.keys + ")" : "");
        std::string const sentences = verdict.sentences.empty() ? "" : ": " + joined(verdict.sentences);
        switch (verdict.reason) {
        case Reason::Wins: break;
        case Reason::Pending: return "for " + subject;
        case Reason::ConditionFalse: return "not " + subject + ", whose keys do not apply" + sentences;
        case Reason::CommandDisabled: return "not " + subject + ", which is disabled" + sentences;
        case Reason::Weaker:
            if (verdict.isLonger && isPending && rule.keys != keymap.rule(verdict.by)->keys)
                return "or for " + subject;
            return "not " + subject + ": " + titleOf(keymap.rule(verdict.by)->command) + " is stronger";
        case Reason::Removed:
            return "not " + subject + ": these keys were removed by the " + keymap.rule(verdict.by)->source;
        }
        return subject + " wins";
    }

    Page& page;
    Contexts contexts;
    studio::inspect::Reasons reasons{contexts.root()};
    ExpressionEngine engine{contexts.root(), ReleasePolicy::KeepsShared};
    CommandTable table{engine};
    Menus menus{table};
    Keymap keymap{table};
    std::map<std::string, Contribution> contributions;
};

}   // namespace

void showCommandsDay(std::ostream& out, Moments which, std::optional<std::size_t> width)
{
    Page page{out, width};
    Recording const recording = sample::day();
    std::vector<sample::Moment> const moments = sample::moments();
    Host host{page, recording, moments};
    auto moment = moments.begin();
    int seen = 0;   // steps of the description of the moment
    for (std::size_t i = 0; i != recording.steps.size(); ++i) {
        Step const& step = recording.steps[i];
        host.step(step.operations);
        if (moment == moments.end() || moment->during != step.during || ++seen != moment->nth)
            continue;
        seen = 0;
        if (!moment->begins.empty())
            host.begin(moment->begins);
        if (!moment->ends.empty())
            host.end(moment->ends);
        if (which == Moments::All || moment->isInBrief) {
            page.line(0, "step " + std::to_string(i + 1) + " of " + std::to_string(recording.steps.size()) + ": " +
                             step.during +
                             (moment->begins.empty() ? "" : "; the plugin " + moment->begins + " is loaded") +
                             (moment->ends.empty() ? "" : "; the plugin " + moment->ends + " is unloaded"));
            host.showMenu(moment->menu);
            for (std::string const& keys : moment->keys)
                host.showKeys(keys);
            page.space();
        }
        ++moment;
    }
    page.line(0, counted(host.commandChanges, "change") + " of commands and " + counted(host.menuChanges) +
                     " of menus in " + counted(host.calls, "call") + " over " +
                     counted(recording.steps.size(), "step"));
}

}   // namespace workbench

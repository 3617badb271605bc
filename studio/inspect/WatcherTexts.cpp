#include "studio/data/PropertyValueJson.h"
#include "studio/inspect/Explanation.h"
#include "studio/inspect/Watcher.h"
#include "studio/inspect/detail/Values.h"
#include "studio/inspect/detail/WatcherRecord.h"

#include <boost/uuid/uuid_io.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace studio::inspect {

using detail::literal;
using OrderedJson = nlohmann::ordered_json;
using ChangeKind = PropertyChange::Kind;

namespace {

/// A case of `Standstill`: its name, the reason, and what to do.
struct Row {
    char const* name;
    char const* why;
    char const* then;
};

// By value of `Standstill`.
constexpr Row ROWS[] = {
    {"NotAcquired", "no handle of the engine has this text", "texts that differ in spacing are different expressions"},
    {"Untouched", "no commit has touched a property that it reads since it was last evaluated",
     "check the paths of its symbols"},
    {"SameResult", "the last commit that touched a property that it reads left its value equal, so no callback ran",
     "read the value of the handle"},
    {"Hidden", "a property with dots in its name hides, or hid, the path that the expression is bound along",
     "do not use dots in names; the next change of the path is seen"},
    {"Renamed", "a property on its path was renamed, which evaluates only expressions that read the new name",
     "remove and add the property instead"},
    {"Moved", "a property on its path was moved, which evaluates only expressions that read it in the new context",
     "remove and add the property instead"},
    {"Unbound", "the release of another text unbound a symbol that both name",
     "use an engine made with ReleasePolicy::KeepsShared"},
    {"InRound", "a round is running, and the expression is evaluated later in it",
     "read it in its own callback, or when the rounds have ended"},
    {"Interrupted", "an exception left a callback and ended the round before the expression was evaluated",
     "let no exception out of callbacks; the next change on its path is seen"},
    {"Endless", "callbacks wrote in response to each other's writes without end, and a write was refused",
     "let one of the callbacks write nothing when its value is good enough"},
    {"RolledBack", "its value was read in a transaction that was rolled back", "acquire outside of transactions"},
    {"NotANumber", "NaN was written over NaN, which expressions read as undefined both times",
     "write undefined instead of NaN"},
    {"ProviderGone", "the provider of a context on its path was released in a transaction that was rolled back",
     "release providers outside of transactions"},
    {"NotKept", "its value is not that of the present contexts, and the commit that shows why is not kept",
     "keep more commits"}};

Row const& rowOf(Standstill row) noexcept
{
    return ROWS[static_cast<std::size_t>(row)];
}

std::string quoted(std::string const& text)
{
    return '"' + printable(text) + '"';
}

std::string numbered(std::uint64_t commit)
{
    return "commit " + std::to_string(commit);
}

std::string describe(PropertyChange const& change)
{
    if (change.kind == ChangeKind::Created)
        return "created with " + literal(*change.after);
    if (change.kind == ChangeKind::Destroyed)
        return literal(*change.before) + ", destroyed";
    std::string text;
    if (change.name != change.nameBefore)
        text += "renamed from " + quoted(change.nameBefore) + " to " + quoted(change.name) + ", ";
    if (change.context != change.contextBefore)
        text += "moved from context " + to_string(change.contextBefore) + " to " + to_string(change.context) + ", ";
    if (text.empty() || !(change.before == change.after))
        return text + literal(*change.before) + " -> " + literal(*change.after);
    return text + "still " + literal(*change.after);
}

std::string describe(Why::Link const& link)
{
    return numbered(link.commit) +
           (link.callback.empty() ? std::string{} : ", by the callback of " + quoted(link.callback));
}

OrderedJson json(PropertyChange const& change)
{
    static constexpr char const* KINDS[] = {"created", "changed", "destroyed"};
    OrderedJson result{{"kind", KINDS[static_cast<std::size_t>(change.kind)]},
                       {"context", to_string(change.context)},
                       {"name", change.name}};
    if (change.context != change.contextBefore)
        result["contextBefore"] = to_string(change.contextBefore);
    if (change.name != change.nameBefore)
        result["nameBefore"] = change.nameBefore;
    if (change.before)
        result["before"] = *change.before;
    if (change.after)
        result["after"] = *change.after;
    return result;
}

/// Returns a JSON document as text. Bytes of the host that are not UTF-8 are replaced.
std::string written(OrderedJson const& json)
{
    return detail::printableJson(json.dump(-1, ' ', true, OrderedJson::error_handler_t::replace));
}

double microseconds(std::int64_t nanoseconds)
{
    return static_cast<double>(nanoseconds) / 1000;
}

OrderedJson event(std::string const& name, char const* category, std::int64_t from, std::int64_t to,
                  OrderedJson arguments)
{
    return {{"name", name},
            {"cat", category},
            {"ph", "X"},
            {"ts", microseconds(from)},
            {"dur", microseconds(std::max(to - from, std::int64_t{0}))},
            {"pid", 1},
            {"tid", 1},
            {"args", std::move(arguments)}};
}

}   // namespace

std::string describe(Why const& why, std::string const& text)
{
    if (why.commit == 0)
        return quoted(text) + " has not changed in the commits that are kept";
    std::string lines =
        quoted(text) + ": " + literal(why.before) + " -> " + literal(why.after) + " in " + numbered(why.commit);
    if (why.evaluated != why.commit)
        lines += ", evaluated in " + numbered(why.evaluated);
    if (!why.isComplete)
        lines += "\n  the changes are not known: a commit that they depend on is not kept, or a transaction is open";
    if (why.isTogether)
        lines += "\n  only together:";
    for (std::size_t i = 0; i != why.changes.size(); ++i)
        lines += "\n  " + printable(why.paths[i]) + ": " + describe(why.changes[i]);
    for (std::size_t i = 0; i != why.chain.size(); ++i)
        if (!why.chain[i].callback.empty())
            lines += "\n  " + describe(why.chain[i]) +
                     (i + 1 != why.chain.size() ? " in " + numbered(why.chain[i + 1].commit) : std::string{});
    return lines;
}

std::string describe(WhyNot const& whyNot, std::string const& text)
{
    Row const& row = rowOf(whyNot.row);
    std::string sentence = quoted(text) + " has not changed" +
                           (whyNot.since == 0 ? std::string{} : " since " + numbered(whyNot.since)) + ": ";
    if (whyNot.row == Standstill::Untouched && whyNot.since != 0)   // no advice: its paths are right
        return sentence + "no later commit has touched a property that it reads";
    sentence += row.why;
    if (!whyNot.symbol.empty() || whyNot.commit != 0) {
        sentence += " (";
        sentence += whyNot.symbol.empty() ? std::string{} : quoted(whyNot.symbol);
        sentence += !whyNot.symbol.empty() && whyNot.commit != 0 ? ", " : "";
        sentence += (whyNot.commit == 0 ? std::string{} : numbered(whyNot.commit)) + ')';
    }
    return sentence + "; " + row.then;
}

std::string json(Why const& why, std::string const& text)
{
    OrderedJson changes = OrderedJson::array();
    for (std::size_t i = 0; i != why.changes.size(); ++i) {
        OrderedJson change{{"path", why.paths[i]}};
        change.update(json(why.changes[i]));
        changes.push_back(std::move(change));
    }
    OrderedJson chain = OrderedJson::array();
    for (Why::Link const& link : why.chain)
        chain.push_back({{"commit", link.commit}, {"callback", link.callback}});
    return written({{"text", text},
                    {"commit", why.commit},
                    {"evaluated", why.evaluated},
                    {"before", why.before},
                    {"after", why.after},
                    {"complete", why.isComplete},
                    {"together", why.isTogether},
                    {"changes", std::move(changes)},
                    {"chain", std::move(chain)}});
}

std::string json(WhyNot const& whyNot, std::string const& text)
{
    Row const& row = rowOf(whyNot.row);
    return written({{"text", text},
                    {"row", row.name},
                    {"symbol", whyNot.symbol},
                    {"commit", whyNot.commit},
                    {"since", whyNot.since},
                    {"why", row.why},
                    {"then", row.then}});
}

std::string Watcher::chromeTrace() const
{
    OrderedJson events = OrderedJson::array();
    for (Record::Kept const& kept : record->commits()) {
        Commit const& commit = kept.commit;
        OrderedJson changes = OrderedJson::array();
        for (PropertyChange const& change : commit.changes)
            changes.push_back(json(change));
        events.push_back(event(numbered(commit.number), "round", commit.began, commit.ended,
                               {{"cause", commit.cause}, {"callback", commit.callback}, {"changes", changes}}));
        // A call lasts until the next event of the commit, an evaluation begins at the one before.
        std::int64_t before = commit.began;
        for (std::size_t i = 0; i != kept.events.size(); ++i) {
            Record::Event const& each = kept.events[i];
            if (each.isCall) {
                before = i + 1 != kept.events.size() ? kept.events[i + 1].at : std::max(each.at, commit.ended);
                events.push_back(event(commit.calls[each.index], "call", each.at, before, OrderedJson::object()));
            } else {
                Evaluation const& evaluation = commit.evaluations[each.index];
                events.push_back(event(evaluation.text, "evaluation", before, each.at,
                                       {{"before", evaluation.before}, {"after", evaluation.after}}));
                before = each.at;
            }
        }
    }
    return written({{"traceEvents", std::move(events)}, {"displayTimeUnit", "ns"}});
}

}   // namespace studio::inspect

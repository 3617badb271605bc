#include "studio/data/ContextProvider.h"
#include "studio/host/PathEnd.h"
#include "studio/inspect/Watcher.h"
#include "studio/inspect/detail/PastContexts.h"
#include "studio/inspect/detail/WatcherRecord.h"
#include "tarn/zero/ModelImpl.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace studio::inspect {

using data::ExpressionEngine;
using data::PropertyValue;
using Reason = host::PathEnd::Reason;

namespace {

/// A symbol of a text, and the present walk along its path.
struct Path {
    std::string symbol;
    host::Walk walk;

    std::string_view nameAt(host::Walk::Step const& step) const
    {
        return std::string_view{symbol}.substr(step.offset, step.size);
    }
    /// The rest of the symbol from that step on. A property whose whole name is this rest hides the path.
    std::string_view restAt(host::Walk::Step const& step) const { return std::string_view{symbol}.substr(step.offset); }
};

/// The present state of an expression: its value, its paths, and what it reads.
struct State {
    State(ExpressionEngine const* from, std::string const& text) : program{text}, engine{from}
    {
        if (!engine || !engine->findExpression(text))
            return;
        auto const entries = engine->listExpressions();
        auto const entry =
            std::find_if(entries.begin(), entries.end(), [&](auto const& one) { return one.text == text; });
        if (entry == entries.end())
            return;
        value = entry->value;
        boost::uuids::uuid const root = engine->getRoot() ? engine->getRoot()->getId() : boost::uuids::uuid{};
        if (engine->getRoot())
            for (std::string const& symbol : program.symbols())
                paths.push_back({symbol, host::walkAlong(contexts, root, symbol)});
        isCurrent = detail::evaluate(program, root, contexts, &reads) == *value;
    }

    bool isBound(Path const& path, boost::uuids::uuid const& context, std::string_view name) const
    {
        auto const leaves = engine->findLeaves(context, name);
        return std::any_of(leaves.begin(), leaves.end(), [&](auto const& leaf) { return leaf.symbol == path.symbol; });
    }
    /// True unless a release has unbound the symbol. A symbol is bound if the first name of its path is.
    bool isBound(Path const& path) const
    {
        host::Walk::Step const& first = path.walk.steps.front();
        return isBound(path, first.context, path.restAt(first).substr(0, path.symbol.find('.')));
    }
    /// True if a change of that property evaluates the expression.
    bool isBoundAt(boost::uuids::uuid const& context, std::string_view name) const
    {
        return std::any_of(paths.begin(), paths.end(), [&](Path const& path) { return isBound(path, context, name); });
    }
    /// The path that the value depends on and that leads to a context without a provider; null if there is none.
    Path const* withoutProvider() const
    {
        return findPath([this](Path const& path) {
            if (path.walk.reason != Reason::Dangling)
                return false;
            host::Walk::Step const& last = path.walk.steps.back();
            std::optional<PropertyValue> const reference = contexts.find(last.context, path.nameAt(last));
            return reference && reads.contexts.count(reference->getUUID()) != 0 &&
                   data::ContextProvider::sharedModel()->findElement(reference->getUUID(), 1);
        });
    }
    Path const* unbound() const
    {
        return findPath([this](Path const& path) { return !isBound(path); });
    }
    template <class Test>
    Path const* findPath(Test const& test) const
    {
        auto const found = std::find_if(paths.begin(), paths.end(), test);
        return found == paths.end() ? nullptr : &*found;
    }

    gel::Program const program;
    ExpressionEngine const* engine;
    host::ContextReader const contexts;
    std::optional<PropertyValue> value;   // empty if the text is not acquired
    bool isCurrent = true;                // an evaluation now yields the same value
    detail::Reads reads;                  // of that evaluation
    std::vector<Path> paths;
};

bool isNaN(std::optional<PropertyValue> const& value)
{
    return value && value->isDouble() && std::isnan(value->getDouble());
}

/// Returns the case of a change that does not evaluate the expressions bound along a path: the change hides the path,
/// stops hiding it, or moves or renames a property on it. None for other changes.
std::optional<Standstill> unnoticed(PropertyChange const& change, Path const& path)
{
    for (host::Walk::Step const& step : path.walk.steps) {
        auto const was = [&](std::string_view name) {
            return step.context == change.contextBefore && name == change.nameBefore;
        };
        std::string_view const rest = path.restAt(step);
        bool const hasDots = rest.find('.') != std::string_view::npos;
        if (hasDots && (was(rest) || (step.context == change.context && rest == change.name)))
            return Standstill::Hidden;
        if (change.kind == PropertyChange::Kind::Changed && path.walk.reason == Reason::Missing &&
            &step == &path.walk.steps.back() && was(path.nameAt(step)))
            return change.context != change.contextBefore ? Standstill::Moved : Standstill::Renamed;
    }
    return std::nullopt;
}

/// Finds the case for a text, from its state and the commits that are kept.
template <class Record>
class Finder {
public:
    Finder(Record const& commits, std::string const& text) : record{commits}, state{commits.liveEngine(), text} {}

    WhyNot find() const
    {
        if (!state.value)
            return {Standstill::NotAcquired};
        if (Path const* const path = state.unbound())
            return {Standstill::Unbound, path->symbol};
        auto const last = record.lastEvaluation(state.program.text(), false);
        if (!state.isCurrent)
            return stale();
        if (Path const* const path = state.withoutProvider())
            return {Standstill::ProviderGone, path->symbol};
        if (auto const* const refused = refusedAfter(last.commit))
            return {Standstill::Endless, symbolIn(*refused).value_or(""), refused->commit.number};
        if (!last.event || !(last.evaluation().before == last.evaluation().after))
            return {Standstill::Untouched};
        Commit const& commit = last.commit->commit;
        for (PropertyChange const& change : commit.changes)
            if (isNaN(change.before) && isNaN(change.after))
                if (std::optional<std::string> symbol = symbolAt(change))
                    return {Standstill::NotANumber, *std::move(symbol), commit.number};
        return {Standstill::SameResult, symbolIn(*last.commit).value_or(""), commit.number};
    }

private:
    using Kept = typename Record::Kept;

    /// Returns the case of an expression whose value is out of date. It follows from the commit before which the value
    /// was up to date.
    WhyNot stale() const
    {
        if (data::ContextProvider::sharedModel()->isInTransaction())
            return {Standstill::Untouched};   // no commit has touched it yet: the writes belong to the open transaction
        if (Path const* const path = state.withoutProvider())
            return {Standstill::ProviderGone, path->symbol};
        auto const& commits = record.commits();
        bool const isKept = !commits.empty() && record.isUpToDate() && record.isWholeFrom(commits.back().commit.number);
        auto const turn = !isKept
                              ? std::nullopt
                              : record.findTurn(state.program, commits.size() - 1, state.contexts,
                                                [this](PropertyValue const& value) { return value == *state.value; });
        if (!turn)
            return {record.droppedCount() == 0 && !record.wasAcquiredBefore(state.program.text())
                        ? Standstill::RolledBack
                        : Standstill::NotKept};
        Kept const& kept = *turn->commit;
        std::uint64_t const number = kept.commit.number;
        for (PropertyChange const& change : kept.commit.changes)
            for (Path const& path : state.paths)
                if (std::optional<Standstill> const row = unnoticed(change, path))
                    return {*row, path.symbol, number};
        std::vector<std::uint64_t> const running = record.running();
        std::string symbol = symbolIn(kept).value_or("");
        if (std::count(running.begin(), running.end(), number) != 0)
            return {Standstill::InRound, std::move(symbol), number};
        if (auto const* const refused = refusedAfter(&kept))
            return {Standstill::Endless, std::move(symbol), refused->commit.number};
        return {Standstill::Interrupted, std::move(symbol), number};
    }

    /// Returns the newest commit in whose delivery writes were refused, if it is nested in the same outermost commit as
    /// `first`; else null.
    Kept const* refusedAfter(Kept const* first) const
    {
        auto const& commits = record.commits();
        auto const found = std::find_if(commits.rbegin(), commits.rend(), [&](Kept const& kept) {
            return first && kept.isDeepest && !kept.commit.calls.empty() && kept.origin == first->origin;
        });
        return found == commits.rend() ? nullptr : &*found;
    }

    /// Returns the symbol of the text that a change touched; none if it touched none.
    std::optional<std::string> symbolAt(PropertyChange const& change) const
    {
        Path const* const path =
            state.findPath([&](Path const& one) { return state.isBound(one, change.context, change.name); });
        return path ? std::optional{path->symbol} : std::nullopt;
    }
    std::optional<std::string> symbolIn(Kept const& kept) const
    {
        for (PropertyChange const& change : kept.commit.changes)
            if (std::optional<std::string> symbol = symbolAt(change))
                return symbol;
        return std::nullopt;
    }

    Record const& record;
    State const state;
};

}   // namespace

WhyNot Watcher::whyNot(std::string const& text) const
{
    WhyNot found = Finder<Record>{*record, text}.find();
    if (found.row != Standstill::NotAcquired)
        found.since = why(text).commit;
    return found;
}

std::vector<WhyNot> whyNot(ExpressionEngine const& engine, std::string const& text)
{
    State const state{&engine, text};
    if (!state.value)
        return {{Standstill::NotAcquired}};
    std::vector<WhyNot> rows;
    auto const addIf = [&](Standstill row, auto const& test) {
        for (Path const& path : state.paths)
            if (test(path))
                rows.push_back({row, path.symbol});
    };
    addIf(Standstill::Unbound, [&](Path const& path) { return !state.isBound(path); });
    if (Path const* const path = state.withoutProvider())
        rows.push_back({Standstill::ProviderGone, path->symbol});
    if (state.isCurrent) {
        rows.push_back({Standstill::Untouched});
        if (!state.paths.empty()) {
            rows.push_back({Standstill::SameResult});
            addIf(Standstill::NotANumber, [](Path const& path) { return isNaN(path.walk.value); });
            rows.push_back({Standstill::Endless});
        }
        return rows;
    }
    addIf(Standstill::Hidden, [](Path const& path) { return path.symbol.find('.') != std::string::npos; });
    auto const isMissing = [](Path const& path) { return path.walk.reason == Reason::Missing; };
    addIf(Standstill::Renamed, isMissing);
    addIf(Standstill::Moved, isMissing);
    if (data::ContextProvider::sharedModel()->isInTransaction())
        rows.push_back({Standstill::Untouched});
    for (Standstill const row :
         {Standstill::InRound, Standstill::Interrupted, Standstill::Endless, Standstill::RolledBack})
        rows.push_back({row});
    return rows;
}

}   // namespace studio::inspect

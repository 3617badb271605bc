#include "studio/inspect/Watcher.h"

#include "studio/host/PathEnd.h"
#include "studio/inspect/detail/PastContexts.h"
#include "studio/inspect/detail/Values.h"
#include "studio/inspect/detail/WatcherRecord.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace studio::inspect {

using data::PropertyValue;
using detail::ChangedContexts;

namespace {

/// Finds why the value of a text changed, from the kept commits and the present contexts.
template <class Record>
class Explainer {
public:
    Explainer(Record const& commits, std::string const& text)
        : record{commits}, program{text}, symbols{program.symbols()}
    {}

    Why explain() const
    {
        Why why;
        auto const last = record.lastEvaluation(program.text(), true);
        if (!last.event)
            return why;
        why.commit = why.evaluated = last.commit->commit.number;
        why.before = last.evaluation().before;
        why.after = last.evaluation().after;
        std::optional<Turn> const turn = isPresent(why.after) ? findTurn(last.event->newest, why.after) : std::nullopt;
        why.isComplete = turn.has_value();
        if (turn) {
            why.commit = turn->commit->commit.number;
            name(*turn, why);
        }
        for (auto const* link = record.find(why.commit); link; link = record.find(link->commit.cause)) {
            why.chain.push_back({link->commit.number, link->commit.callback});
            if (link->commit.callback.empty())
                break;
        }
        return why;
    }

private:
    using Turn = typename Record::Turn;

    /// True if `value` is the present value of the expression. If not, the commit that changed it is not kept.
    bool isPresent(PropertyValue const& value) const
    {
        if (!record.liveEngine())
            return true;
        auto const entries = record.liveEngine()->listExpressions();
        auto const entry = std::find_if(entries.begin(), entries.end(),
                                        [this](auto const& one) { return one.text == program.text(); });
        return entry == entries.end() || entry->value == value;
    }

    PropertyValue valueIn(ChangedContexts const& contexts, detail::Reads* reads = nullptr) const
    {
        return detail::evaluate(program, record.rootId(), contexts, reads);
    }

    /// Finds the last commit, up to `newest`, that changed the value to `after`; none if the record does not contain
    /// it.
    std::optional<Turn> findTurn(std::uint64_t newest, PropertyValue const& after) const
    {
        if (!record.isUpToDate() || !record.isWholeFrom(newest))
            return std::nullopt;
        std::size_t const index = record.commits().size() - 1 - (record.commits().back().commit.number - newest);
        ChangedContexts contexts{present};
        record.goBack(index, contexts);
        if (!(valueIn(contexts) == after))
            return std::nullopt;   // contexts have changed without a commit
        return record.findTurn(program, index, std::move(contexts),
                               [&](PropertyValue const& value) { return !(value == after); });
    }

    /// Adds the changes that explain the change of the value.
    void name(Turn const& turn, Why& why) const
    {
        Commit const& commit = turn.commit->commit;
        detail::Reads reads;
        PropertyValue const after = valueIn(turn.after, &reads);
        for (PropertyChange const& change : commit.changes) {
            if (!reads.contain(change))
                continue;
            ChangedContexts without{turn.after};
            detail::undo(change, turn.before, without);
            if (!(valueIn(without) == after))
                add(change, {&turn.after, &turn.before, &without}, why);
        }
        if (!why.changes.empty())
            return;
        why.isTogether = true;
        valueIn(turn.before, &reads);
        for (PropertyChange const& change : commit.changes)
            if (reads.contain(change))
                add(change, {&turn.after, &turn.before}, why);
    }

    void add(PropertyChange const& change, std::initializer_list<ChangedContexts const*> states, Why& why) const
    {
        std::string path = change.name;
        for (ChangedContexts const* const state : states)
            if (std::optional<std::string> const found = pathOf(change, *state)) {
                path = *found;
                break;
            }
        why.changes.push_back(change);
        why.paths.push_back(std::move(path));
    }

    std::optional<std::string> pathOf(PropertyChange const& change, ChangedContexts const& contexts) const
    {
        for (std::string const& symbol : symbols)
            for (host::Walk::Step const& step : host::walkAlong(contexts, record.rootId(), symbol).steps) {
                std::string_view const name = std::string_view{symbol}.substr(step.offset, step.size);
                if ((step.context == change.context && name == change.name) ||
                    (step.context == change.contextBefore && name == change.nameBefore))
                    return symbol.substr(0, step.offset + step.size);
            }
        return std::nullopt;
    }

    Record const& record;
    gel::Program const program;
    std::set<std::string> const symbols;
    host::ContextReader const present;
};

}   // namespace

Watcher::Watcher(data::ExpressionEngine& engine) : Watcher{engine, Limits{}} {}

Watcher::Watcher(data::ExpressionEngine& engine, Limits limits) : record{std::make_unique<Record>(engine, limits)} {}

Watcher::~Watcher() = default;

std::vector<Commit> Watcher::commits() const
{
    std::vector<Commit> copies;
    copies.reserve(record->commits().size());
    for (Record::Kept const& kept : record->commits())
        copies.push_back(kept.commit);
    return copies;
}

std::uint64_t Watcher::dropped() const noexcept
{
    return record->droppedCount();
}

std::size_t Watcher::bytes() const noexcept
{
    return record->byteCount();
}

Why Watcher::why(std::string const& text) const
{
    return Explainer<Record>{*record, text}.explain();
}

}   // namespace studio::inspect

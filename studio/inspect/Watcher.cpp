#include "studio/inspect/Watcher.h"

#include "studio/inspect/detail/PastContexts.h"
#include "studio/inspect/detail/Restorations.h"
#include "studio/inspect/detail/WatcherRecord.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace studio::inspect {

using data::PropertyValue;
using detail::ChangedContexts;
using detail::Restorations;

namespace {

/// Finds why the value of a text changed, from the kept commits and the present contexts.
template <class Record>
class Explainer {
public:
    Explainer(Record const& commits, std::string const& text) : record{commits}, program{text} {}

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

    /// Finds the last commit, up to `newest`, that changed the value to `after`; none if the record does not contain
    /// it.
    std::optional<Turn> findTurn(std::uint64_t newest, PropertyValue const& after) const
    {
        if (!record.isUpToDate() || !record.isWholeFrom(newest))
            return std::nullopt;
        auto const younger = static_cast<std::size_t>(record.commits().back().commit.number - newest);
        std::size_t const index = record.commits().size() - 1 - younger;
        ChangedContexts contexts{present};
        record.goBack(index, contexts);
        if (!(detail::evaluate(program, record.rootId(), contexts) == after))
            return std::nullopt;   // contexts have changed without a commit
        return record.findTurn(program, index, present, [&](PropertyValue const& value) { return !(value == after); });
    }

    /// Adds the changes that explain the change of the value.
    void name(Turn const& turn, Why& why) const
    {
        Commit const& commit = turn.commit->commit;
        Restorations state{program, record.rootId(), commit, turn.before, turn.after};
        auto const add = [&](std::size_t index) {
            why.changes.push_back(commit.changes[index]);
            why.paths.push_back(state.pathOf(index));
        };
        PropertyValue const after = state.value();
        for (std::size_t const index : state.concerned()) {
            state.undo(index);
            if (!(state.value() == after))
                add(index);
            state.redo(index);
        }
        if (!why.changes.empty())
            return;
        why.isTogether = true;
        for (std::size_t const index : smallestSet(state, after))
            add(index);
    }

    /// Undoes a set of changes without which the value is not `after`, and returns it. None of it can be left out.
    static std::vector<std::size_t> smallestSet(Restorations& state, PropertyValue const& after)
    {
        std::vector<std::size_t> undone;
        for (bool isOther = false; !isOther;) {   // what is undone may make the text read other properties
            std::vector<std::size_t> const concerned = state.concerned();
            if (concerned.size() == undone.size())
                return undone;
            for (std::size_t const index : concerned)
                if (!std::binary_search(undone.begin(), undone.end(), index))
                    state.undo(index);
            undone = concerned;
            isOther = !(state.value() == after);
        }
        // Once more whenever one was left out: the others may have been needed because of it.
        std::size_t trials = 0;
        for (bool isSmaller = true; isSmaller && trials < MOST_TRIALS;) {
            isSmaller = false;
            for (std::size_t i = undone.size(); i-- != 0 && trials != MOST_TRIALS; ++trials) {
                state.redo(undone[i]);
                if (state.value() == after) {
                    state.undo(undone[i]);
                } else {
                    undone.erase(undone.begin() + static_cast<std::ptrdiff_t>(i));
                    isSmaller = true;
                }
            }
        }
        return undone;
    }

    static constexpr std::size_t MOST_TRIALS = 20'000;

    Record const& record;
    gel::Program const program;
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

#pragma once

#include "studio/data/EngineObserver.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/model/ContextData.h"
#include "studio/data/model/Property.h"
#include "studio/inspect/Watcher.h"
#include "studio/inspect/detail/PastContexts.h"
#include "tarn/zero/ChangeReport.h"
#include "tarn/zero/Listener.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace studio::inspect {

/// The commits that a watcher keeps. Recording neither writes nor calls out, so the watcher may be destroyed between
/// any two of its calls.
///
/// As an observer it is notified of the rounds of the engine, as a listener also of commits that begin no round. Either
/// may come first for a report.
class STUDIO_DATA_LOCAL Watcher::Record final : public tarn::zero::Listener, public data::EngineObserver {
public:
    /// An evaluation or a call of a commit, for the trace.
    struct Event {
        /// An index into `Commit::evaluations`, or into `Commit::calls` if `isCall`.
        std::size_t index;
        bool isCall;
        std::int64_t at;
        std::uint64_t newest;   // number of the last commit that an evaluation could read
    };
    /// What a report has about a change that `PropertyChange` lacks.
    struct Source {
        boost::uuids::uuid element;
        bool changesName;
        bool changesContext;
        bool changesValue;
    };
    /// A commit, with data that `Commit` does not publish.
    struct Kept {
        Commit commit;
        std::vector<Source> sources;   // by index of `commit.changes`
        std::vector<Event> events;
        std::size_t bytes = 0;
        std::size_t depth = 1;      // number of commits nested in each other's delivery, this one included
        std::uint64_t origin = 0;   // number of the outermost of them
        bool isDeepest = false;     // at the nesting limit: a write in its delivery is refused
        bool isLate = false;        // a later commit had been made when it was recorded
    };

    /// A commit that changed the value of a text, with the contexts before and after it.
    struct Turn {
        Kept const* commit;
        detail::ChangedContexts before;
        detail::ChangedContexts after;
    };

    Record(data::ExpressionEngine& watched, Limits kept);
    ~Record() override;

    data::ExpressionEngine const* liveEngine() const noexcept { return engine; }
    boost::uuids::uuid const& rootId() const noexcept { return root; }
    std::deque<Kept> const& commits() const noexcept { return kept; }
    Kept const* find(std::uint64_t number) const noexcept;
    /// An evaluation and its commit; null if there is none.
    struct Found {
        Kept const* commit = nullptr;
        Event const* event = nullptr;

        Evaluation const& evaluation() const { return commit->commit.evaluations[event->index]; }
    };
    /// Finds the last evaluation of a text; with `changing`, the last that changed its value.
    Found lastEvaluation(std::string const& text, bool changing) const noexcept;
    /// True if every commit from that one on is kept.
    bool isWholeFrom(std::uint64_t number) const noexcept;
    /// True if the present contexts are those after the newest commit that was received. False in a transaction, and
    /// before the report of a later commit has arrived.
    bool isUpToDate() const;
    /// Undoes all commits after that at `index` in `contexts`, which are the present ones.
    void goBack(std::size_t index, detail::ChangedContexts& contexts) const;
    /// Finds the newest commit, at `index` or before, such that `isOther` holds for the value of the text before it.
    /// None if the commits that are kept do not show it. *Lifetime*: the result refers to `present`.
    std::optional<Turn> findTurn(gel::Program const& program, std::size_t index, host::ContextReader const& present,
                                 std::function<bool(data::PropertyValue const&)> const& isOther) const;
    /// The numbers of the commits whose rounds are running, outermost first.
    std::vector<std::uint64_t> running() const;
    std::uint64_t droppedCount() const noexcept { return dropped; }
    /// True if the engine had the text when the watcher was made: what happened to it before is not known.
    bool wasAcquiredBefore(std::string const& text) const
    {
        return std::binary_search(acquired.begin(), acquired.end(), std::hash<std::string>{}(text));
    }
    std::size_t byteCount() const noexcept { return bytes; }

    void transactionCommitted(tarn::zero::DeepChangeReport<data::Property> const& report) noexcept;
    void transactionCommitted(tarn::zero::ShallowChangeReport<data::ContextData> const& report) noexcept;

    void roundBegins(tarn::zero::ReportData const* report) noexcept override;
    void expressionEvaluated(std::string const& text, data::PropertyValue const& before,
                             data::PropertyValue const& after) noexcept override;
    void handleNotified(std::string const& text, data::PropertyValue const& value) noexcept override;
    void roundEnds(tarn::zero::ReportData const* report) noexcept override;
    void engineEnds() noexcept override;

private:
    struct Round {
        std::uint64_t number;   // of the commit; for an update, of the newest commit when it began
        bool isUpdate;
        std::string called = {};   // the text of the handle called last
    };

    void receive(tarn::zero::ReportData const& report) noexcept;
    Kept made(tarn::zero::ReportData const& report) const;
    static void joinReplaced(Kept& made);
    void correctLate(Kept const& later);
    std::string callbackUnder(std::uint64_t cause) const;
    std::deque<Kept>::iterator placeOf(std::uint64_t number) noexcept;
    Kept* findMutable(std::uint64_t number) noexcept;
    Kept* commitOf(Round const& round) noexcept;
    template <class Add>
    void add(Add const& addTo) noexcept;
    void grow(Kept& commit, std::size_t by) noexcept;
    void lose(std::uint64_t number) noexcept;
    void trim() noexcept;
    std::int64_t now() const
    {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start).count();
    }

    data::ExpressionEngine* engine;   // null after its destruction
    boost::uuids::uuid root{};
    Limits const limits;
    std::vector<std::size_t> acquired;   // hashes of the texts that the engine had at first, ascending
    std::chrono::steady_clock::time_point const start = std::chrono::steady_clock::now();
    std::deque<Kept> kept;   // in ascending order of numbers
    std::vector<Round> rounds;
    std::size_t unseen = 0;   // running rounds that are not in `rounds`: one that could not be recorded, and inner ones
    std::uint64_t newest = 0;   // number of the last report
    std::uint64_t dropped = 0;
    std::size_t bytes = 0;
};

}   // namespace studio::inspect

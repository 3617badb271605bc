#pragma once

#include "studio/data/ExpressionEngine.h"
#include "studio/inspect/Export.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace studio::inspect {

/// A change of one property in a commit.
struct PropertyChange {
    /// What happened to the property.
    enum class Kind : std::uint8_t {
        Created,
        Changed,   ///< another value, name or context
        Destroyed
    };

    /// What happened.
    Kind kind;
    /// The context that has the property, or had it if it was destroyed; nil for none.
    boost::uuids::uuid context;
    /// The name of the property.
    std::string name;
    /// The context before the commit; differs from `context` if the property was moved.
    boost::uuids::uuid contextBefore;
    /// The name before the commit; differs from `name` if the property was renamed.
    std::string nameBefore;
    /// The value before the commit; empty for a created property.
    std::optional<data::PropertyValue> before;
    /// The value after the commit; empty for a destroyed property.
    std::optional<data::PropertyValue> after;
};

/// An evaluation, or a call of a handle, that followed from a commit.
struct Evaluation {
    /// The text.
    std::string text;
    /// The value before.
    data::PropertyValue before;
    /// The value after.
    data::PropertyValue after;
    /// The time of the evaluation, in nanoseconds since the watcher was made.
    std::int64_t at;
};

/// A commit that a watcher has kept.
struct Commit {
    /// The number of its report, `ReportData::number()`.
    std::uint64_t number;
    /// The number of the commit in whose delivery this one was made; 0 for none.
    std::uint64_t cause;
    /// The text whose callback made it; empty if no callback of the engine was running.
    std::string callback;
    /// The changes of properties, in the order in which the transaction first touched each.
    std::vector<PropertyChange> changes;
    /// The contexts that the commit created.
    std::vector<boost::uuids::uuid> created;
    /// The contexts that the commit destroyed.
    std::vector<boost::uuids::uuid> destroyed;
    /// The evaluations that followed from it, in their order. Evaluations by `ExpressionEngine::updateExpression` are
    /// entered in the commit that is the newest at that time.
    std::vector<Evaluation> evaluations;
    /// The texts of the handles that were called, in order.
    std::vector<std::string> calls;
    /// When the watcher received it, in nanoseconds since the watcher was made.
    std::int64_t began;
    /// When the engine had finished its round, in nanoseconds since the watcher was made; equals `began` until then.
    std::int64_t ended;
};

/// Why the value of an expression last changed.
struct Why {
    /// A commit, and the callback that made it.
    struct Link {
        /// The number of the commit.
        std::uint64_t commit;
        /// The text whose callback made it; empty if no callback of the engine did.
        std::string callback;
    };

    /// The number of the commit that changed the value; 0 if none that is kept did.
    std::uint64_t commit = 0;
    /// The number of the commit in whose round the expression was evaluated. It differs from `commit` if a callback
    /// made another commit before the expression was evaluated, and if `commit` caused no evaluation, as a rename does.
    std::uint64_t evaluated = 0;
    /// The value before that evaluation.
    data::PropertyValue before;
    /// The value after that evaluation.
    data::PropertyValue after;
    /// The changes that caused it: each one without which the text would have another value than `after`. If there is
    /// none, the changes of a set without which it would, and `isTogether` is true; none of these can be left out of
    /// the set. Undoing the destruction of a property also restores its context.
    std::vector<PropertyChange> changes;
    /// The path of each of `changes`, as the text reaches it.
    std::vector<std::string> paths;
    /// True if only several changes together explain the change of the value.
    bool isTogether = false;
    /// False if the changes are not known, because a commit that they depend on is not kept or a transaction is open.
    /// Then `changes` is empty and `commit` equals `evaluated`, and a commit that is not kept may have changed the
    /// value since.
    bool isComplete = true;
    /// The chain of causes: this commit, the commit in whose delivery a callback made it, and so on. Ends with a commit
    /// that no callback made, or before one that is no longer kept.
    std::vector<Link> chain;
};

/// The case that explains why the value of an expression has not changed. All but `NotAcquired`, `Untouched` and
/// `NotKept` are rows of the guide *When an expression does not update*.
enum class Standstill : std::uint8_t {
    NotAcquired,    ///< no handle of the engine has the text
    Untouched,      ///< nothing has touched the paths of its symbols
    SameResult,     ///< the last commit that touched it left the value equal
    Hidden,         ///< a property with dots in its name hides, or hid, the path that the symbol is bound along
    Renamed,        ///< a property that the text reads was renamed
    Moved,          ///< a property that the text reads was moved to another context
    Unbound,        ///< the release of another text unbound a symbol that both name
    InRound,        ///< a round is running, and the expression is still to be evaluated in it
    Interrupted,    ///< an exception of a callback ended the round before the expression was evaluated
    Endless,        ///< callbacks wrote in response to each other without end, and a write was refused
    RolledBack,     ///< the value was read in a transaction that was rolled back
    NotANumber,     ///< NaN was written over NaN
    ProviderGone,   ///< the provider of a context was released in a transaction that was rolled back
    NotKept         ///< the value is not that of the present contexts, and the commit that shows why is not kept
};

/// Why the value of an expression has not changed: a case, and the symbol and commit that show it.
struct WhyNot {
    /// The case that applies.
    Standstill row;
    /// The symbol that the case concerns; empty if it concerns the whole text.
    std::string symbol{};
    /// The number of the commit that shows the case; 0 if none does.
    std::uint64_t commit = 0;
    /// The number of the commit that last changed the value, `Why::commit`; 0 if none that is kept did, and for
    /// `NotAcquired`.
    std::uint64_t since = 0;
};

/// Keeps the last commits of the shared model and what an engine did for each, and finds in them why the value of an
/// expression has or has not changed. For tools: while a watcher exists, every commit is reported and copied.
///
/// A watcher acquires no expression and writes nothing.
class STUDIO_INSPECT_EXPORT Watcher {
public:
    /// How much is kept. The oldest commits are dropped first; the newest is always kept.
    struct Limits {
        /// The number of commits.
        std::size_t commits = 1'000;
        /// The approximate number of bytes of all commits that are kept.
        std::size_t bytes = 4 << 20;
    };

    /// Watches an engine from now on, with the default limits. The engine may be destroyed first: the watcher then uses
    /// what it has recorded.
    explicit Watcher(data::ExpressionEngine& engine);
    /// Watches an engine from now on. The engine may be destroyed first: the watcher then uses what it has recorded.
    Watcher(data::ExpressionEngine& engine, Limits limits);
    ~Watcher();
    Watcher(Watcher const&) = delete;
    Watcher& operator=(Watcher const&) = delete;

    /// Returns copies of the commits that are kept, oldest first.
    std::vector<Commit> commits() const;
    /// Returns the number of commits that were dropped to stay within the limits, or because memory ran out.
    std::uint64_t dropped() const noexcept;
    /// Returns the approximate number of bytes of the commits that are kept.
    std::size_t bytes() const noexcept;

    /// Returns why the value of an acquired text last changed. *Throws* `gel::ParseError` for a text that does not
    /// parse, and what `host::ContextReader` throws. *Cost*: an evaluation for each changed property that the text
    /// reads, as a rule one more if they explain the change only together, and a pass over the later commits. After
    /// 20,000 evaluations of sets, the set that was found may still contain changes that can be left out.
    Why why(std::string const& text) const;
    /// Returns why the value of an acquired text has not changed since its last change. *Throws* and costs as
    /// `why`.
    WhyNot whyNot(std::string const& text) const;

    /// Returns the rounds as a trace in the JSON format that trace viewers of browsers read: evaluations, callbacks and
    /// nested commits on a time axis, in microseconds.
    std::string chromeTrace() const;

private:
    class STUDIO_DATA_LOCAL Record;
    std::unique_ptr<Record> record;
};

/// Returns all cases that may explain why the value of a text of `engine` has not changed, as far as the present state
/// shows them. Needs no watcher. *Throws* as `Watcher::why`.
STUDIO_INSPECT_EXPORT std::vector<WhyNot> whyNot(data::ExpressionEngine const& engine, std::string const& text);

/// Returns lines of text for a programmer: the old and the new value, the changes with their paths, and the chain of
/// causes.
STUDIO_INSPECT_EXPORT std::string describe(Why const& why, std::string const& text);
/// Returns a sentence for a programmer: that the value has not changed, why, and what to do.
STUDIO_INSPECT_EXPORT std::string describe(WhyNot const& whyNot, std::string const& text);
/// Returns why the value of `text` changed as a JSON object; docs/explanations.md describes its members.
STUDIO_INSPECT_EXPORT std::string json(Why const& why, std::string const& text);
/// Returns why the value of `text` has not changed as a JSON object; docs/explanations.md describes its members.
STUDIO_INSPECT_EXPORT std::string json(WhyNot const& whyNot, std::string const& text);

}   // namespace studio::inspect

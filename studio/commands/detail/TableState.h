#pragma once

#include "studio/commands/CommandTable.h"
#include "studio/commands/detail/Conditions.h"
#include "studio/commands/detail/Definitions.h"
#include "studio/commands/detail/SlotReaders.h"
#include "studio/data/EngineObserver.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace studio::commands::detail {

/// What is delivered together with the changes of a table: the lists of `Menus`.
class Follower {
public:
    Follower() = default;
    Follower(Follower const&) = delete;
    Follower& operator=(Follower const&) = delete;
    virtual ~Follower() = default;

    /// Notes what has changed, for `prepare`.
    virtual void note(std::span<Conditions::Slot const> settled) noexcept = 0;
    /// True if there is something to prepare.
    virtual bool isTouched() const noexcept = 0;
    /// Computes the new state, beside the one that is visible. *Throws* `std::bad_alloc`; what was noted is kept then.
    virtual void prepare(std::span<CommandChange const> changes) = 0;
    /// Makes the new state visible.
    virtual void apply() noexcept = 0;
    /// Calls the receiver with the difference.
    virtual void report() = 0;
    /// Forgets everything, at the end of the table.
    virtual void end() noexcept = 0;
};

/// What a command table consists of. Counted: the table, menus, key maps and contributions keep it.
///
/// Everything that is visible changes in `deliver` alone, when the engine's outermost round has ended: so commands,
/// menus and keys are always those of one moment. What is added is visible with the next delivery.
class TableState final : public data::EngineObserver, public std::enable_shared_from_this<TableState> {
public:
    using Slot = Conditions::Slot;
    struct Row;

    explicit TableState(data::ExpressionEngine& engine);
    ~TableState() override;

    /// Ends all subscriptions and removes everything.
    void end() noexcept;
    /// False after `end`.
    bool isAlive() const noexcept { return !isEnded; }

    /// *Throws* `std::logic_error` after the end of the table or its engine.
    void requireEngine() const;
    /// Defines a name, or adds a user of its definition. *Throws* as `CommandTable::define`.
    void define(std::string const& name, std::string const& condition);
    /// Adds a command. It becomes visible with the next delivery. *Throws* as `Contribution`; nothing is added then.
    Row& add(Command command);
    /// Removes commands that were added. They stay visible until the next delivery.
    void remove(std::span<Row* const> going) noexcept;
    /// Returns the state of a command as it was delivered last; null for an unknown one. Allocates nothing.
    CommandState const* find(std::string_view id) const noexcept;
    /// Returns the state that a command is about to have, while a delivery is prepared.
    CommandState const* findNext(std::string_view id) const noexcept;
    /// Returns a command that is there, visible or not yet; null for an unknown one.
    Command const* describe(std::string_view id) const noexcept;
    std::vector<std::string> list() const;
    /// Returns why a command is disabled.
    std::vector<std::string> whyDisabled(std::string_view id) const;
    /// Returns the sentences of the host for a condition.
    std::vector<std::string> whyNot(Slot slot) const;

    /// Returns the slot of a condition, with all definitions in place, with one more user. *Throws* as
    /// `Conditions::add` and `Definitions::expanded`, with `where` in front of the reason.
    Slot addCondition(std::string const& text, std::string const& where = {});
    /// Returns the slot of an expression whose value is shown. *Throws* as `addCondition`.
    Slot addShown(std::string const& text, std::string const& where = {});

    void follow(std::shared_ptr<Follower> follower);
    void unfollow(Follower const& follower) noexcept;

    /// Makes visible what has changed, and reports it, until nothing is left: unless a round or another delivery is
    /// running, which does that when it ends. *Throws* the first exception of a receiver, without an error handler, and
    /// `std::bad_alloc`; what was not delivered then is delivered with the next change.
    void deliver();
    /// Delivers at the end of an object, which throws nothing. Without an error handler, exceptions of receivers are
    /// lost.
    void deliverAtEnd() noexcept;
    /// Calls `receiver`. An exception goes to the error handler, or is kept for the end of the delivery.
    template <class Receiver>
    void call(char const* what, Receiver const& receiver)
    {
        try {
            receiver();
        } catch (...) {
            failed(what);
        }
    }

    // EngineObserver
    void roundBegins(tarn::zero::ReportData const*) noexcept override;
    void roundEnds(tarn::zero::ReportData const*) noexcept override;
    void roundsEnded() override;
    void engineEnds() noexcept override;

    Conditions conditions;
    Definitions definitions;
    std::shared_ptr<CommandTable::Changed const> changed;
    std::shared_ptr<host::ErrorHandler const> onError;
    std::shared_ptr<CommandTable::Reasons const> reasons;

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>{}(text); }
    };

    template <class Add>
    Slot addSlot(std::string const& text, std::string const& where, Add const& add);
    Row* rowOf(std::string_view id) const noexcept;
    void failed(char const* what) noexcept;
    [[noreturn]] void refuseMore() const;
    void touch(Row& row) noexcept;
    std::optional<CommandState> stateOf(Row const& row) const;
    bool hasWork() const noexcept;
    void deliverOnce();
    void buildChanges();
    void applyChanges() noexcept;

    data::ExpressionEngine* engine;   // null after its end
    std::unordered_map<std::string, std::unique_ptr<Row>, Hash, std::equal_to<>> rows;
    SlotReaders<Row> readers;
    std::vector<Row*> touched;            // has room for every row
    std::vector<CommandChange> changes;   // of the delivery that is running
    std::vector<std::shared_ptr<Follower>> followers;
    std::exception_ptr firstFailure;
    std::exception_ptr atBegin;   // being handled when the outermost round began
    std::size_t lastNumber = 0;
    std::size_t rounds = 0;   // running, one inside the other
    bool hasThrown = false;   // a round of those
    bool isDelivering = false;
    bool isEnded = false;
};

}   // namespace studio::commands::detail

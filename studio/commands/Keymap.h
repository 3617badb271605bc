#pragma once

#include "studio/commands/Chord.h"
#include "studio/commands/CommandTable.h"
#include "studio/commands/Export.h"
#include "studio/commands/KeyRule.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace studio::commands {

namespace detail {
class RuleRegistry;
}

/// What pressed keys lead to.
struct KeyMatch {
    /// What is to be done.
    enum class Kind : std::uint8_t {
        None,       ///< no rule applies: the keys are the host's
        Pending,    ///< a longer sequence may follow
        Command,    ///< a command is to run
        Swallowed   ///< the rule that decides is of a disabled command, and the policy is to do nothing then
    };

    /// What is to be done.
    Kind kind = Kind::None;
    /// The number of the rule that decides; meaningless for `None`.
    std::size_t rule = 0;
    /// The command; empty unless one is to run. *Lifetime*: until rules are added or removed; copy it, and the
    /// arguments, for a command that may end its own contribution.
    std::string_view command;
    /// The arguments of the rule. *Lifetime*: as of `command`.
    std::string_view arguments;
};

/// Why a rule that fits a sequence runs or does not.
struct KeyVerdict {
    /// The reason.
    enum class Reason : std::uint8_t {
        Wins,              ///< the command of the rule runs
        Pending,           ///< the rule decides, and has more chords
        ConditionFalse,    ///< the condition of the rule does not hold
        CommandDisabled,   ///< the keys do nothing, or the next weaker rule is looked at
        Weaker,            ///< the rule would decide, but for a stronger one
        Removed            ///< a removal has taken it away
    };

    /// The number of the rule.
    std::size_t rule = 0;
    /// The reason.
    Reason reason = Reason::Wins;
    /// The number of the rule that decides for `Weaker`, of the removal for `Removed`, and of the rule itself
    /// otherwise.
    std::size_t by = 0;
    /// True if the rule has more chords than the sequence.
    bool isLonger = false;
    /// The sentences of `CommandTable::explainWith` for a condition or command that is false.
    std::vector<std::string> sentences;
};

/// Returns a verdict as a line for a log or a person: `rule 12 is weaker than rule 14`.
STUDIO_COMMANDS_EXPORT std::string describe(KeyVerdict const& verdict);

/// Which command a sequence of keys runs at present. Among the rules whose keys are the sequence, or begin with it, the
/// strongest decides whose condition holds: its command runs, or the sequence is pending if the rule has more chords.
///
/// All conditions are subscribed, so a key press evaluates nothing and allocates nothing. Conditions and commands are
/// as the table reported them last, and what was added since does not count yet. Rules are added by a `Contribution`,
/// and are removed when it ends; a removal takes away what it takes away for as long as its own contribution lasts.
/// Without its table a key map is empty. Used on one thread, that of the engine.
class STUDIO_COMMANDS_EXPORT Keymap {
public:
    /// What becomes of a sequence whose strongest rule runs a disabled command.
    enum class Disabled : std::uint8_t {
        PassedOver,   ///< rules of disabled commands do not count, longer ones neither
        Swallowed     ///< the keys do nothing
    };

    /// A key map for the commands of `table`. An unknown command counts as enabled.
    explicit Keymap(CommandTable& table, Disabled policy = Disabled::PassedOver);
    ~Keymap();
    Keymap(Keymap const&) = delete;
    Keymap& operator=(Keymap const&) = delete;

    /// Adds a chord to those that were pressed, and returns what they lead to. Unless that is `Pending`, the next press
    /// begins a new sequence. *Cost*: a look-up per chord, and a test for each rule that fits and is stronger than the
    /// one that decides.
    KeyMatch press(Chord chord) noexcept;
    /// Returns the chords that are pending.
    std::span<Chord const> pending() const noexcept;
    /// Forgets the pending chords, as after a time-out of the host's.
    void reset() noexcept;
    /// Returns what a whole sequence leads to, whatever was pressed before.
    KeyMatch match(std::span<Chord const> keys) const noexcept;

    /// Returns the verdict on each rule that fits a sequence, strongest first. One at most wins or is pending; it is
    /// the one of `match`. *Throws* what the function of `CommandTable::explainWith` throws.
    std::vector<KeyVerdict> verdicts(std::span<Chord const> keys) const;
    /// Returns a rule or removal by its number; null for one that has ended with its contribution. *Lifetime*: until
    /// then.
    KeyRule const* rule(std::size_t number) const noexcept;
    /// Returns the numbers of the rules that run a command, strongest first, without those that a removal has taken
    /// away: for the keys in menus.
    std::vector<std::size_t> rulesOf(std::string_view command) const;

private:
    friend class Contribution;
    class State;

    STUDIO_DATA_LOCAL std::shared_ptr<detail::RuleRegistry> registry() const noexcept;

    std::shared_ptr<State> state;
};

}   // namespace studio::commands

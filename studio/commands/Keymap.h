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
        Swallowed   ///< the strongest rule is of a disabled command, and the policy is to do nothing then
    };

    /// What is to be done.
    Kind kind = Kind::None;
    /// The number of the rule that decides; meaningless for `None`.
    std::size_t rule = 0;
    /// The command; empty unless one is to run. *Lifetime*: until rules are added or removed.
    std::string_view command;
    /// The arguments of the rule. *Lifetime*: as of `command`.
    std::string_view arguments;
};

/// Why a rule that fits a sequence runs or does not.
struct KeyVerdict {
    /// The reason.
    enum class Reason : std::uint8_t {
        Wins,
        ConditionFalse,
        CommandDisabled,   ///< and the policy passes over it
        Weaker,            ///< a stronger rule decides
        Removed            ///< a removal has taken it away
    };

    /// The number of the rule.
    std::size_t rule;
    /// The reason.
    Reason reason;
    /// The number of the stronger rule, or of the removal; the rule's own otherwise.
    std::size_t by;
    /// True if the rule has more chords than the sequence: if it wins, the sequence is pending.
    bool isLonger;
    /// The sentences of `CommandTable::explainWith` for a condition or command that is false.
    std::vector<std::string> sentences;
};

/// Which command a sequence of keys runs at present. All conditions are subscribed: a key press evaluates nothing and
/// allocates nothing.
class STUDIO_COMMANDS_EXPORT Keymap {
public:
    /// What becomes of a rule whose command is disabled or unknown.
    enum class Disabled : std::uint8_t {
        PassedOver,   ///< the next weaker rule is looked at
        Swallowed     ///< the keys do nothing
    };

    /// A key map for the commands of `table`. An unknown command counts as enabled.
    explicit Keymap(CommandTable& table, Disabled policy = Disabled::PassedOver);
    ~Keymap();
    Keymap(Keymap const&) = delete;
    Keymap& operator=(Keymap const&) = delete;

    /// Adds a chord to those that were pressed, and returns what they lead to. Unless that is `Pending`, the next press
    /// begins a new sequence. *Cost*: a look-up per chord and the rules that fit.
    KeyMatch press(Chord chord) noexcept;
    /// Forgets pending chords, as after a time-out of the host's.
    void reset() noexcept;
    /// Returns what a whole sequence leads to, whatever was pressed before.
    KeyMatch match(std::span<Chord const> keys) const noexcept;

    /// Returns the verdict on each rule that fits a sequence, strongest first. *Throws* what the function of
    /// `CommandTable::explainWith` throws.
    std::vector<KeyVerdict> verdicts(std::span<Chord const> keys) const;
    /// Returns a rule by its number; null for one that was removed with its contribution.
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

/// True if `stronger` can be seen from its form to imply `weaker`: each conjunct of `weaker` is one of `stronger`, up to
/// spelling; of disjunctions, each alternative of `stronger` implies one of `weaker`. False does not mean that it does
/// not. *Throws* `gel::ParseError` for a text that does not parse.
STUDIO_COMMANDS_EXPORT bool implies(std::string const& stronger, std::string const& weaker);

}   // namespace studio::commands

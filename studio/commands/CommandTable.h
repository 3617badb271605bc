#pragma once

#include "studio/commands/Command.h"
#include "studio/commands/Export.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/host/ErrorHandler.h"

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace studio::commands {

class Contribution;
class Keymap;
class Menus;
namespace detail {
class TableState;
}

/// The commands of an application, and what a user interface shows of them at present. Every condition is subscribed
/// once, so a state is read without an evaluation.
///
/// What is visible changes in batches: when the outermost round of the engine has ended, `find`, the lists of `Menus`
/// and the keys of a `Keymap` change together, and one call of each receiver covers all commits made in the round.
/// Until then, also in callbacks of the engine and while receivers run, all of them are as they were reported last.
///
/// Commands, menus and keys are added by a `Contribution`, and are removed when it ends. When the engine ends first,
/// everything stays as it was reported last, and only removals are possible. All of it belongs to the thread of the
/// shared model.
class STUDIO_COMMANDS_EXPORT CommandTable {
public:
    /// Receives a batch of changes, in the order in which the commands were added: each command at most once, and not
    /// at all if it has changed back. It may do anything: write, load and unload contributions, end the table. What
    /// changes by that is reported by a call of its own after this one has returned, and so on until nothing changes
    /// any more. After 1,000 calls in a row that is an error, and what is left is reported with the next change.
    using Changed = std::function<void(std::span<CommandChange const>)>;
    /// Returns the sentences that say why a condition does not hold, such as `inspect::Reasons::reasonFor`.
    using Reasons = std::function<std::vector<std::string>(std::string const& condition)>;

    /// A table over the contexts of `engine`. Made in a callback of the engine, it does not wait for the end of that
    /// round: what is added there is reported at once. *Throws* `std::invalid_argument` unless the engine keeps shared
    /// symbols.
    explicit CommandTable(data::ExpressionEngine& engine);
    /// Ends all subscriptions. Menus, key maps and contributions that still exist become empty; nothing is reported.
    ~CommandTable();
    CommandTable(CommandTable const&) = delete;
    CommandTable& operator=(CommandTable const&) = delete;

    /// Sets who receives the changes from now on. An empty function receives nothing.
    void onChanged(Changed changed);
    /// Sets who receives the exceptions of receivers, of this table and of its menus. Without a handler, as at first
    /// and with an empty function, the first exception leaves the commit, or what else has caused the batch, when
    /// everything is delivered. Either way the changes count as reported.
    void onError(host::ErrorHandler handler);
    /// Sets the function that `whyDisabled` and the verdicts of a `Keymap` call.
    void explainWith(Reasons reasons);

    /// Gives a condition a name that other texts may use: `isGit` for `scm.provider == 'git'`. In texts that are added
    /// later the definition stands in place of the name, in parentheses. So all of them are consistent within one
    /// commit, and a property of that name is hidden. *Throws* `gel::ParseError` for a text that does not parse, and
    /// `std::invalid_argument` for a name that is no plain name, that is defined already with another text, or whose
    /// text leads back to it, with the chain of names; nothing is defined then.
    void define(std::string const& name, std::string const& condition);
    /// Returns the text with all definitions in place. *Throws* `gel::ParseError` for a text that does not parse, and
    /// `std::length_error` for a result that is longer, or nested deeper, than the language allows.
    std::string expanded(std::string const& condition) const;

    /// Returns the state of a command as it was reported last; null for one that has not been reported yet, or whose
    /// removal has. *Lifetime*: until the command changes. *Cost*: a hash look-up; no evaluation, no allocation.
    CommandState const* find(std::string_view id) const noexcept;
    /// Returns what was declared of a command, from its addition to its removal, reported or not; null for an unknown
    /// one. *Lifetime*: until the command is removed.
    Command const* describe(std::string_view id) const noexcept;
    /// Returns the ids of the commands that `describe` knows, in the order in which they were added.
    std::vector<std::string> list() const;
    /// Returns why a command is disabled: the sentences of the function of `explainWith` for its condition, or none.
    /// Empty for an enabled or unknown command. *Throws* what the function of the host throws.
    std::vector<std::string> whyDisabled(std::string_view id) const;

private:
    friend class Contribution;
    friend class Keymap;
    friend class Menus;

    std::shared_ptr<detail::TableState> state;   // shared with the menus, key maps and contributions
};

}   // namespace studio::commands

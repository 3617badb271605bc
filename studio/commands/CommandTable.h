#pragma once

#include "studio/commands/Command.h"
#include "studio/commands/Export.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/host/ErrorHandler.h"

#include <cstddef>
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
/// Changes come in batches: when the outermost round of the engine has ended, one call covers all commits made in it,
/// with each command at most once. What has changed and changed back is not in it. Commands, menus and keys are added
/// by a `Contribution`, and are removed when it ends.
class STUDIO_COMMANDS_EXPORT CommandTable {
public:
    /// Receives a batch of changes, in the order in which the commands were added. May do anything: write, load and
    /// unload contributions, end the table. What it changes is reported by a call of its own, after this one has
    /// returned.
    using Changed = std::function<void(std::span<CommandChange const>)>;
    /// Returns the sentences that say why a condition does not hold, such as `inspect::Reasons::reasonFor`.
    using Reasons = std::function<std::vector<std::string>(std::string const& condition)>;

    /// A table over the contexts of `engine`, which must outlive the changes that this table is to notice. *Throws*
    /// `std::invalid_argument` unless the engine keeps shared symbols.
    explicit CommandTable(data::ExpressionEngine& engine);
    /// Ends all subscriptions. Contributions, menus and keys that still exist become empty.
    ~CommandTable();
    CommandTable(CommandTable const&) = delete;
    CommandTable& operator=(CommandTable const&) = delete;

    /// Sets who receives the changes from now on. An empty function receives nothing.
    void onChanged(Changed changed);
    /// Sets who receives the exceptions of `changed`. Without a handler, as at first, an exception leaves the commit;
    /// the changes of its batch count as reported.
    void onError(host::ErrorHandler handler);
    /// Sets what `whyDisabled` says.
    void explainWith(Reasons reasons);

    /// Gives a condition a name that other conditions may use: `isGit` for `scm.provider == 'git'`. Conditions that are
    /// added later have the text of the definition, in parentheses, in place of the name. So all of them are consistent
    /// within one commit. *Throws* `gel::ParseError` for a text that does not parse, and `std::invalid_argument` for a
    /// name that is no plain name, that is defined already with another text, or whose text leads back to it, with the
    /// chain of names; nothing is defined then.
    void define(std::string const& name, std::string const& condition);
    /// Returns the text with all definitions in place. *Throws* `gel::ParseError` for a text that does not parse, and
    /// `std::length_error` for a result that is longer than the language allows.
    std::string expanded(std::string const& condition) const;

    /// Returns the present state of a command; null for an unknown one. It is that of the last commit, also while
    /// `changed` runs. *Lifetime*: until commands are added or removed, or the state changes. *Cost*: a hash look-up;
    /// no evaluation, no allocation.
    CommandState const* find(std::string_view id) const noexcept;
    /// Returns what was declared of a command; null for an unknown one. *Lifetime*: as of `find`.
    Command const* describe(std::string_view id) const noexcept;
    /// Returns the ids of all commands, in the order in which they were added.
    std::vector<std::string> list() const;
    /// Returns the sentences for a disabled command: those of `explainWith`, or none. Empty for an enabled or unknown
    /// command. *Throws* what the function of the host throws.
    std::vector<std::string> whyDisabled(std::string_view id) const;

private:
    friend class Contribution;
    friend class Keymap;
    friend class Menus;

    std::shared_ptr<detail::TableState> state;
};

}   // namespace studio::commands

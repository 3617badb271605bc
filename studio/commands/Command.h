#pragma once

#include <optional>
#include <string>

namespace studio::commands {

/// A command, as a host declares it. Conditions are expressions; an empty one always holds.
struct Command {
    /// The name under which menus and keys refer to the command. Not empty, of any bytes, and unique in a table. No
    /// key rule can run a command whose id begins with `-`: such a rule is a removal.
    std::string id;
    /// The title. Expressions in braces are replaced by their present values: `Undo {editor.undoName}`. An expression
    /// ends at the first `}`; `{{` stands for a brace.
    std::string title{};
    /// The category, for lists of commands; may be empty.
    std::string category{};
    /// Holds while the command may run.
    std::string enabled{};
    /// Holds while the command is shown.
    std::string visible{};
    /// Holds while the command has its check mark. A command without this condition has no check mark at all.
    std::string checked{};
};

/// What a user interface shows of a command.
struct CommandState {
    /// The title with its values.
    std::string title;
    /// True while the command may run.
    bool isEnabled = true;
    /// True while the command is shown.
    bool isVisible = true;
    /// The check mark; empty for a command without one.
    std::optional<bool> isChecked;

    friend bool operator==(CommandState const&, CommandState const&) = default;
};

/// A difference between two states of a table.
struct CommandChange {
    /// The command.
    std::string id;
    /// The state before; empty for a command that was added.
    std::optional<CommandState> before;
    /// The state after; empty for a command that was removed.
    std::optional<CommandState> after;

    friend bool operator==(CommandChange const&, CommandChange const&) = default;
};

}   // namespace studio::commands

#pragma once

#include "studio/commands/Command.h"
#include "studio/commands/CommandTable.h"
#include "studio/commands/Export.h"
#include "studio/commands/KeyRule.h"
#include "studio/commands/Menus.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace studio::commands {

class Keymap;

/// What one plugin adds to commands, menus and keys, as one object: its end takes everything away again, and changes
/// nothing for others. Move-only. It may begin and end anywhere: inside callbacks of the engine, inside
/// `CommandTable::onChanged`, in the function of one of its own commands, before or after the table, the menus, the key
/// map and the engine.
class STUDIO_COMMANDS_EXPORT Contribution {
public:
    /// What a contribution consists of.
    struct Parts {
        /// The commands.
        std::vector<Command> commands{};
        /// The entries of menus.
        std::vector<MenuEntry> entries{};
        /// The rules of the key map.
        std::vector<KeyRule> rules{};
        /// Names, and the conditions that they stand for in the other parts and in what is added later; see
        /// `CommandTable::define`.
        std::vector<std::pair<std::string, std::string>> definitions{};
    };

    /// Makes an empty contribution, to be assigned to.
    Contribution() noexcept;
    /// Adds all parts, or nothing. `menus` and `keymap` may be null if there are no parts for them. *Notifies*: the
    /// receivers of changes, before this returns, or when the round ends if the engine is in one. *Throws*, and adds
    /// nothing then:
    /// - `gel::ParseError` for a text that does not parse;
    /// - `std::length_error` for one that is too long with all definitions in place;
    /// - `std::invalid_argument` for everything else that is wrong with a part, such as the id of a command that exists
    ///   already, an entry with both a command and a submenu, or a submenu that leads back to itself;
    /// - `std::logic_error` after the end of the engine;
    /// - what a receiver throws, without an error handler.
    ///
    /// The message names the part. Inside an open transaction the conditions are evaluated with its writes, which a
    /// rollback may undo; load outside of them. *Cost*: for each text that is new to the engine a parse and an
    /// evaluation.
    Contribution(CommandTable& table, Menus* menus, Keymap* keymap, Parts parts);
    /// Takes everything away. *Notifies* as the constructor; without an error handler, exceptions of receivers are
    /// lost.
    ~Contribution();
    Contribution(Contribution&& other) noexcept;
    /// Ends what this object has added, and takes over what `other` has.
    Contribution& operator=(Contribution&& other) noexcept;

    /// True unless it is empty. What it has added may be gone all the same, with the table.
    explicit operator bool() const noexcept { return state != nullptr; }

    /// Returns one sentence for each entry and each rule that refers to a command that the table does not have at
    /// present.
    std::vector<std::string> warnings() const;

private:
    class State;

    std::unique_ptr<State> state;
};

}   // namespace studio::commands

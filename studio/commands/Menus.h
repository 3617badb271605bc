#pragma once

#include "studio/commands/Command.h"
#include "studio/commands/CommandTable.h"
#include "studio/commands/Export.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace studio::commands {

namespace detail {
class MenuLists;
}

/// An entry of a menu, as a host declares it.
struct MenuEntry {
    /// The menu that has the entry.
    std::string menu;
    /// The group in the menu; groups are separated.
    std::string group{};
    /// The place in the group: smaller numbers first, and of equal ones what was added first.
    double order = 0;
    /// The id of the command that the entry runs; empty for one that opens a submenu.
    std::string command{};
    /// The menu that the entry opens; empty for one that runs a command.
    std::string submenu{};
    /// The title of a submenu, with expressions in braces as in `Command::title`. An entry that runs a command has the
    /// title of the command.
    std::string title{};
    /// Holds while the entry is shown; an empty condition always holds.
    std::string when{};
};

/// A visible entry. An entry that runs a command is visible while its condition holds and the table has the command and
/// shows it. An entry that opens a submenu is visible while its condition holds and something in the submenu is
/// visible.
struct MenuItem {
    /// The number of the entry: of all that were ever added to these menus, from 0.
    std::size_t entry;
    /// The group.
    std::string group;
    /// The command; empty for a submenu.
    std::string command;
    /// The submenu; empty for a command.
    std::string submenu;
    /// The title, and whether the item is enabled and checked. A submenu is enabled.
    CommandState state;

    friend bool operator==(MenuItem const&, MenuItem const&) = default;
};

/// One step from the list of a menu before a batch to the list after it. Taken in their order, the steps of a menu lead
/// from one list to the other: removals from the back, then moves, then insertions from the front, then changes. At
/// most 100 items of a menu move in a batch; others are removed and inserted instead.
struct MenuChange {
    /// What happens to an item.
    enum class Kind : std::uint8_t {
        Removed,    ///< the item goes
        Moved,      ///< another entry of the same command or submenu takes its place, elsewhere in the menu
        Inserted,   ///< an item comes; `index` is that in the list after the batch
        Changed     ///< the entry, group or state of an item changes; `index` is that in the list after the batch
    };

    /// What happens.
    Kind kind;
    /// The menu.
    std::string menu;
    /// The index of the item: before the step for `Removed` and `Moved`, after it otherwise.
    std::size_t index;
    /// The index of a moved item after the step; `index` for the other kinds.
    std::size_t to;
};

/// Live menus over the commands of a table: ordered lists of what is visible at present. They change together with the
/// commands of the table: what `items` returns is what was reported last.
///
/// Entries are added by a `Contribution`, and are removed when it ends. An entry may name a command that is added
/// later, and several entries of a menu may name one command, for instance with different conditions and groups.
class STUDIO_COMMANDS_EXPORT Menus {
public:
    /// Receives the changes of a batch, menu by menu, after `CommandTable::onChanged` has received those of the
    /// commands.
    using Changed = std::function<void(std::span<MenuChange const>)>;
    /// True if a group comes before another one. *Requires* that it uses neither these menus nor their table, and a
    /// strict weak ordering that stays the same; without one, entries stand in any order. What it throws leaves the
    /// constructor of the `Contribution`, which adds nothing then.
    using GroupOrder = std::function<bool(std::string_view left, std::string_view right)>;

    /// Menus over `table`. Groups are ordered by `before`; without it, `navigation` comes first and no group last, and
    /// the others stand in the order of their bytes.
    explicit Menus(CommandTable& table, GroupOrder before = {});
    /// Removes all entries. Contributions that still exist stay valid.
    ~Menus();
    Menus(Menus const&) = delete;
    Menus& operator=(Menus const&) = delete;

    /// Sets who receives the changes from now on. It may do what the receiver of `CommandTable::onChanged` may do, and
    /// its exceptions are treated alike.
    void onChanged(Changed changed);

    /// Returns the visible items of a menu, in order; none for an unknown one. *Lifetime*: until the list changes.
    /// *Cost*: a hash look-up.
    std::span<MenuItem const> items(std::string_view menu) const noexcept;
    /// Returns an entry by its number; null for one that was removed, and for a number that was never given.
    /// *Lifetime*: until it is removed.
    MenuEntry const* entry(std::size_t number) const noexcept;
    /// Returns the names of all menus that have entries or that entries open, in the order of their bytes.
    std::vector<std::string> list() const;

private:
    friend class Contribution;

    std::shared_ptr<detail::MenuLists> lists;
};

}   // namespace studio::commands

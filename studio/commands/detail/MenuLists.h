#pragma once

#include "studio/commands/Menus.h"
#include "studio/commands/detail/SlotReaders.h"
#include "studio/commands/detail/TableState.h"
#include "studio/commands/detail/Title.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace studio::commands::detail {

/// The entries of all menus, and what of them is visible. Submenus form no cycle: an entry that would close one is
/// refused.
class MenuLists final : public Follower {
public:
    using Slot = Conditions::Slot;

    MenuLists(std::shared_ptr<TableState> table, Menus::GroupOrder before);

    /// Adds all entries, or none, and returns their numbers. They are visible with the next delivery. *Throws* as
    /// `Contribution`.
    std::vector<std::size_t> add(std::vector<MenuEntry> added);
    /// Removes entries; ignores those that are gone. They stay visible until the next delivery.
    void remove(std::span<std::size_t const> numbers) noexcept;
    MenuEntry const* find(std::size_t number) const noexcept;
    std::span<MenuItem const> items(std::string_view menu) const noexcept;
    std::vector<std::string> list() const;

    TableState const& of() const noexcept { return *table; }
    /// Ends the menus, without their table.
    void leave() noexcept;

    // Follower
    void note(std::span<Slot const> settled) noexcept override;
    bool isTouched() const noexcept override { return !touched.empty(); }
    void prepare(std::span<CommandChange const> commands) override;
    void apply() noexcept override;
    void report() override;
    void end() noexcept override;

    std::shared_ptr<Menus::Changed const> changed;

private:
    struct Menu;
    struct Entry {
        MenuEntry declared;
        std::size_t number = 0;
        Menu* menu = nullptr;
        Menu* submenu = nullptr;
        Slot when = Conditions::Always;
        Title title{};
        std::vector<SlotUse> slots{};
        std::size_t rank = 0;     // in the menu
        bool isPresent = false;   // was added and not removed
        bool isTouched = false;   // listed in `touched`
        bool isShown = false;     // visible
        bool isNext = false;      // visible after the delivery that is prepared
        bool isWaiting = false;   // in the queue of `decide`
        Entry* nextWaiting = nullptr;
    };
    struct Menu {
        std::string name;
        std::vector<Entry*> entries{};   // in order
        std::vector<Entry*> shown{};     // those that are visible
        std::vector<MenuItem> items{};   // of these
        Readers<Entry> openers{};        // entries that open it
        std::size_t opening = 0;         // of its entries, those that open a submenu
        std::size_t nextCount = 0;       // of entries that are visible after the delivery that is prepared
        bool isRanked = true;            // the ranks of its entries are in order
        // The next state, while a delivery is prepared.
        bool isRebuilt = false;
        std::vector<Entry*> nextShown{};
        std::vector<MenuItem> nextItems{};                                // room for all of them
        std::vector<MenuItem> added{};                                    // of those that were not visible, in order
        std::vector<std::pair<std::size_t, CommandState>> nextStates{};   // by index in `items`
    };
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>{}(text); }
    };
    template <class Value>
    using ByName = std::unordered_map<std::string, Value, Hash, std::equal_to<>>;

    Entry& addOne(MenuEntry&& declared);
    Menu& menuOf(std::string const& name);
    void dropIfUnused(std::string const& name) noexcept;
    void refuseCycle(Menu const& menu, Menu const& submenu) const;
    bool isBefore(Entry const& left, Entry const& right) const;
    void touch(Entry& entry) noexcept;
    void decide() noexcept;
    bool shouldShow(Entry const& entry) const noexcept;
    CommandState stateOf(Entry const& entry) const;
    void plan(Menu& menu, std::span<Entry* const> concerned);
    void dropRemoved() noexcept;
    void forgetPlans(bool withChanges = true) noexcept;

    std::shared_ptr<TableState> const table;
    Menus::GroupOrder const before;
    ByName<std::unique_ptr<Menu>> menus;
    ByName<Readers<Entry>> byCommand;
    std::unordered_map<std::size_t, std::unique_ptr<Entry>> entries;   // by number
    SlotReaders<Entry> readers;
    std::vector<Entry*> touched;   // has room for every entry
    std::vector<Menu*> planned;
    std::vector<MenuChange> changes;
    std::size_t lastNumber = 0;
    std::size_t pass = 0;   // of removals
    bool isEnded = false;
};

}   // namespace studio::commands::detail

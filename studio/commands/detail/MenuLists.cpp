#include "studio/commands/detail/MenuLists.h"

#include "studio/commands/detail/Quoted.h"
#include "studio/commands/detail/SlotUses.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>
#include <unordered_map>

namespace studio::commands::detail {

namespace {

// Of items in one menu and batch. A move takes time in proportion to the menu.
constexpr std::size_t MOST_MOVES = 100;

/// The default order of groups.
bool isGroupBefore(std::string_view left, std::string_view right) noexcept
{
    auto const placeOf = [](std::string_view group) { return group == "navigation" ? 0 : group.empty() ? 2 : 1; };
    return placeOf(left) != placeOf(right) ? placeOf(left) < placeOf(right) : left < right;
}

template <class Entries, class Entry>
std::size_t indexIn(Entries const& entries, Entry const& entry)
{
    auto const found = std::lower_bound(entries.begin(), entries.end(), entry.rank,
                                        [](Entry const* other, std::size_t rank) { return other->rank < rank; });
    return static_cast<std::size_t>(found - entries.begin());
}

}   // namespace

MenuLists::MenuLists(std::shared_ptr<TableState> state, Menus::GroupOrder order)
    : table{std::move(state)}, before{order ? std::move(order) : Menus::GroupOrder{isGroupBefore}}
{}

// Entries

std::vector<std::size_t> MenuLists::add(std::vector<MenuEntry> added)
{
    if (isEnded)
        throw std::logic_error{"these menus have ended"};
    std::vector<std::size_t> numbers;
    numbers.reserve(added.size());
    try {
        for (MenuEntry& declared : added)
            numbers.push_back(addOne(std::move(declared)).number);
    } catch (...) {
        remove(numbers);
        throw;
    }
    return numbers;
}

MenuLists::Entry& MenuLists::addOne(MenuEntry&& declared)
{
    std::string const where =
        "entry of menu " + inQuotes(declared.menu) + " for " +
        (declared.submenu.empty() ? "command " + inQuotes(declared.command) : "submenu " + inQuotes(declared.submenu));
    if (declared.menu.empty())
        throw std::invalid_argument{where + ": the menu has no name"};
    if (declared.command.empty() == declared.submenu.empty())
        throw std::invalid_argument{where + ": an entry has either a command or a submenu"};
    if (std::isnan(declared.order))
        throw std::invalid_argument{where + ": the order is not a number"};
    auto made = std::make_unique<Entry>();
    SlotUses uses{*table};
    made->when = uses.addCondition(declared.when, where);
    if (!declared.submenu.empty())
        made->title = Title{declared.title, where + ", title", uses};
    made->declared = std::move(declared);
    MenuEntry const& its = made->declared;
    Readers<Entry>* readersOfCommand = nullptr;
    try {
        made->menu = &menuOf(its.menu);
        made->submenu = its.submenu.empty() ? nullptr : &menuOf(its.submenu);
        Menu& menu = *made->menu;
        if (made->submenu) {
            refuseCycle(menu, *made->submenu);
            reserveFor(made->submenu->openers.all, made->submenu->openers.all.size() + 1);
        } else {
            readersOfCommand = &byCommand[its.command];
            reserveFor(readersOfCommand->all, readersOfCommand->all.size() + 1);
        }
        auto const place =
            std::upper_bound(menu.entries.begin(), menu.entries.end(), made.get(),
                             [this](Entry const* left, Entry const* right) { return isBefore(*left, *right); }) -
            menu.entries.begin();
        reserveFor(menu.entries, menu.entries.size() + 1);
        readers.reserve(uses.distinct());
        reserveFor(touched, entries.size() + 1);
        made->number = lastNumber;
        Entry& entry = *entries.emplace(lastNumber, std::move(made)).first->second;
        ++lastNumber;
        entry.slots = uses.keep();
        entry.isPresent = true;
        menu.entries.insert(menu.entries.begin() + place, &entry);
        menu.isRanked = false;
        if (entry.submenu) {
            ++menu.opening;
            entry.submenu->openers.all.push_back(&entry);
        } else {
            readersOfCommand->all.push_back(&entry);
        }
        readers.add(entry);
        touch(entry);
        return entry;
    } catch (...) {
        if (readersOfCommand && readersOfCommand->all.empty())
            byCommand.erase(its.command);
        dropIfUnused(its.menu);
        dropIfUnused(its.submenu);
        throw;
    }
}

void MenuLists::remove(std::span<std::size_t const> numbers) noexcept
{
    ++pass;
    auto const each = [&](auto const& call) {
        for (std::size_t const number : numbers)
            if (auto const found = entries.find(number); found != entries.end())
                call(*found->second);
    };
    each([&](Entry& entry) {
        if (std::exchange(entry.isPresent, false) && entry.submenu)
            --entry.menu->opening;
        touch(entry);
    });
    each([&](Entry& entry) {
        if (entry.submenu) {
            entry.submenu->openers.removeGone(pass);
        } else if (auto const list = byCommand.find(entry.declared.command); list != byCommand.end()) {
            list->second.removeGone(pass);
            if (list->second.all.empty())
                byCommand.erase(list);
        }
        readers.remove(entry);
        for (SlotUse const& use : std::exchange(entry.slots, {}))
            table->conditions.remove(use.slot);
    });
}

MenuEntry const* MenuLists::find(std::size_t number) const noexcept
{
    auto const found = entries.find(number);
    return found != entries.end() && found->second->isPresent ? &found->second->declared : nullptr;
}

std::span<MenuItem const> MenuLists::items(std::string_view menu) const noexcept
{
    auto const found = menus.find(menu);
    return found == menus.end() ? std::span<MenuItem const>{} : found->second->items;
}

std::vector<std::string> MenuLists::list() const
{
    std::vector<std::string> names;
    for (auto const& [name, menu] : menus)
        names.push_back(name);
    std::sort(names.begin(), names.end());
    return names;
}

MenuLists::Menu& MenuLists::menuOf(std::string const& name)
{
    if (auto const known = menus.find(name); known != menus.end())
        return *known->second;
    auto made = std::make_unique<Menu>();
    made->name = name;
    return *menus.emplace(name, std::move(made)).first->second;
}

void MenuLists::dropIfUnused(std::string const& name) noexcept
{
    auto const known = menus.find(name);
    if (known != menus.end() && known->second->entries.empty() && known->second->openers.all.empty())
        menus.erase(known);
}

/// *Throws* `std::invalid_argument` with the chain of menus if `submenu` leads to `menu`.
void MenuLists::refuseCycle(Menu const& menu, Menu const& submenu) const
{
    if (&menu != &submenu && submenu.opening == 0)
        return;   // the usual case: nothing leads on from the submenu
    std::unordered_map<Menu const*, Menu const*> below{
        {&menu, &submenu}};   // for each menu above `menu`, the one on the way
    std::vector<Menu const*> open{&menu};
    while (!open.empty() && below.count(&submenu) == 0) {
        Menu const& reached = *open.back();
        open.pop_back();
        for (Entry const* const opener : reached.openers.all)
            if (below.emplace(opener->menu, &reached).second)
                open.push_back(opener->menu);
    }
    if (below.count(&submenu) == 0)
        return;
    std::string chain = submenu.name;
    Menu const* at = &submenu;
    do {
        at = below.at(at);
        chain += " -> " + at->name;
    } while (at != &submenu);
    throw std::invalid_argument{"a submenu leads back to itself: " + shown(chain, 1'000)};
}

bool MenuLists::isBefore(Entry const& left, Entry const& right) const
{
    MenuEntry const& first = left.declared;
    MenuEntry const& second = right.declared;
    if (first.group != second.group) {
        if (before(first.group, second.group))
            return true;
        if (before(second.group, first.group))
            return false;
    }
    return first.order < second.order;
}

void MenuLists::touch(Entry& entry) noexcept
{
    if (!std::exchange(entry.isTouched, true))
        touched.push_back(&entry);
}

// Deliveries

void MenuLists::note(std::span<Slot const> settled) noexcept
{
    for (Slot const slot : settled)
        readers.each(slot, [this](Entry& entry) { touch(entry); });
}

bool MenuLists::shouldShow(Entry const& entry) const noexcept
{
    if (!entry.isPresent || !table->conditions.holds(entry.when))
        return false;
    if (entry.submenu)
        return entry.submenu->nextCount != 0;
    CommandState const* const command = table->findNext(entry.declared.command);
    return command && command->isVisible;
}

/// Decides which of the touched entries are visible, and of those that open a menu that becomes empty or ceases to be.
/// Ends because submenus form no cycle.
void MenuLists::decide() noexcept
{
    Entry* first = nullptr;
    Entry** last = &first;
    auto const wait = [&](Entry& entry) {
        if (std::exchange(entry.isWaiting, true))
            return;
        entry.nextWaiting = nullptr;
        last = &(*last = &entry)->nextWaiting;
    };
    for (Entry* const entry : touched)
        wait(*entry);
    while (first) {
        Entry& entry = *first;
        if (!(first = entry.nextWaiting))
            last = &first;
        entry.isWaiting = false;
        Menu& menu = *entry.menu;
        bool const shows = shouldShow(entry);
        if (shows == std::exchange(entry.isNext, shows))
            continue;
        if (shows ? ++menu.nextCount != 1 : --menu.nextCount != 0)
            continue;
        for (Entry* const opener : menu.openers.all) {
            touch(*opener);
            wait(*opener);
        }
    }
}

CommandState MenuLists::stateOf(Entry const& entry) const
{
    if (!entry.submenu)
        return *table->findNext(entry.declared.command);
    CommandState state;
    state.title = entry.title.shown(table->conditions);
    return state;
}

void MenuLists::prepare(std::span<CommandChange const> commands)
{
    forgetPlans();
    for (CommandChange const& command : commands)
        if (auto const found = byCommand.find(command.id); found != byCommand.end())
            for (Entry* const entry : found->second.all)
                touch(*entry);
    decide();
    for (Entry const* const entry : touched)
        if (Menu& menu = *entry->menu; !menu.isRanked) {
            for (std::size_t rank = 0; rank != menu.entries.size(); ++rank)
                menu.entries[rank]->rank = rank;
            menu.isRanked = true;
        }
    std::sort(touched.begin(), touched.end(), [](Entry const* left, Entry const* right) {
        return left->menu != right->menu ? left->menu->name < right->menu->name : left->rank < right->rank;
    });
    for (std::size_t begin = 0, end = 0; begin != touched.size(); begin = end) {
        Menu& menu = *touched[begin]->menu;
        while (end != touched.size() && touched[end]->menu == &menu)
            ++end;
        planned.push_back(&menu);
        plan(menu, std::span{touched}.subspan(begin, end - begin));
    }
}

/// Computes the next list of a menu, and the steps to it. `concerned` are its touched entries, in order.
void MenuLists::plan(Menu& menu, std::span<Entry* const> concerned)
{
    std::vector<Entry*> removed, inserted, changedStates;
    for (Entry* const entry : concerned) {
        if (entry->isShown && entry->isNext) {
            std::size_t const index = indexIn(menu.shown, *entry);
            if (CommandState state = stateOf(*entry); state != menu.items[index].state) {
                menu.nextStates.emplace_back(index, std::move(state));
                changedStates.push_back(entry);
            }
        } else if (entry->isShown) {
            removed.push_back(entry);
        } else if (entry->isNext) {
            inserted.push_back(entry);
            MenuEntry const& its = entry->declared;
            menu.added.push_back({entry->number, its.group, its.command, its.submenu, stateOf(*entry)});
        }
    }
    std::vector<Entry*> const& next = menu.nextShown;
    menu.isRebuilt = !removed.empty() || !inserted.empty();
    if (menu.isRebuilt) {
        menu.nextShown.reserve(menu.shown.size() + inserted.size());
        std::merge(menu.shown.begin(), menu.shown.end(), inserted.begin(), inserted.end(),
                   std::back_inserter(menu.nextShown),
                   [](Entry const* left, Entry const* right) { return left->rank < right->rank; });
        std::erase_if(menu.nextShown, [](Entry const* entry) { return !entry->isNext; });
        menu.nextItems.reserve(next.size());
    }

    // Another entry of the same command or submenu takes the place of one that is removed.
    using Target = std::pair<std::string_view, std::string_view>;
    std::vector<std::pair<Entry*, Entry*>> moved;
    if (!removed.empty() && !inserted.empty()) {
        std::multimap<Target, Entry*> leaving;
        for (Entry* const entry : removed)
            leaving.emplace(Target{entry->declared.command, entry->declared.submenu}, entry);
        for (Entry* const entry : inserted)
            if (auto const found = leaving.find({entry->declared.command, entry->declared.submenu});
                found != leaving.end() && moved.size() != MOST_MOVES) {
                moved.emplace_back(found->second, entry);
                leaving.erase(found);
            }
        for (auto const& [from, to] : moved) {
            std::erase(removed, from);
            std::erase(inserted, to);
            changedStates.push_back(to);
        }
    }

    auto const add = [&](MenuChange::Kind kind, std::size_t index, std::size_t to) {
        changes.push_back({kind, menu.name, index, to});
    };
    for (std::size_t i = removed.size(); i-- != 0;) {
        std::size_t const index = indexIn(menu.shown, *removed[i]);
        add(MenuChange::Kind::Removed, index, index);
    }
    if (!moved.empty()) {
        std::vector<Entry*> list = menu.shown;
        std::erase_if(list, [&](Entry* entry) {
            return !entry->isNext &&
                   std::binary_search(removed.begin(), removed.end(), entry,
                                      [](Entry* left, Entry* right) { return left->rank < right->rank; });
        });
        for (auto const& [from, entry] : moved) {
            auto const index = std::find(list.begin(), list.end(), from) - list.begin();
            list.erase(list.begin() + index);
            auto const rank = entry->rank;
            auto const last = std::find_if(list.rbegin(), list.rend(), [&](Entry const* other) {
                return other->isNext && other->rank < rank;   // the others have still to move
            });
            auto const to = last.base() - list.begin();
            list.insert(list.begin() + to, entry);
            if (index != to)
                add(MenuChange::Kind::Moved, static_cast<std::size_t>(index), static_cast<std::size_t>(to));
        }
    }
    std::vector<Entry*> const& after = menu.isRebuilt ? next : menu.shown;
    for (Entry const* const entry : inserted) {
        std::size_t const index = indexIn(after, *entry);
        add(MenuChange::Kind::Inserted, index, index);
    }
    std::sort(changedStates.begin(), changedStates.end(),
              [](Entry const* left, Entry const* right) { return left->rank < right->rank; });
    for (Entry const* const entry : changedStates) {
        std::size_t const index = indexIn(after, *entry);
        add(MenuChange::Kind::Changed, index, index);
    }
}

void MenuLists::apply() noexcept
{
    for (Menu* const menu : planned) {
        for (auto& [index, state] : menu->nextStates)
            menu->items[index].state = std::move(state);
        if (!menu->isRebuilt)
            continue;
        auto added = menu->added.begin();
        std::size_t old = 0;
        for (Entry const* const entry : menu->nextShown) {
            if (!entry->isShown) {
                menu->nextItems.push_back(std::move(*added++));
                continue;
            }
            while (menu->shown[old] != entry)
                ++old;
            menu->nextItems.push_back(std::move(menu->items[old]));
        }
        menu->shown.swap(menu->nextShown);
        menu->items.swap(menu->nextItems);
    }
    forgetPlans(false);
    for (Entry* const entry : touched) {
        entry->isTouched = false;
        entry->isShown = entry->isNext;
    }
    dropRemoved();
    touched.clear();
}

/// Forgets the entries that were removed: the touched ones, menu by menu.
void MenuLists::dropRemoved() noexcept
{
    Menu const* last = nullptr;
    for (Entry* const entry : touched)
        if (!entry->isPresent && entry->menu != last) {
            last = entry->menu;
            std::erase_if(entry->menu->entries, [](Entry const* other) { return !other->isPresent; });
        }
    for (Entry* const entry : touched)
        if (!entry->isPresent) {
            dropIfUnused(entry->declared.menu);
            dropIfUnused(entry->declared.submenu);
            entries.erase(entry->number);
        }
}

void MenuLists::forgetPlans(bool withChanges) noexcept
{
    for (Menu* const menu : planned) {
        menu->isRebuilt = false;
        menu->nextShown.clear();
        menu->nextItems.clear();
        menu->added.clear();
        menu->nextStates.clear();
    }
    planned.clear();
    if (withChanges)
        changes.clear();
}

void MenuLists::report()
{
    if (auto const receiver = changed; receiver && !changes.empty())
        table->call("the changes of menus", [&] { (*receiver)(changes); });
}

void MenuLists::leave() noexcept
{
    table->unfollow(*this);
    end();
}

void MenuLists::end() noexcept
{
    if (isEnded)
        return;
    isEnded = true;
    changed = nullptr;
    for (auto const& [number, entry] : entries)
        for (SlotUse const& use : entry->slots)
            table->conditions.remove(use.slot);
    touched.clear();
    planned.clear();
    readers.clear();
    byCommand.clear();
    menus.clear();
    entries.clear();
}

}   // namespace studio::commands::detail

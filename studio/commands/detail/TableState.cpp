#include "studio/commands/detail/TableState.h"

#include "gel/ParseError.h"
#include "studio/commands/detail/Quoted.h"
#include "studio/commands/detail/SlotUses.h"
#include "studio/commands/detail/Title.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

namespace studio::commands::detail {

namespace {

// As many as one delivery makes before its receivers are taken to write without end.
constexpr std::size_t MOST_BATCHES = 1'000;

}   // namespace

struct TableState::Row {
    Command declared;
    Slot enabled = Conditions::Always;
    Slot visible = Conditions::Always;
    Slot checked = Conditions::Always;
    Title title;
    std::vector<SlotUse> slots;   // all of these
    std::size_t number = 0;       // in the order in which commands were added
    bool isPresent = false;       // was added and not removed
    bool isTouched = false;       // listed in `touched`
    std::optional<CommandState> reported;
    std::optional<CommandState> next;   // of a row that is touched, while a delivery is prepared
};

TableState::TableState(data::ExpressionEngine& used) : conditions{used}, engine{&used}
{
    if (used.getReleasePolicy() != data::ReleasePolicy::KeepsShared)
        throw std::invalid_argument{
            "a command table needs an engine that keeps shared symbols: make it with ReleasePolicy::KeepsShared"};
    used.addObserver(*this);
}

TableState::~TableState()
{
    end();
}

void TableState::end() noexcept
{
    isEnded = true;
    hasThrown = false;
    changed = nullptr;
    reasons = nullptr;
    if (engine)
        std::exchange(engine, nullptr)->removeObserver(*this);
    for (std::shared_ptr<Follower> const& follower : followers)
        if (follower)
            follower->end();
    followers.clear();
    touched.clear();
    readers.clear();
    rows.clear();
    conditions.clear();
}

// Commands

void TableState::requireEngine() const
{
    if (!engine)
        throw std::logic_error{"the command table, or its engine, has ended"};
}

TableState::Row& TableState::add(Command command)
{
    if (command.id.empty())
        throw std::invalid_argument{"a command needs an id"};
    std::string const name = "command " + inQuotes(command.id);
    if (Row const* const known = rowOf(command.id); known && known->isPresent)
        throw std::invalid_argument{name + " exists already"};
    SlotUses uses{*this};
    Row made;
    made.enabled = uses.addCondition(command.enabled, name + ", enabled");
    made.visible = uses.addCondition(command.visible, name + ", visible");
    made.checked = uses.addCondition(command.checked, name + ", checked");
    made.title = Title{command.title, name + ", title", uses};
    readers.reserve(uses.distinct());
    reserveFor(touched, rows.size() + 1);
    auto& place = rows[command.id];
    if (!place) {
        try {
            place = std::make_unique<Row>();
        } catch (...) {
            rows.erase(command.id);
            throw;
        }
    }
    Row& row = *place;   // of a command that was removed, and not delivered since, or a new one
    made.declared = std::move(command);
    made.slots = uses.keep();
    made.number = ++lastNumber;
    made.isPresent = true;
    made.isTouched = row.isTouched;
    made.reported = std::move(row.reported);
    row = std::move(made);
    readers.add(row);
    touch(row);
    return row;
}

void TableState::remove(std::span<Row* const> going) noexcept
{
    for (Row* const row : going) {
        row->isPresent = false;
        touch(*row);
        readers.remove(*row);
        for (SlotUse const& use : std::exchange(row->slots, {}))
            conditions.remove(use.slot);
    }
}

TableState::Row* TableState::rowOf(std::string_view id) const noexcept
{
    auto const found = rows.find(id);
    return found == rows.end() ? nullptr : found->second.get();
}

CommandState const* TableState::find(std::string_view id) const noexcept
{
    Row const* const row = rowOf(id);
    return row && row->reported ? &*row->reported : nullptr;
}

CommandState const* TableState::findNext(std::string_view id) const noexcept
{
    Row const* const row = rowOf(id);
    if (!row)
        return nullptr;
    std::optional<CommandState> const& state = row->isTouched ? row->next : row->reported;
    return state ? &*state : nullptr;
}

Command const* TableState::describe(std::string_view id) const noexcept
{
    Row const* const row = rowOf(id);
    return row && row->isPresent ? &row->declared : nullptr;
}

std::vector<std::string> TableState::list() const
{
    std::vector<Row const*> ordered;
    for (auto const& [id, row] : rows)
        if (row->isPresent)
            ordered.push_back(row.get());
    std::sort(ordered.begin(), ordered.end(),
              [](Row const* left, Row const* right) { return left->number < right->number; });
    std::vector<std::string> ids;
    for (Row const* const row : ordered)
        ids.push_back(row->declared.id);
    return ids;
}

std::vector<std::string> TableState::whyDisabled(std::string_view id) const
{
    Row const* const row = rowOf(id);
    if (!row || !row->isPresent || !row->reported || row->reported->isEnabled)
        return {};
    return whyNot(row->enabled);
}

std::vector<std::string> TableState::whyNot(Slot slot) const
{
    auto const kept = reasons;   // the function may set another one
    return kept && slot != Conditions::Always ? (*kept)(std::string{conditions.textOf(slot)})
                                              : std::vector<std::string>{};
}

// Conditions

/// Calls `add` with `text` and all definitions in place.
template <class Add>
TableState::Slot TableState::addSlot(std::string const& text, std::string const& where, Add const& add)
{
    std::string const from = where.empty() ? where : where + ": ";
    try {
        return add(text.empty() ? text : definitions.expanded(text));
    } catch (gel::ParseError const& error) {
        throw gel::ParseError{text, error.offset(), from + error.reason()};
    } catch (std::length_error const& error) {
        throw std::length_error{from + error.what()};
    }
}

void TableState::define(std::string const& name, std::string const& condition)
{
    try {
        definitions.add(name, condition);
    } catch (gel::ParseError const& error) {
        throw gel::ParseError{condition, error.offset(), "definition " + inQuotes(name) + ": " + error.reason()};
    }
}

TableState::Slot TableState::addCondition(std::string const& text, std::string const& where)
{
    return addSlot(text, where, [this](std::string const& whole) { return conditions.add(whole); });
}

TableState::Slot TableState::addShown(std::string const& text, std::string const& where)
{
    return addSlot(text, where, [this](std::string const& whole) { return conditions.addShown(whole); });
}

// Deliveries

void TableState::follow(std::shared_ptr<Follower> follower)
{
    followers.push_back(std::move(follower));
}

void TableState::unfollow(Follower const& follower) noexcept
{
    for (std::shared_ptr<Follower>& known : followers)
        if (known.get() == &follower)
            known = nullptr;   // a delivery may walk along the list
    if (!isDelivering)
        followers.erase(std::remove(followers.begin(), followers.end(), nullptr), followers.end());
}

void TableState::touch(Row& row) noexcept
{
    if (!std::exchange(row.isTouched, true))
        touched.push_back(&row);
}

bool TableState::hasWork() const noexcept
{
    return conditions.isDirty() || !touched.empty() ||
           std::any_of(followers.begin(), followers.end(),
                       [](std::shared_ptr<Follower> const& follower) { return follower && follower->isTouched(); });
}

void TableState::deliver()
{
    if (isDelivering || rounds != 0 || (!hasThrown && !hasWork()))
        return;
    std::shared_ptr<TableState> const kept = shared_from_this();   // a receiver may end the table
    isDelivering = true;
    try {
        for (std::size_t batches = 0; hasThrown || hasWork(); ++batches) {
            if (batches == MOST_BATCHES) {
                call("the changes of commands", [this] { refuseMore(); });
                break;
            }
            // An exception of somebody else's callback left a round: the evaluations behind it did not take place.
            if (std::exchange(hasThrown, false))
                conditions.evaluateAll();
            deliverOnce();
        }
    } catch (...) {
        if (!firstFailure)
            firstFailure = std::current_exception();
    }
    isDelivering = false;
    followers.erase(std::remove(followers.begin(), followers.end(), nullptr), followers.end());
    if (std::exception_ptr const failure = std::exchange(firstFailure, nullptr))
        std::rethrow_exception(failure);
}

void TableState::refuseMore() const
{
    throw std::runtime_error{"receivers of changes have written " + std::to_string(MOST_BATCHES) +
                             " times in a row; the last change was of " +
                             (changes.empty() ? "menus" : inQuotes(changes.front().id))};
}

void TableState::deliverAtEnd() noexcept
{
    try {
        deliver();
    } catch (...) {
        // Of a receiver, without an error handler. A destructor has nowhere else to report it.
    }
}

void TableState::deliverOnce()
{
    std::span<Slot const> const settled = conditions.settle();
    for (Slot const slot : settled)
        readers.each(slot, [this](Row& row) { touch(row); });
    for (std::shared_ptr<Follower> const& follower : followers)
        if (follower)
            follower->note(settled);
    buildChanges();
    for (std::shared_ptr<Follower> const& follower : followers)
        if (follower)
            follower->prepare(changes);
    applyChanges();
    for (std::shared_ptr<Follower> const& follower : followers)
        if (follower)
            follower->apply();
    if (auto const receiver = changed; receiver && !changes.empty())
        call("the changes of commands", [&] { (*receiver)(changes); });
    for (std::size_t i = 0; i < followers.size(); ++i)   // a receiver may add some, and end the table
        if (std::shared_ptr<Follower> const follower = followers[i])
            follower->report();
}

std::optional<CommandState> TableState::stateOf(Row const& row) const
{
    if (!row.isPresent)
        return std::nullopt;
    CommandState state;
    state.title = row.title.shown(conditions);
    state.isEnabled = conditions.holds(row.enabled);
    state.isVisible = conditions.holds(row.visible);
    if (row.checked != Conditions::Always)
        state.isChecked = conditions.holds(row.checked);
    return state;
}

void TableState::buildChanges()
{
    std::sort(touched.begin(), touched.end(),
              [](Row const* left, Row const* right) { return left->number < right->number; });
    changes.clear();
    for (Row* const row : touched) {
        row->next = stateOf(*row);
        if (row->next != row->reported)
            changes.push_back({row->declared.id, row->reported, row->next});
    }
}

void TableState::applyChanges() noexcept
{
    for (Row* const row : touched) {
        row->isTouched = false;
        row->reported = std::exchange(row->next, std::nullopt);
        if (!row->isPresent)
            rows.erase(rows.find(row->declared.id));
    }
    touched.clear();
}

void TableState::failed(char const* what) noexcept
{
    auto const handler = onError;   // it may set another one
    if (!handler) {
        if (!firstFailure)
            firstFailure = std::current_exception();
        return;
    }
    host::Failure failure{{}, {}, std::current_exception(), {}};
    try {
        failure.text = what;
        try {
            throw;
        } catch (std::exception const& exception) {
            failure.reason = exception.what();
        } catch (...) {
            failure.reason = "an exception of an unknown type";
        }
    } catch (std::bad_alloc const&) {
        // What is still empty stays empty.
    }
    (*handler)(failure);
}

// Rounds of the engine

void TableState::roundBegins(tarn::zero::ReportData const*) noexcept
{
    if (rounds++ == 0)
        atBegin = std::current_exception();
}

void TableState::roundEnds(tarn::zero::ReportData const*) noexcept
{
    if (std::current_exception() != atBegin)
        hasThrown = true;
    if (rounds != 0 && --rounds == 0)
        atBegin = nullptr;
}

void TableState::roundsEnded()
{
    rounds = 0;
    deliver();
}

void TableState::engineEnds() noexcept
{
    engine = nullptr;
    rounds = 0;
    hasThrown = false;
    conditions.freeze();
}

}   // namespace studio::commands::detail

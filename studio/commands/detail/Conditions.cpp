#include "studio/commands/detail/Conditions.h"

#include "studio/host/Subscriptions.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace studio::commands::detail {

bool truthOf(data::PropertyValue const& value) noexcept
{
    if (value.isLogical())
        return value.getBool();
    if (value.isDouble())
        return value.getDouble() != 0;
    return value.isString() && !value.getString().empty();
}

Conditions::Conditions(data::ExpressionEngine& used) : engine{&used}
{
    entries.emplace_back();   // of the empty condition
    truths.push_back(1);
}

Conditions::Slot Conditions::add(std::string const& text, Kind kind)
{
    if (text.empty() && kind == Kind::Condition)
        return Always;
    Slots& slots = slotsOf(kind);
    if (auto const known = slots.find(text); known != slots.end()) {
        ++entries[known->second].users;
        return known->second;
    }
    if (!engine)
        throw std::logic_error{"the command table, or its engine, has ended"};
    Slot const slot = freeSlot();
    auto const place = slots.emplace(text, slot).first;
    entries[slot].kind = kind;
    try {
        entries[slot].handle = engine->acquireExpression(
            text, [this, slot](std::string const&, data::PropertyValue const& value) { notice(slot, value); });
    } catch (...) {
        slots.erase(place);
        entries[slot].next = false;
        throw;
    }
    entries[slot].text = &place->first;
    entries[slot].users = 1;
    free.pop_back();
    return slot;
}

/// Returns a slot that is free, the last one of `free`.
Conditions::Slot Conditions::freeSlot()
{
    if (free.empty()) {
        std::size_t const size = entries.size() + 1;
        for (auto* const list : {&free, &dirty, &settled})
            if (list->capacity() < size)
                list->reserve(std::max(size, 2 * list->capacity()));
        if (truths.size() < size)
            truths.push_back(0);
        entries.emplace_back();
        free.push_back(static_cast<Slot>(size - 1));
    }
    return free.back();
}

void Conditions::remove(Slot slot) noexcept
{
    Entry& entry = entries[slot];
    if (slot == Always || --entry.users != 0)
        return;
    entry.handle.reset();
    Slots& slots = slotsOf(entry.kind);
    slots.erase(slots.find(*entry.text));
    entry.text = nullptr;
    entry.next = false;
    entry.shown.clear();
    truths[slot] = 0;
    free.push_back(slot);
}

void Conditions::notice(Slot slot, data::PropertyValue const& value) noexcept
{
    Entry& entry = entries[slot];
    entry.next = truthOf(value);
    if (entry.isDirty || (entry.kind == Kind::Condition && entry.next == holds(slot)))
        return;
    entry.isDirty = true;
    dirty.push_back(slot);
}

std::span<Conditions::Slot const> Conditions::settle()
{
    for (Slot const slot : dirty)
        if (Entry& entry = entries[slot]; entry.text && entry.kind == Kind::Shown)
            entry.nextShown = host::shown(entry.handle->getValue());
    settled.clear();
    for (Slot const slot : dirty) {
        Entry& entry = entries[slot];
        entry.isDirty = false;
        if (!entry.text)
            continue;   // was removed
        if (entry.kind == Kind::Shown ? entry.shown == entry.nextShown : entry.next == holds(slot))
            continue;
        truths[slot] = entry.next;
        entry.shown.swap(entry.nextShown);
        settled.push_back(slot);
    }
    dirty.clear();
    return settled;
}

void Conditions::evaluateAll() noexcept
{
    for (Slot slot = 0; slot != entries.size(); ++slot)
        try {
            if (engine && entries[slot].text)
                engine->updateExpression(std::string{*entries[slot].text});   // a callback may remove the slot
            if (engine && entries[slot].text)
                notice(slot, entries[slot].handle->getValue());   // the update calls nobody if the value is known
        } catch (...) {
            // The first exception of the round is the one that leaves.
        }
}

void Conditions::freeze() noexcept
{
    engine = nullptr;
    for (Slot const slot : dirty) {
        entries[slot].isDirty = false;
        entries[slot].next = holds(slot);
    }
    dirty.clear();
}

void Conditions::clear() noexcept
{
    engine = nullptr;
    for (Entry& entry : entries)
        entry = Entry{};
    std::fill(truths.begin() + 1, truths.end(), char{0});
    conditions.clear();
    texts.clear();
    dirty.clear();
}

}   // namespace studio::commands::detail

#pragma once

#include "studio/commands/detail/Conditions.h"

#include <algorithm>
#include <span>
#include <vector>

namespace studio::commands::detail {

/// Makes room for `count` elements and more to come, so that adding many takes linear time.
template <class List>
void reserveFor(List& list, std::size_t count)
{
    if (list.capacity() < count)
        list.reserve(std::max(count, 2 * list.capacity()));
}

/// What depends on each slot.
template <class Reader>
class SlotReaders {
public:
    using Slot = Conditions::Slot;

    /// Makes room for `add`.
    void reserve(std::span<Slot const> slots)
    {
        for (Slot const slot : slots) {
            if (slot >= bySlot.size())
                bySlot.resize(std::max<std::size_t>(slot + 1, 2 * bySlot.size()));
            reserveFor(bySlot[slot], bySlot[slot].size() + 1);
        }
    }
    /// Adds a reader of these slots, for which there is room.
    void add(std::span<Slot const> slots, Reader& reader) noexcept
    {
        for (Slot const slot : slots)
            if (auto& list = bySlot[slot]; slot != Conditions::Always && (list.empty() || list.back() != &reader))
                list.push_back(&reader);
    }
    /// Removes a reader of these slots. *Cost*: little for those that were added last.
    void remove(std::span<Slot const> slots, Reader& reader) noexcept
    {
        for (Slot const slot : slots) {
            auto& list = bySlot[slot];
            if (auto const found = std::find(list.rbegin(), list.rend(), &reader); found != list.rend())
                list.erase(found.base() - 1);
        }
    }
    /// Calls `call` with each reader of a slot.
    template <class Call>
    void each(Slot slot, Call const& call) const
    {
        if (slot < bySlot.size())
            for (Reader* const reader : bySlot[slot])
                call(*reader);
    }
    void clear() noexcept { bySlot.clear(); }

private:
    std::vector<std::vector<Reader*>> bySlot;
};

}   // namespace studio::commands::detail

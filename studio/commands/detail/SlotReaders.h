#pragma once

#include "studio/commands/detail/Conditions.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace studio::commands::detail {

/// Makes room for `count` elements and more to come, so that adding many takes linear time.
template <class List>
void reserveFor(List& list, std::size_t count)
{
    if (list.capacity() < count)
        list.reserve(std::max(count, 2 * list.capacity()));
}

/// What depends on one thing, in no order. Those of many that go are removed in one pass over the list.
template <class Reader>
struct Readers {
    std::vector<Reader*> all{};
    std::size_t pass = 0;   // the last one that visited the list

    /// Removes the readers that are no longer present, unless this was done in pass `current`.
    void removeGone(std::size_t current) noexcept
    {
        if (std::exchange(pass, current) != current)
            std::erase_if(all, [](Reader const* reader) { return !reader->isPresent; });
    }
};

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
            reserveFor(bySlot[slot].all, bySlot[slot].all.size() + 1);
        }
    }
    /// Adds a reader of these slots, for which there is room.
    void add(std::span<Slot const> slots, Reader& reader) noexcept
    {
        for (Slot const slot : slots)
            if (auto& list = bySlot[slot].all; slot != Conditions::Always && (list.empty() || list.back() != &reader))
                list.push_back(&reader);
    }
    /// Removes the readers of these slots that are no longer present. *Cost*: for each slot, its readers, once in a
    /// pass.
    void removeGone(std::span<Slot const> slots, std::size_t pass) noexcept
    {
        for (Slot const slot : slots)
            bySlot[slot].removeGone(pass);
    }
    /// Calls `call` with each reader of a slot.
    template <class Call>
    void each(Slot slot, Call const& call) const
    {
        if (slot < bySlot.size())
            for (Reader* const reader : bySlot[slot].all)
                call(*reader);
    }
    void clear() noexcept { bySlot.clear(); }

private:
    std::vector<Readers<Reader>> bySlot;
};

}   // namespace studio::commands::detail

#pragma once

#include "studio/commands/detail/Conditions.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
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

/// A slot that a reader uses, and the place of the reader among those of the slot.
struct SlotUse {
    Conditions::Slot slot;
    std::uint32_t place = 0;
};

/// What depends on each slot. A reader has its uses, of different slots, in a member `slots`.
template <class Reader>
class SlotReaders {
public:
    using Slot = Conditions::Slot;

    /// Makes room for `add`.
    void reserve(std::span<SlotUse const> uses)
    {
        for (auto const& [slot, place] : uses) {
            if (slot >= bySlot.size())
                bySlot.resize(std::max<std::size_t>(slot + 1, 2 * bySlot.size()));
            reserveFor(bySlot[slot], bySlot[slot].size() + 1);
        }
    }
    /// Adds a reader, for whose uses there is room.
    void add(Reader& reader) noexcept
    {
        for (std::uint32_t use = 0; use != reader.slots.size(); ++use) {
            auto& list = bySlot[reader.slots[use].slot];
            reader.slots[use].place = static_cast<std::uint32_t>(list.size());
            list.push_back({&reader, use});
        }
    }
    /// Removes a reader. *Cost*: its uses, however many readers their slots have.
    void remove(Reader const& reader) noexcept
    {
        for (auto const& [slot, place] : reader.slots) {
            auto& list = bySlot[slot];
            Reading const last = list.back();
            list[place] = last;
            last.reader->slots[last.use].place = place;
            list.pop_back();
        }
    }
    /// Calls `call` with each reader of a slot, in no particular order.
    template <class Call>
    void each(Slot slot, Call const& call) const
    {
        if (slot < bySlot.size())
            for (Reading const& reading : bySlot[slot])
                call(*reading.reader);
    }
    void clear() noexcept { bySlot.clear(); }

private:
    struct Reading {
        Reader* reader;
        std::uint32_t use;   // an index into `slots` of the reader
    };

    std::vector<std::vector<Reading>> bySlot;
};

}   // namespace studio::commands::detail

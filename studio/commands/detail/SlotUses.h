#pragma once

#include "studio/commands/detail/SlotReaders.h"
#include "studio/commands/detail/TableState.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace studio::commands::detail {

/// Slots that something new uses. They are given back unless it is completed.
class SlotUses {
public:
    using Slot = Conditions::Slot;

    explicit SlotUses(TableState& state) noexcept : table{state} {}
    SlotUses(SlotUses const&) = delete;
    SlotUses& operator=(SlotUses const&) = delete;
    ~SlotUses()
    {
        for (SlotUse const& use : slots)
            table.conditions.remove(use.slot);
    }

    /// Adds a use of a condition, or of an expression whose value is shown. *Throws* as `TableState::addCondition`.
    Slot addCondition(std::string const& text, std::string const& where)
    {
        slots.push_back({Conditions::Always});
        return slots.back().slot = table.addCondition(text, where);
    }
    Slot addShown(std::string const& text, std::string const& where)
    {
        slots.push_back({Conditions::Always});
        return slots.back().slot = table.addShown(text, where);
    }
    /// Returns the slots, each with one use; that of the empty condition is not among them.
    std::span<SlotUse const> distinct() noexcept
    {
        std::sort(slots.begin(), slots.end(),
                  [](SlotUse const& left, SlotUse const& right) { return left.slot < right.slot; });
        std::size_t kept = 0;
        for (SlotUse const& use : slots)
            if (use.slot == Conditions::Always || (kept != 0 && slots[kept - 1].slot == use.slot))
                table.conditions.remove(use.slot);
            else
                slots[kept++] = use;
        slots.resize(kept);
        return slots;
    }
    /// Returns what `distinct` has returned; it is used from now on.
    std::vector<SlotUse> keep() noexcept { return std::move(slots); }

private:
    TableState& table;
    std::vector<SlotUse> slots;
};

}   // namespace studio::commands::detail

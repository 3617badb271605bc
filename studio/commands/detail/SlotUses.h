#pragma once

#include "studio/commands/detail/TableState.h"

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
        for (Slot const slot : slots)
            table.conditions.remove(slot);
    }

    /// Adds a use of a condition, or of an expression whose value is shown. *Throws* as `TableState::addCondition`.
    Slot addCondition(std::string const& text, std::string const& where)
    {
        slots.push_back(Conditions::Always);
        return slots.back() = table.addCondition(text, where);
    }
    Slot addShown(std::string const& text, std::string const& where)
    {
        slots.push_back(Conditions::Always);
        return slots.back() = table.addShown(text, where);
    }
    /// Returns the slots, which are used from now on.
    std::vector<Slot> keep() noexcept { return std::move(slots); }
    std::vector<Slot> const& list() const noexcept { return slots; }

private:
    TableState& table;
    std::vector<Slot> slots;
};

}   // namespace studio::commands::detail

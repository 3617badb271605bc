#pragma once

#include "studio/commands/KeyRule.h"

#include <cstddef>
#include <span>
#include <vector>

namespace studio::commands::detail {

class TableState;

/// The part of a key map that contributions use, to add and remove rules. Counted: contributions keep it, also after
/// the end of its `Keymap`.
class RuleRegistry {
public:
    RuleRegistry() = default;
    RuleRegistry(RuleRegistry const&) = delete;
    RuleRegistry& operator=(RuleRegistry const&) = delete;
    virtual ~RuleRegistry() = default;

    /// Adds all rules, or none, and returns their numbers. Removals are rules, too. *Throws* `gel::ParseError` and
    /// `std::invalid_argument`, with the rule and the reason.
    virtual std::vector<std::size_t> add(std::vector<KeyRule> rules) = 0;
    /// Removes rules; ignores those that are gone, as after the end of the table or of the key map.
    virtual void remove(std::span<std::size_t const> numbers) noexcept = 0;
    /// Returns the table of the key map.
    virtual TableState const& of() const noexcept = 0;
    /// Returns a rule by its number; null for one that is gone.
    virtual KeyRule const* find(std::size_t number) const noexcept = 0;
};

}   // namespace studio::commands::detail

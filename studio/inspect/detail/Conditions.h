#pragma once

#include "gel/DataSource.h"
#include "gel/Tree.h"
#include "studio/host/Meanings.h"
#include "studio/inspect/Explanation.h"
#include "studio/inspect/detail/Outcomes.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace studio::inspect::detail {

/// Finds the logical sub-conditions of a text and the values that it would have with other truths of them.
class Conditions {
public:
    /// `values` are those of a trace of `tree` over `source`. *Lifetime*: refers to all of them.
    Conditions(gel::Tree const& tree, std::span<std::optional<gel::Value> const> values, gel::DataSource const& source,
               host::Meanings::Numbers const& normal);

    /// The sub-conditions, in order of their first places.
    std::vector<Explanation::Condition> const& list() const noexcept { return conditions; }
    /// The outcomes of the whole text.
    Outcomes const& outcomes() const noexcept { return all.back(); }

private:
    /// How a node takes part in the search.
    enum class Role : std::uint8_t {
        Unused,     ///< part of a sub-condition
        Value,      ///< a node whose value counts
        Truth,      ///< an operator that combines sub-conditions, and whose truth counts
        Condition   ///< a sub-condition
    };

    void assignRoles();
    void findConditions();
    void combine();
    Outcomes outcomesOf(std::uint32_t node);
    bool hasSymbol(std::uint32_t node) const noexcept { return symbols[node]; }
    gel::Value const& valueOf(std::uint32_t node);
    gel::Tree::Node const& at(std::uint32_t node) const noexcept { return tree.nodes()[node]; }

    gel::Tree const& tree;
    std::span<std::optional<gel::Value> const> values;
    std::vector<std::optional<gel::Value>> known;   // those, and the values of skipped nodes that were needed here
    gel::DataSource const& source;
    host::Meanings::Numbers const& normal;
    std::vector<bool> symbols;            // by node: whether it reads a symbol
    std::vector<Role> roles;              // by node
    std::vector<std::uint32_t> numbers;   // by node: the number of its sub-condition
    std::vector<Explanation::Condition> conditions;
    std::vector<Outcomes> all;   // by node
    Effort effort;
};

}   // namespace studio::inspect::detail

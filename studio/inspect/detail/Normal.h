#pragma once

#include "gel/Tree.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace studio::inspect::detail {

/// Numbers for the meanings of sub-expressions (hash consing): two nodes have the same number if they differ only in
/// spacing, parentheses, the spelling of names and operators, doubled `!`, the sides of `==`, or in which side of a
/// comparison stands left. Numbers of one table may be compared with each other.
class Normal {
public:
    /// Numbers new meanings from where `known` ends, and known ones as `known` does. *Lifetime*: refers to `known`.
    explicit Normal(Normal const* known = nullptr) noexcept;

    /// The meanings of the nodes of one tree.
    struct Numbers {
        /// Of each node as a condition: twice the number of what must hold, plus 1 if it must not.
        std::vector<std::uint32_t> truth;
        /// Of each node as a value.
        std::vector<std::uint32_t> value;
    };
    /// Numbers all nodes of a tree. *Cost*: linear.
    Numbers add(gel::Tree const& tree);

private:
    std::uint32_t numberOf(std::string key);

    Normal const* base;
    std::uint32_t first;   // the number of the first meaning that the base does not know
    std::unordered_map<std::string, std::uint32_t> numbers;
};

}   // namespace studio::inspect::detail

#pragma once

#include "gel/Tree.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace studio::inspect::detail {

/// Numbers for the meanings of sub-expressions (hash consing): two nodes have the same number if they differ only in
/// spacing, parentheses, the spelling of names and operators, doubled `!`, or the sides of a comparison. Numbers of one
/// table may be compared with each other.
class Normal {
public:
    /// Reuses the numbers of meanings in `known`, and numbers new ones after them. *Lifetime*: refers to `known`.
    explicit Normal(Normal const* known = nullptr) noexcept;

    /// The meanings of the nodes of one tree.
    struct Numbers {
        /// By node, as a condition: twice the number of its meaning, plus 1 if it is negated.
        std::vector<std::uint32_t> truth;
        /// By node, as a value: the number of its meaning.
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

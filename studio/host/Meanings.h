#pragma once

#include "gel/Tree.h"
#include "studio/host/Export.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace studio::host {

/// Numbers for the meanings of sub-expressions: two nodes have the same number if they differ only in spacing,
/// parentheses, the spelling of names and operators, doubled `!`, or the sides of a comparison. For tools that compare
/// expressions by what they say. Numbers of one table, and of tables that extend it, may be compared with each other.
class STUDIO_HOST_EXPORT Meanings {
public:
    /// The meanings of the nodes of one tree.
    struct Numbers {
        /// By node, as a condition: twice the number of its meaning, plus 1 if it is negated.
        std::vector<std::uint32_t> truth;
        /// By node, as a value: the number of its meaning.
        std::vector<std::uint32_t> value;
    };

    /// A table that reuses the numbers in `known`, which stays as it is, and numbers other meanings after them.
    /// *Lifetime*: refers to `known`, which must not get further numbers meanwhile.
    explicit Meanings(Meanings const* known = nullptr) noexcept;

    /// Returns the numbers of all nodes of a tree, in their order. *Cost*: linear; a hash look-up per node, and an
    /// allocation for each new meaning.
    Numbers add(gel::Tree const& tree);

private:
    STUDIO_DATA_LOCAL std::uint32_t numberOf(std::string key);

    Meanings const* base;
    std::uint32_t first;   // the number of the first meaning that the base does not know
    std::unordered_map<std::string, std::uint32_t> numbers;
};

}   // namespace studio::host

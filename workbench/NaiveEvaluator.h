#pragma once

#include "gel/Tree.h"
#include "gel/Value.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace workbench {

/// A second implementation of evaluation, against which the library is checked: it reads the rules of the language off
/// the tree, one value at a time. It shares with the library the trees and, one operation at a time, functions,
/// patterns and the text of fractions. Serves one evaluation.
class NaiveEvaluator {
public:
    using LookUp = std::function<gel::Value(std::string const& symbol)>;

    explicit NaiveEvaluator(LookUp lookUp) : lookUp{std::move(lookUp)} {}

    gel::Value evaluate(gel::Tree const& tree);

    /// The value of each node of the tree, empty for one that was not needed.
    std::vector<std::optional<gel::Value>> const& values() const noexcept { return found; }
    /// The symbols that were looked up, in order and each once.
    std::vector<std::string> const& symbols() const noexcept { return asked; }

private:
    using Node = gel::Tree::Node;

    gel::Value valueOf(std::uint32_t index);
    gel::Value applied(Node const& node, gel::Value left);
    gel::Value fetched(std::string const& symbol);

    LookUp lookUp;
    gel::Tree const* evaluated = nullptr;
    std::vector<std::optional<gel::Value>> found;
    std::map<std::string, gel::Value> known;
    std::vector<std::string> asked;
};

}   // namespace workbench

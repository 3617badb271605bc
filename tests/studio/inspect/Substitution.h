#pragma once

#include "gel/Eval.h"
#include "studio/data/ContextProvider.h"
#include "studio/inspect/Explanation.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// An oracle for explanations: sub-conditions are replaced by logicals in the text itself.
namespace inspect_test {

using studio::inspect::Explanation;
using Set = std::vector<std::uint32_t>;

/// Reads properties through a provider.
class ProviderSource final : public gel::DataSource {
public:
    explicit ProviderSource(studio::data::ContextProvider const& read) : provider{read} {}
    gel::Value lookup(std::string const& symbol) const override
    {
        studio::data::PropertyValue const value = provider.getPropertyValue(symbol);
        if (value.isDouble())
            return value.getDouble() == value.getDouble() ? gel::Value{value.getDouble()} : gel::Value{};
        if (value.isLogical())
            return value.getBool();
        return value.isUndefined() ? gel::Value{} : gel::Value{value.isUUID() ? value.asString() : value.getString()};
    }

private:
    studio::data::ContextProvider const& provider;
};

/// Returns the text with the opposite truth in place of each sub-condition of `set`.
inline std::string substituted(Explanation const& explanation, Set const& set)
{
    std::map<std::size_t, std::pair<std::size_t, bool>> places;
    for (std::uint32_t const number : set)
        for (std::uint32_t const index : explanation.conditions[number].nodes) {
            gel::Tree::Node const& node = explanation.tree.nodes()[index];
            bool const isNegated = node.name == "!=" || node.name == "not in";
            places[node.offset] = {node.size, explanation.conditions[number].holds == isNegated};
        }
    std::string text;
    std::size_t from = 0;
    for (auto const& [offset, place] : places) {
        text += explanation.tree.text().substr(from, offset - from) + (place.second ? "(true)" : "(false)");
        from = offset + place.first;
    }
    return text + explanation.tree.text().substr(from);
}

inline bool changes(Explanation const& explanation, Set const& set, gel::DataSource const& source)
{
    return gel::eval(substituted(explanation, set), source) != explanation.value;
}

/// Tries all sets of sub-conditions, smaller ones first. *Cost*: exponential.
inline std::vector<Set> decidingByTrial(Explanation const& explanation, gel::DataSource const& source)
{
    std::vector<Set> all(1);
    for (std::uint32_t number = 0; number != explanation.conditions.size(); ++number)
        for (std::size_t i = 0, end = all.size(); i != end; ++i) {
            Set more = all[i];
            more.push_back(number);
            all.push_back(std::move(more));
        }
    std::sort(all.begin(), all.end(), [](Set const& left, Set const& right) {
        return left.size() != right.size() ? left.size() < right.size() : left < right;
    });
    std::vector<Set> smallest;
    for (Set const& set : all)
        if (std::none_of(
                smallest.begin(), smallest.end(),
                [&](Set const& part) { return std::includes(set.begin(), set.end(), part.begin(), part.end()); }) &&
            changes(explanation, set, source))
            smallest.push_back(set);
    return smallest;
}

}   // namespace inspect_test

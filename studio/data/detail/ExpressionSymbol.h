#pragma once

#include "studio/data/detail/Epoch.h"

#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>

namespace studio::data {

class Expression;

namespace detail {

struct ExpressionBinding;

/// One symbol of an engine: the expressions that read it, and the bindings of its path. The members that reports and
/// evaluations use come first, in one cache line: in a large system that line is nearly always a cache miss.
struct ExpressionSymbol {
    explicit ExpressionSymbol(std::string_view name) : text{name} {}

    /// The binding of one component of the path.
    struct Leaf {
        ExpressionBinding* binding;
        unsigned long offset;    // of the component, in bytes of the text
        std::size_t backIndex;   // in the binding's `leaves`
    };
    /// The first component of the path that a report touched.
    struct Cut {
        unsigned long offset;
        bool contextExists;   // otherwise the path ends at that leaf
        friend bool operator<(Cut const& left, Cut const& right) noexcept
        {
            return left.offset != right.offset ? left.offset < right.offset : left.contextExists < right.contextExists;
        }
    };

    std::string_view restAt(unsigned long offset) const noexcept
    {
        return {text.data() + offset, text.size() - offset};
    }
    std::string_view componentAt(unsigned long offset) const noexcept
    {
        std::string_view const rest = restAt(offset);
        return rest.substr(0, rest.find('.'));
    }

    boost::container::small_vector<Expression*, 1> readers;   // acquired expressions of `expressions`
    boost::container::small_vector<Leaf, 1> leaves;           // in path order, unless tentative
    Cached<bool> reachesEnd;    // if the leaves were found to be the whole path: the last one is of the last component
    bool isTentative = false;   // bound inside a transaction: if that rolls back, some leaves are of no path
    bool isPartial = false;     // after releaseSymbol: readers that are not in `expressions` are skipped

    std::uint64_t stamp = 0;   // the last report after which it must be rebound
    Cut cut{};                 // where that report cuts the path
    std::string const text;
    std::unordered_set<std::string> expressions;   // texts for which it was acquired
};

}   // namespace detail
}   // namespace studio::data

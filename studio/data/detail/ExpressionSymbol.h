#pragma once

#include "studio/data/model/PropertyImpl.h"

#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>

namespace studio::data {

class Expression;

namespace detail {

struct ExpressionPlace;

/// One symbol of an engine: the expressions that read it, and the bindings of its path. The members that reports and
/// evaluations use come first, in one cache line: in a large system that line is nearly always a cache miss.
struct ExpressionSymbol {
    explicit ExpressionSymbol(std::string_view name) : text{name} {}

    /// The binding of one component of the path.
    struct Leaf {
        ExpressionPlace* place;
        unsigned long offset;   // of the component, in bytes of the text
        std::size_t at;         // index in the place's `leaves`
    };
    /// The first component of the path that a report touched.
    struct Cut {
        unsigned long offset;
        bool keepsLeaf;   // its leaf stays bound: the context still exists
        friend bool operator<(Cut const& left, Cut const& right) noexcept
        {
            return left.offset != right.offset ? left.offset < right.offset : left.keepsLeaf < right.keepsLeaf;
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
    boost::container::small_vector<Leaf, 1> leaves;           // in path order, unless provisional
    std::uint64_t epoch = 0;    // PathEpoch in which the leaves were found to be the whole path
    bool reachesEnd = false;    // the whole path then had a leaf of the last component
    bool provisional = false;   // bound inside a transaction: if that rolls back, some paths never existed
    bool isPartial = false;     // after releaseSymbol: readers that are not in `expressions` are skipped

    std::uint64_t stamp = 0;   // the last report after which it must be rebound
    Cut cut{};                 // where that report cuts the path
    std::string const text;
    std::unordered_set<std::string> expressions;   // texts for which it was acquired
};

}   // namespace detail
}   // namespace studio::data

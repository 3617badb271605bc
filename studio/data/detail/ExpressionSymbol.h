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

/// One symbol of an engine: the expressions that read it, and the bindings of its path. What a report and an evaluation
/// touch comes first, in one cache line: in a large system it is nearly always far away.
struct ExpressionSymbol {
    explicit ExpressionSymbol(std::string_view name) : text{name} {}

    /// A step of the path.
    struct Leaf {
        ExpressionPlace* place;
        unsigned long offset;   // in the text, of the component
        std::size_t at;         // among the leaves of the place
    };
    /// The first place of the path that a report touched.
    struct Cut {
        unsigned long offset;
        bool keepsLeaf;   // the leaf there stays: its context does
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

    boost::container::small_vector<Expression*, 1> readers;   // the acquired ones of `expressions`
    boost::container::small_vector<Leaf, 1> leaves;           // in the order of the path, unless provisional
    std::uint64_t epoch = 0;    // in which the leaves were found to be the whole path; see PathEpoch
    bool reachesEnd = false;    // they were: the last leaf is of the last component
    bool provisional = false;   // bound inside a transaction: the leaves may be of paths that never were
    bool isPartial = false;     // released by hand for an expression that reads it

    std::uint64_t stamp = 0;   // the last report after which it has to be bound anew
    Cut cut{};                 // where that report cuts the path
    std::string const text;
    std::unordered_set<std::string> expressions;   // the texts that it was acquired for
};

}   // namespace detail
}   // namespace studio::data

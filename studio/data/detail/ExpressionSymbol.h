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

/// One symbol of an engine: who reads it, which properties its path goes through, and where it ends. What a report and
/// an evaluation touch comes first, in one cache line: in a large system it is nearly always far away.
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

    std::string_view componentAt(unsigned long offset) const noexcept
    {
        std::string_view const rest{text.data() + offset, text.size() - offset};
        return rest.substr(0, rest.find('.'));
    }

    boost::container::small_vector<Expression*, 1> readers;   // that are whole and not retired
    // What an evaluation reads: good for as long as the model's structure is the one that it was found in, or the
    // engine's trail leads on from there.
    Property::Impl const* end = nullptr;
    std::uint64_t endStructure = 0;
    bool provisional = false;   // bound inside a transaction: the leaves may be of paths that never were
    bool isCovered = false;     // the leaves are on every step of the path: where it leads changes with a touch only

    std::uint64_t stamp = 0;   // the last report after which it has to be bound anew
    Cut cut{};                 // where that report cuts the path
    std::string const text;
    boost::container::small_vector<Leaf, 1> leaves;   // in the order of the path, unless provisional
    std::unordered_set<std::string> expressions;      // the texts that name it
};

}   // namespace detail
}   // namespace studio::data

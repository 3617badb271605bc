#pragma once

#include "gel/Value.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <utility>
#include <vector>

namespace studio::inspect::detail {

/// A conjunction: an outcome is reached if the sub-conditions in `opposite` have their opposite truths and those in
/// `kept` keep theirs. Both are ascending.
struct Term {
    std::vector<std::uint32_t> opposite;
    std::vector<std::uint32_t> kept;   // only sub-conditions that the text repeats

    bool empty() const noexcept { return opposite.empty() && kept.empty(); }
};

/// A disjunction of terms.
using Terms = std::vector<Term>;

/// The values that an expression may have when sub-conditions have the opposite of their present truth: each value with
/// the terms that lead to it. This is a disjunctive normal form over the sub-conditions; the smallest sets that lead to
/// a value are among the sets of opposite truths of its terms.
class Outcomes {
public:
    /// The number of terms at which a disjunction is cut to its smallest ones.
    static constexpr std::size_t MOST_TERMS = 1'024;

    /// The outcomes of a node that depends on no sub-condition.
    static Outcomes fixed(gel::Value value);
    /// The outcomes of the sub-condition `number`, whose truth is now `holds`.
    static Outcomes condition(std::uint32_t number, bool holds, bool isRepeated);

    static Outcomes conjunction(Outcomes left, Outcomes right);
    static Outcomes disjunction(Outcomes left, Outcomes right);
    static Outcomes negation(Outcomes operand);
    static Outcomes choice(Outcomes condition, Outcomes ifTrue, Outcomes ifFalse);
    /// The outcomes of any other operator; `apply` returns its value for values of its operands.
    static Outcomes operation(std::span<Outcomes> operands,
                              std::function<gel::Value(std::span<gel::Value const>)> const& apply);

    /// Returns the minimal sets of sub-conditions whose opposite truths lead to another value than `value`; smaller
    /// sets first.
    std::vector<std::vector<std::uint32_t>> setsThatChange(gel::Value const& value) const;
    /// False if terms were left out.
    bool isComplete() const noexcept { return complete; }

private:
    /// Moves out the terms of all values whose truth is `logical`.
    Terms take(bool logical);
    void add(gel::Value const& value, Terms terms);
    static Terms both(Terms left, Terms right, bool& complete);
    static void limit(Terms& terms, std::size_t most, bool& complete);

    std::vector<std::pair<gel::Value, Terms>> values;
    bool complete = true;
};

}   // namespace studio::inspect::detail

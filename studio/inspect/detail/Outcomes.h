#pragma once

#include "gel/Value.h"

#include <algorithm>
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

/// What may still be spent on exact outcomes: terms that are made and comparisons of terms. When it is spent the limits
/// are narrow, and an explanation of any text ends in time.
struct Effort {
    std::size_t left = 2'000'000;

    void spend(std::size_t steps) noexcept { left -= std::min(left, steps); }
    /// The number of terms at which a disjunction is cut to its smallest ones.
    std::size_t mostTerms() const noexcept { return left != 0 ? 1'024 : 16; }
};

/// The values that an expression may have when sub-conditions have the opposite of their present truth: each value with
/// the terms that lead to it. This is a disjunctive normal form over the sub-conditions; the smallest sets that lead to
/// a value are among the sets of opposite truths of its terms.
class Outcomes {
public:
    /// The largest number of sets that an explanation has.
    static constexpr std::size_t MOST_SETS = 1'024;

    /// The outcomes of what does not depend on any sub-condition; incomplete if that was only assumed.
    static Outcomes fixed(gel::Value value, bool isComplete = true);
    /// The outcomes of the sub-condition `number`, whose truth is now `holds`.
    static Outcomes condition(std::uint32_t number, bool holds, bool isRepeated);

    static Outcomes conjunction(Outcomes left, Outcomes right, Effort& effort);
    static Outcomes disjunction(Outcomes left, Outcomes right, Effort& effort);
    static Outcomes negation(Outcomes operand);
    static Outcomes choice(Outcomes condition, Outcomes ifTrue, Outcomes ifFalse, Effort& effort);
    /// The outcomes of any other operator; `apply` returns its value for values of its operands.
    static Outcomes operation(std::span<Outcomes> operands,
                              std::function<gel::Value(std::span<gel::Value const>)> const& apply, Effort& effort);

    /// Returns the minimal sets of sub-conditions whose opposite truths lead to another value than `value`; smaller
    /// sets first.
    std::vector<std::vector<std::uint32_t>> setsThatChange(gel::Value const& value) const;
    /// The sets of sub-conditions whose opposite truths lead to a value of that truth; otherwise as `setsThatChange`.
    std::vector<std::vector<std::uint32_t>> setsThatMake(bool truth) const;
    /// False if terms were left out.
    bool isComplete() const noexcept { return complete; }

private:
    template <class IsWanted>
    std::vector<std::vector<std::uint32_t>> smallestSets(IsWanted const& isWanted) const;
    /// Moves out the terms of all values whose truth is `logical`.
    Terms take(bool logical);
    void add(gel::Value const& value, Terms terms, Effort& effort);
    static Terms both(Terms left, Terms right, Effort& effort, bool& complete);
    static void limit(Terms& terms, std::size_t most, Effort& effort, bool& complete);

    std::vector<std::pair<gel::Value, Terms>> values;
    bool complete = true;
};

}   // namespace studio::inspect::detail

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace studio::commands::detail {

/// A logical variable or its negation: twice the number of the variable, plus 1 if it is negated.
using Literal = std::uint32_t;

/// A conjunction of clauses, each a disjunction of literals, and a search for truths that satisfy it.
class Clauses {
public:
    /// Returns a new variable.
    Literal variable();
    /// Adds a clause. Its literals are of different variables.
    void add(std::span<Literal const> literals);

    /// True if no truths satisfy all clauses, and this was found with an effort in proportion to their size (unit
    /// propagation with backtracking).
    bool areUnsatisfiable();

private:
    enum class Truth : std::uint8_t { Unknown, False, True };
    struct Clause {
        std::size_t begin;   // in `pool`; the first two literals are watched
        std::size_t size;
        std::size_t next = 2;   // index of the literal that is tried next as a watched one
    };
    struct Decision {
        std::size_t trail;   // the length of the trail before
        Literal literal;
        bool isSecond;   // the opposite has been tried
    };

    Truth of(Literal literal) const noexcept;
    bool isSatisfied(Clause const& clause) const noexcept;
    void assume(Literal literal);
    bool propagate();
    bool visit(Literal falsified);
    bool decide();
    bool backtrack();

    std::vector<Literal> pool;
    std::vector<Clause> clauses;
    std::vector<Literal> units;
    std::vector<std::vector<std::uint32_t>> watches;   // by literal: the clauses that watch it
    std::vector<Truth> truths;                         // by variable
    std::vector<Literal> trail;                        // what was assumed or follows, in order
    std::size_t propagated = 0;                        // of the trail
    std::vector<Decision> decisions;
    std::size_t effort = 0;   // what may still be spent
    bool isContradiction = false;
};

}   // namespace studio::commands::detail

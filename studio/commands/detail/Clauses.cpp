#include "studio/commands/detail/Clauses.h"

#include <algorithm>
#include <utility>

namespace studio::commands::detail {

Literal Clauses::variable()
{
    truths.push_back(Truth::Unknown);
    watches.resize(2 * truths.size());
    return static_cast<Literal>(2 * (truths.size() - 1));
}

void Clauses::add(std::span<Literal const> literals)
{
    if (literals.size() < 2) {
        isContradiction |= literals.empty();
        units.insert(units.end(), literals.begin(), literals.end());
        return;
    }
    for (std::size_t i = 0; i != 2; ++i)
        watches[literals[i]].push_back(static_cast<std::uint32_t>(clauses.size()));
    clauses.push_back({pool.size(), literals.size()});
    pool.insert(pool.end(), literals.begin(), literals.end());
}

bool Clauses::areUnsatisfiable()
{
    effort = 20'000 + 64 * pool.size();
    for (Literal const unit : units) {
        if (of(unit) == Truth::False)
            isContradiction = true;
        else if (of(unit) == Truth::Unknown)
            assume(unit);
    }
    if (isContradiction)
        return true;
    while (effort != 0) {
        if (!propagate()) {
            if (!backtrack())
                return true;
        } else if (effort == 0 || !decide()) {   // without all that follows, a clause may have false literals alone
            return false;
        }
    }
    return false;
}

Clauses::Truth Clauses::of(Literal literal) const noexcept
{
    Truth const truth = truths[literal / 2];
    if (truth == Truth::Unknown || literal % 2 == 0)
        return truth;
    return truth == Truth::True ? Truth::False : Truth::True;
}

bool Clauses::isSatisfied(Clause const& clause) const noexcept
{
    return std::any_of(pool.begin() + static_cast<std::ptrdiff_t>(clause.begin),
                       pool.begin() + static_cast<std::ptrdiff_t>(clause.begin + clause.size),
                       [this](Literal literal) { return of(literal) == Truth::True; });
}

void Clauses::assume(Literal literal)
{
    truths[literal / 2] = literal % 2 == 0 ? Truth::True : Truth::False;
    trail.push_back(literal);
}

/// Assumes what follows from the trail, as far as the effort allows. Returns false for a contradiction.
bool Clauses::propagate()
{
    while (propagated != trail.size() && effort != 0)
        if (!visit(trail[propagated++] ^ 1U))
            return false;
    return true;
}

/// Finds another literal to watch for each clause that watches one which became false. A clause without one has a
/// single literal left, which has to hold, or none.
bool Clauses::visit(Literal falsified)
{
    std::vector<std::uint32_t>& watching = watches[falsified];
    std::size_t kept = 0;
    bool holds = true;
    for (std::size_t i = 0; i != watching.size(); ++i) {
        Clause& clause = clauses[watching[i]];
        Literal* const literals = pool.data() + clause.begin;
        if (literals[0] == falsified)
            std::swap(literals[0], literals[1]);
        std::size_t steps = 2;
        for (; steps != clause.size && of(literals[clause.next]) == Truth::False; ++steps)
            clause.next = clause.next + 1 == clause.size ? 2 : clause.next + 1;
        effort -= std::min(effort, steps);
        bool const hasOther = steps != clause.size;
        if (holds && hasOther && of(literals[0]) != Truth::True) {
            std::swap(literals[1], literals[clause.next]);
            watches[literals[1]].push_back(watching[i]);   // another list: that literal is not false
            continue;
        }
        watching[kept++] = watching[i];
        if (!hasOther && of(literals[0]) == Truth::Unknown)
            assume(literals[0]);
        else if (!hasOther && of(literals[0]) == Truth::False)
            holds = false;
    }
    watching.resize(kept);
    return holds;
}

/// Assumes a literal of a clause that nothing satisfies yet. Returns false if there is no such clause.
bool Clauses::decide()
{
    for (Clause const& clause : clauses) {
        effort -= std::min(effort, clause.size);
        if (isSatisfied(clause))
            continue;
        auto const begin = pool.begin() + static_cast<std::ptrdiff_t>(clause.begin);
        Literal const chosen = *std::find_if(begin, begin + static_cast<std::ptrdiff_t>(clause.size),
                                             [this](Literal literal) { return of(literal) == Truth::Unknown; });
        decisions.push_back({trail.size(), chosen, false});
        assume(chosen);
        return true;
    }
    return false;
}

/// Takes the last decision back that has not been tried both ways, and assumes its opposite. Returns false if there is
/// none.
bool Clauses::backtrack()
{
    while (!decisions.empty()) {
        Decision& last = decisions.back();
        for (; trail.size() != last.trail; trail.pop_back())
            truths[trail.back() / 2] = Truth::Unknown;
        propagated = trail.size();
        if (!last.isSecond) {
            last.isSecond = true;
            assume(last.literal ^ 1U);
            return true;
        }
        decisions.pop_back();
    }
    return false;
}

}   // namespace studio::commands::detail

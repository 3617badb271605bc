#include "studio/inspect/detail/Outcomes.h"

#include "studio/inspect/detail/Values.h"

#include <algorithm>
#include <iterator>

namespace studio::inspect::detail {

namespace {

using Numbers = std::vector<std::uint32_t>;

bool isSubset(Numbers const& part, Numbers const& whole)
{
    return part.size() <= whole.size() && std::includes(whole.begin(), whole.end(), part.begin(), part.end());
}

bool intersect(Numbers const& left, Numbers const& right)
{
    for (auto a = left.begin(), b = right.begin(); a != left.end() && b != right.end();) {
        if (*a == *b)
            return true;
        *a < *b ? ++a : ++b;
    }
    return false;
}

/// Merges the ascending numbers `more` into ascending ones. Usually they are all greater.
void unite(Numbers& numbers, Numbers const& more)
{
    auto const middle = static_cast<std::ptrdiff_t>(numbers.size());
    bool const isSorted = numbers.empty() || more.empty() || numbers.back() < more.front();
    numbers.insert(numbers.end(), more.begin(), more.end());
    if (isSorted)
        return;
    std::inplace_merge(numbers.begin(), numbers.begin() + middle, numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
}

bool isSmaller(Numbers const& left, Numbers const& right)
{
    return left.size() != right.size() ? left.size() < right.size() : left < right;
}

}   // namespace

Outcomes Outcomes::fixed(gel::Value value, bool isComplete)
{
    Outcomes result;
    result.complete = isComplete;
    result.values.emplace_back(std::move(value), Terms{Term{}});
    return result;
}

Outcomes Outcomes::condition(std::uint32_t number, bool holds, bool isRepeated)
{
    Outcomes result;
    result.values.emplace_back(holds, Terms{Term{{}, isRepeated ? Numbers{number} : Numbers{}}});
    result.values.emplace_back(!holds, Terms{Term{{number}, {}}});
    return result;
}

Outcomes Outcomes::conjunction(Outcomes left, Outcomes right, Effort& effort)
{
    Outcomes result;
    result.complete = left.complete && right.complete;
    Terms none = left.take(false);
    for (Term& term : right.take(false))
        none.push_back(std::move(term));
    result.add(false, std::move(none), effort);
    result.add(true, both(left.take(true), right.take(true), effort, result.complete), effort);
    return result;
}

Outcomes Outcomes::disjunction(Outcomes left, Outcomes right, Effort& effort)
{
    return negation(conjunction(negation(std::move(left)), negation(std::move(right)), effort));
}

Outcomes Outcomes::negation(Outcomes operand)
{
    for (auto& [value, terms] : operand.values)
        value = !truthOf(value);
    return operand;
}

Outcomes Outcomes::choice(Outcomes condition, Outcomes ifTrue, Outcomes ifFalse, Effort& effort)
{
    Outcomes result;
    result.complete = condition.complete && ifTrue.complete && ifFalse.complete;
    for (bool const holds : {true, false}) {
        Terms const taken = condition.take(holds);
        for (auto& [value, terms] : (holds ? ifTrue : ifFalse).values)
            result.add(value, both(taken, std::move(terms), effort, result.complete), effort);
    }
    return result;
}

Outcomes Outcomes::operation(std::span<Outcomes> operands,
                             std::function<gel::Value(std::span<gel::Value const>)> const& apply, Effort& effort)
{
    Outcomes result;
    std::vector<std::size_t> chosen(operands.size());   // counts through all combinations of values
    for (std::size_t combinations = 0;; ++combinations) {
        std::vector<gel::Value> given;
        Terms terms{Term{}};
        for (std::size_t operand = 0; operand != operands.size(); ++operand) {
            auto const& [value, its] = operands[operand].values[chosen[operand]];
            given.push_back(value);
            terms = both(std::move(terms), its, effort, result.complete);
        }
        if (!terms.empty())
            result.add(apply(given), std::move(terms), effort);
        std::size_t digit = 0;
        while (digit != chosen.size() && ++chosen[digit] == operands[digit].values.size())
            chosen[digit++] = 0;
        if (digit == chosen.size())
            break;
        effort.spend(64 * operands.size());
        if (combinations >= effort.mostTerms()) {
            result.complete = false;
            break;
        }
    }
    for (Outcomes const& operand : operands)
        result.complete = result.complete && operand.complete;
    return result;
}

std::vector<Numbers> Outcomes::setsThatChange(gel::Value const& value) const
{
    return smallestSets([&](gel::Value const& other) { return other != value; });
}

std::vector<Numbers> Outcomes::setsThatMake(bool truth) const
{
    return smallestSets([&](gel::Value const& other) { return truthOf(other) == truth; });
}

template <class IsWanted>
std::vector<Numbers> Outcomes::smallestSets(IsWanted const& isWanted) const
{
    std::vector<Numbers> sets;
    for (auto const& [value, terms] : values)
        if (isWanted(value))
            for (Term const& term : terms)
                sets.push_back(term.opposite);
    std::sort(sets.begin(), sets.end(), isSmaller);
    std::vector<Numbers> smallest;   // one more than an explanation has, as a sign that there are more
    for (Numbers& set : sets)
        if (smallest.size() <= MOST_SETS &&
            std::none_of(smallest.begin(), smallest.end(), [&](Numbers const& other) { return isSubset(other, set); }))
            smallest.push_back(std::move(set));
    return smallest;
}

Terms Outcomes::take(bool logical)
{
    Terms taken;
    for (auto& [value, terms] : values)
        if (truthOf(value) == logical) {
            taken.insert(taken.end(), std::make_move_iterator(terms.begin()), std::make_move_iterator(terms.end()));
            terms.clear();
        }
    return taken;
}

void Outcomes::add(gel::Value const& value, Terms terms, Effort& effort)
{
    auto found = std::find_if(values.begin(), values.end(), [&](auto const& entry) { return entry.first == value; });
    if (found == values.end()) {
        if (values.size() >= effort.mostTerms()) {
            complete = false;
            return;
        }
        found = values.emplace(found, value, Terms{});
    }
    effort.spend(values.size() + terms.size());
    Terms& all = found->second;
    all.insert(all.end(), std::make_move_iterator(terms.begin()), std::make_move_iterator(terms.end()));
    if (auto const trivial = std::find_if(all.begin(), all.end(), [](Term const& term) { return term.empty(); });
        trivial != all.end())
        all = {Term{}};                        // it implies all others
    if (all.size() > 2 * effort.mostTerms())   // amortizes the cost: not after each term
        limit(all, effort.mostTerms(), effort, complete);
}

Terms Outcomes::both(Terms left, Terms right, Effort& effort, bool& complete)
{
    if (left.size() == 1 && left.front().empty())
        return right;
    if (right.size() == 1 && right.front().empty())
        return left;
    std::size_t const most = effort.left != 0 ? 128 : 4;   // the pairwise comparison is quadratic
    effort.spend(4 * std::min(left.size() * right.size(), most * most));
    if (left.size() * right.size() > most * most) {
        limit(left, std::max(most, most * most / right.size()), effort, complete);
        limit(right, std::max<std::size_t>(1, most * most / left.size()), effort, complete);
    }
    Terms result;
    for (Term& a : left)
        for (Term const& b : right)
            if (!intersect(a.opposite, b.kept) && !intersect(a.kept, b.opposite)) {
                result.push_back(&b == &right.back() ? std::move(a) : a);
                unite(result.back().opposite, b.opposite);
                unite(result.back().kept, b.kept);
            }
    limit(result, effort.mostTerms(), effort, complete);
    return result;
}

void Outcomes::limit(Terms& terms, std::size_t most, Effort& effort, bool& complete)
{
    if (terms.size() <= most)
        return;
    std::sort(terms.begin(), terms.end(), [](Term const& left, Term const& right) {
        return left.opposite != right.opposite ? isSmaller(left.opposite, right.opposite)
                                               : isSmaller(left.kept, right.kept);
    });
    Terms smallest;   // without those that another one implies
    for (Term& term : terms) {
        if (smallest.size() == most) {
            complete = false;
            break;
        }
        effort.spend(smallest.size());
        if (std::none_of(smallest.begin(), smallest.end(), [&](Term const& other) {
                return isSubset(other.opposite, term.opposite) && isSubset(other.kept, term.kept);
            }))
            smallest.push_back(std::move(term));
    }
    terms = std::move(smallest);
}

}   // namespace studio::inspect::detail

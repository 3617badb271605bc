#include "studio/commands/Implication.h"

#include "gel/Tree.h"
#include "studio/commands/detail/Clauses.h"
#include "studio/host/Meanings.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

namespace studio::commands {

using detail::Literal;
using gel::Tree;
using Kind = Tree::Kind;

namespace {

/// Says in clauses what conditions are made of. Equal parts of all conditions have the same literal.
class Formula {
public:
    /// Adds a condition, and returns its literal.
    Literal add(std::string const& text)
    {
        Tree const tree{text};
        host::Meanings::Numbers const numbers = meanings.add(tree);
        Reading reading{tree, numbers, {}};
        for (std::uint32_t node = 0; node != tree.nodes().size(); ++node)
            reading.parts.push_back(partOf(reading, node));
        return literalOf(reading.parts.back());
    }

    /// True if no truths of the parts make `literal` hold and `other` not.
    bool isImplication(Literal literal, Literal other)
    {
        clause({always()});
        clause({literal});
        clause({other ^ 1U});
        return clauses.areUnsatisfiable();
    }

private:
    /// A conjunction, or the negation of one. That of a single literal is this literal.
    struct Part {
        std::vector<Literal> literals;
        bool isNegated = false;
    };
    struct Reading {
        Tree const& tree;
        host::Meanings::Numbers const& numbers;
        std::vector<Part> parts;   // by node; a part is moved into that of its operator
    };

    void clause(std::initializer_list<Literal> literals) { clauses.add({literals.begin(), literals.size()}); }

    /// The literal that always holds.
    Literal always() { return literalFor(atoms, ~std::uint32_t{0}); }
    template <class Map, class Key>
    Literal literalFor(Map& known, Key const& key)
    {
        auto const [place, isNew] = known.try_emplace(key);
        if (isNew)
            place->second = clauses.variable();
        return place->second;
    }

    static Part negated(Part part)
    {
        if (part.literals.size() == 1)
            part.literals.front() ^= 1U;
        else
            part.isNegated = !part.isNegated;
        return part;
    }

    Part both(Part left, Part right)
    {
        for (Part* const each : {&left, &right})
            if (each->isNegated)
                *each = {{literalOf(*each)}};
        if (left.literals.size() < right.literals.size())
            left.literals.swap(right.literals);
        left.literals.insert(left.literals.end(), right.literals.begin(), right.literals.end());
        return left;
    }
    Part either(Part left, Part right) { return negated(both(negated(std::move(left)), negated(std::move(right)))); }

    /// The literal of a part: that of a conjunction has clauses which say so.
    Literal literalOf(Part& part)
    {
        std::vector<Literal>& all = part.literals;
        std::sort(all.begin(), all.end());
        all.erase(std::unique(all.begin(), all.end()), all.end());
        auto const isOpposite = [](Literal left, Literal right) { return (left ^ 1U) == right; };
        Literal const negation = part.isNegated ? 1 : 0;
        if (std::adjacent_find(all.begin(), all.end(), isOpposite) != all.end())
            return always() ^ 1U ^ negation;
        if (all.size() == 1)
            return all.front() ^ negation;
        auto const [place, isNew] = conjunctions.try_emplace(all);
        if (isNew) {
            Literal const whole = place->second = clauses.variable();
            std::vector<Literal> reverse{whole};
            for (Literal const each : all) {
                clause({whole ^ 1U, each});
                reverse.push_back(each ^ 1U);
            }
            clauses.add(reverse);
        }
        return place->second ^ negation;
    }

    Part partOf(Reading& reading, std::uint32_t index)
    {
        Tree::Node const& node = reading.tree.nodes()[index];
        auto const operand = [&](std::size_t part) { return std::move(reading.parts[node.parts[part]]); };
        switch (node.kind) {
        case Kind::Not: return negated(operand(0));
        case Kind::And: return both(operand(0), operand(1));
        case Kind::Or: return either(operand(0), operand(1));
        case Kind::Conditional: {
            Part condition = operand(0);
            Literal const chosen = literalOf(condition);
            return either(both({{chosen}}, operand(1)), both({{chosen ^ 1U}}, operand(2)));
        }
        case Kind::Equal:
        case Kind::In: return {equalToAny(reading, node)};
        case Kind::NotEqual:
        case Kind::NotIn: return negated(equalToAny(reading, node));
        case Kind::Constant: return {{always() ^ (isTrue(node.constant) ? 0U : 1U)}};
        default: break;
        }
        std::uint32_t const truth = reading.numbers.truth[index];
        return {{literalFor(atoms, truth / 2) ^ (truth & 1U)}};
    }

    static bool isTrue(gel::Value const& value)
    {
        if (value.isString())
            return !value.getString().empty();
        return !value.isUndefined() && value.getNumeric() != 0;
    }

    Part equalToAny(Reading& reading, Tree::Node const& node)
    {
        std::vector<Literal> none;   // of the equalities holds
        for (std::size_t item = 1; item != node.parts.size(); ++item)
            none.push_back(equal(reading, node.parts[0], node.parts[item]) ^ 1U);
        if (none.empty())
            none.push_back(always());
        Part part{std::move(none), true};
        return {{literalOf(part)}};
    }

    /// The literal of an equality.
    Literal equal(Reading& reading, std::uint32_t left, std::uint32_t right)
    {
        std::vector<std::uint32_t> const& values = reading.numbers.value;
        auto nodes = reading.tree.nodes();
        if (values[left] == values[right])
            return always();
        if (nodes[left].kind == Kind::Constant)
            std::swap(left, right);
        if (nodes[left].kind == Kind::Constant)
            return always() ^ 1U;   // constants with different numbers
        auto const key = std::minmax(values[left], values[right]);
        auto const [place, isNew] = equalities.try_emplace({key.first, key.second});
        if (!isNew)
            return place->second;
        Literal const literal = place->second = clauses.variable();
        if (nodes[right].kind == Kind::Constant)
            addConstant(literal, literalOf(reading.parts[left]), values[left], isTrue(nodes[right].constant));
        return literal;
    }

    /// Says that a value which is equal to a constant is as true as this, and is equal to no other constant.
    void addConstant(Literal equality, Literal truth, std::uint32_t value, bool isTrue)
    {
        clause({equality ^ 1U, truth ^ (isTrue ? 0U : 1U)});
        // A chain of variables, each of which holds if an equality up to its own does.
        auto const [last, isFirst] = equalToEarlier.try_emplace(value);
        Literal const next = clauses.variable();
        clause({equality ^ 1U, next});
        if (!isFirst) {
            clause({last->second ^ 1U, equality ^ 1U});
            clause({last->second ^ 1U, next});
        }
        last->second = next;
    }

    std::unordered_map<std::uint32_t, Literal> atoms;                        // by the number of their meaning
    std::unordered_map<std::uint32_t, Literal> equalToEarlier;               // by the number of a value
    std::map<std::pair<std::uint32_t, std::uint32_t>, Literal> equalities;   // by the numbers of both values
    std::map<std::vector<Literal>, Literal> conjunctions;
    host::Meanings meanings;
    detail::Clauses clauses;
};

}   // namespace

bool implies(std::string const& stronger, std::string const& weaker)
{
    Formula formula;
    Literal const given = formula.add(stronger.empty() ? "true" : stronger);
    Literal const wanted = formula.add(weaker.empty() ? "true" : weaker);
    return formula.isImplication(given, wanted);
}

}   // namespace studio::commands

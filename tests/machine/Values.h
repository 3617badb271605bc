#pragma once

#include "machine/Steps.h"
#include "support/NaiveGel.h"

#include <cmath>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace machine {

/// A context by its creation number; -1 stands for a UUID that no context has.
struct Ref {
    int number;
    friend bool operator==(Ref left, Ref right) { return left.number == right.number; }
};
/// A value, independent of the library.
using Value = std::variant<std::monostate, Ref, double, bool, std::string>;

inline std::string numberText(double number)
{
    return std::isnan(number) ? "nan" : std::to_string(static_cast<long long>(number));
}

/// An expression of a run.
class Tree {
public:
    /// Makes the text determined by `seed`; one in forty does not parse.
    static Tree fromSeed(std::uint64_t seed)
    {
        Dice dice{seed};
        Tree tree;
        tree.expression = dice.oneIn(3) ? random(dice, 2) : list(dice);
        tree.isBroken = dice.oneIn(40);
        return tree;
    }

    std::string text() const { return print(expression).text + (isBroken ? " +" : ""); }
    std::set<std::string> symbols() const
    {
        std::vector<std::string> names;
        expression.collectSymbols(names);
        return {names.begin(), names.end()};
    }
    /// Evaluates; `lookUp` returns the value of a symbol, with a reference as text.
    template <class LookUp>
    Value eval(LookUp const& lookUp) const
    {
        support::naive::Naive naive{[&](std::string const& symbol) -> gel::Value {
            Value const value = lookUp(symbol);
            if (auto const* const text = std::get_if<std::string>(&value))
                return *text;
            if (auto const* const logical = std::get_if<bool>(&value))
                return *logical;
            auto const* const number = std::get_if<double>(&value);
            return number ? gel::Value{*number} : gel::Value{};
        }};
        gel::Value const value = naive.of(expression);
        if (value.isString())
            return value.getString();
        if (value.isLogical())
            return value.getBool();
        return value.isDouble() ? Value{value.getDouble()} : Value{};
    }

    bool isBroken = false;   // does not parse

private:
    using Node = support::naive::Tree;

    static Node text(std::string const& content) { return {"literal", {}, '\'' + content + '\'', content}; }
    static Node symbol(Dice& dice)
    {
        std::string const path = Script::path(dice);
        return {"symbol", {}, path.empty() ? "a" : path};
    }
    /// Makes a text whose value shows every change of its symbols.
    static Node list(Dice& dice)
    {
        Node tree = orDash(dice);
        for (int more = dice.below(3); more != 0; --more)
            tree = {"+", {{"+", {std::move(tree), text(",")}}, orDash(dice)}};
        return tree;
    }
    static Node orDash(Dice& dice) { return {"+", {text(""), {"??", {symbol(dice), text("-")}}}}; }
    static Node random(Dice& dice, int depth)
    {
        static std::vector<std::string> const s_signs{"?:", "&&", "||", "??", "!", "defined", "==", "+", "+"};
        if (depth == 0 || dice.oneIn(5)) {
            int const number = dice.oneIn(5) ? dice.below(3) : -1;
            return number < 0 ? symbol(dice) : Node{"literal", {}, std::to_string(number), number};
        }
        Node tree{dice.pick(s_signs)};
        bool const isUnary = tree.sign == "!" || tree.sign == "defined";
        for (int count = isUnary ? 1 : tree.sign == "?:" ? 3 : 2; count != 0; --count)
            tree.parts.push_back(random(dice, depth - 1));
        return tree;
    }

    Node expression{};
};

}   // namespace machine

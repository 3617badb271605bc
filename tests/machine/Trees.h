#pragma once

#include "machine/Steps.h"

#include <cmath>
#include <functional>
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

/// An expression as a tree: printed for the library, and evaluated here by a second implementation. References are
/// texts.
class Tree {
public:
    using LookUp = std::function<Value(std::string const& symbol)>;

    /// Makes the text determined by `seed`; one in forty does not parse.
    static Tree fromSeed(std::uint64_t seed)
    {
        Dice dice{seed};
        Tree tree = dice.oneIn(3) ? random(dice, 2) : list(dice);
        tree.isBroken = dice.oneIn(40);
        return tree;
    }

    std::string text() const { return print() + (isBroken ? " +" : ""); }
    void symbols(std::set<std::string>& found) const
    {
        if (sign == "symbol")
            found.insert(name);
        for (Tree const& part : parts)
            part.symbols(found);
    }
    Value eval(LookUp const& lookUp) const
    {
        if (sign == "literal")
            return literal;
        if (sign == "symbol") {
            Value value = lookUp(name);
            auto const* const number = std::get_if<double>(&value);
            return number && std::isnan(*number) ? Value{} : value;
        }
        Value const left = parts[0].eval(lookUp);
        if (sign == "?:")
            return parts[truth(left) ? 1 : 2].eval(lookUp);
        if (sign == "&&")
            return truth(left) && truth(parts[1].eval(lookUp));
        if (sign == "||")
            return truth(left) || truth(parts[1].eval(lookUp));
        if (sign == "??")
            return left.index() == 0 ? parts[1].eval(lookUp) : left;
        if (sign == "!")
            return !truth(left);
        if (sign == "defined")
            return left.index() != 0;
        Value const right = parts[1].eval(lookUp);
        return sign == "==" ? Value{left == right} : sum(left, right);
    }

private:
    static Tree leaf(std::string symbol) { return Tree{"symbol", {}, std::move(symbol), {}}; }
    static Tree of(std::string literal) { return Tree{"literal", {}, {}, std::move(literal)}; }

    /// Makes a text whose value shows every change of its symbols.
    static Tree list(Dice& dice)
    {
        Tree tree = orDash(dice);
        for (int more = dice.below(3); more != 0; --more)
            tree = Tree{"+", {Tree{"+", {std::move(tree), of(",")}}, orDash(dice)}};
        return tree;
    }
    static Tree orDash(Dice& dice) { return Tree{"+", {of(""), Tree{"??", {leaf(symbol(dice)), of("-")}}}}; }
    static Tree random(Dice& dice, int depth)
    {
        static std::vector<std::string> const s_signs{"?:", "&&", "||", "??", "!", "defined", "==", "+", "+"};
        if (depth == 0 || dice.oneIn(5))
            return dice.oneIn(5) ? Tree{"literal", {}, {}, static_cast<double>(dice.below(3))} : leaf(symbol(dice));
        Tree tree{dice.pick(s_signs)};
        bool const isUnary = tree.sign == "!" || tree.sign == "defined";
        for (int count = isUnary ? 1 : tree.sign == "?:" ? 3 : 2; count != 0; --count)
            tree.parts.push_back(random(dice, depth - 1));
        return tree;
    }
    static std::string symbol(Dice& dice)
    {
        std::string path = Script::path(dice);
        return path.empty() ? "a" : path;
    }

    std::string print() const
    {
        if (sign == "symbol")
            return '`' + name + '`';
        if (auto const* const text = std::get_if<std::string>(&literal))
            return '\'' + *text + '\'';
        if (sign == "literal")
            return numberText(std::get<double>(literal));
        std::string const first = parts[0].print();
        if (sign == "?:")
            return '(' + first + " ? " + parts[1].print() + " : " + parts[2].print() + ')';
        return parts.size() == 1 ? (sign == "!" ? "(!(" : "(" + sign + '(') + first + "))"
                                 : '(' + first + ' ' + sign + ' ' + parts[1].print() + ')';
    }
    static bool truth(Value const& value)
    {
        if (auto const* const text = std::get_if<std::string>(&value))
            return !text->empty();
        auto const* const number = std::get_if<double>(&value);
        auto const* const logical = std::get_if<bool>(&value);
        return (number && *number != 0) || (logical && *logical);
    }
    static Value sum(Value const& left, Value const& right)
    {
        if (left.index() == 0 || right.index() == 0)
            return {};
        if (left.index() != 4 && right.index() != 4)
            return numeric(left) + numeric(right);
        return plain(left) + plain(right);
    }
    static double numeric(Value const& value)
    {
        auto const* const logical = std::get_if<bool>(&value);
        return logical ? (*logical ? 1 : 0) : std::get<double>(value);
    }
    static std::string plain(Value const& value)
    {
        if (auto const* const text = std::get_if<std::string>(&value))
            return *text;
        auto const* const logical = std::get_if<bool>(&value);
        return logical ? (*logical ? "true" : "false") : numberText(std::get<double>(value));
    }

public:
    std::string sign;   // an operator, "literal" or "symbol"
    std::vector<Tree> parts{};
    std::string name{};   // a symbol's name
    Value literal{};
    bool isBroken = false;   // does not parse
};

}   // namespace machine

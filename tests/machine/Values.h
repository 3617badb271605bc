#pragma once

#include "gel/Eval.h"
#include "gel/Tree.h"
#include "machine/Steps.h"
#include "workbench/NaiveEvaluator.h"

#include <cmath>
#include <optional>
#include <set>
#include <string>
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
class Text {
public:
    /// Makes the text determined by `seed`; one in forty does not parse.
    static Text fromSeed(std::uint64_t seed)
    {
        Dice dice{seed};
        std::string text = dice.oneIn(3) ? random(dice, 2) : list(dice);
        if (dice.oneIn(40))
            return {text + " +", std::nullopt};
        return {text, gel::Tree{text}};
    }

    bool isBroken() const { return !tree; }   // does not parse
    std::set<std::string> symbols() const { return gel::symbols(text); }
    /// Evaluates; `lookUp` returns the value of a symbol, with a reference as text.
    template <class LookUp>
    Value eval(LookUp const& lookUp) const
    {
        workbench::NaiveEvaluator naive{[&](std::string const& symbol) -> gel::Value {
            Value const value = lookUp(symbol);
            if (auto const* const text = std::get_if<std::string>(&value))
                return *text;
            if (auto const* const logical = std::get_if<bool>(&value))
                return *logical;
            auto const* const number = std::get_if<double>(&value);
            return number ? gel::Value{*number} : gel::Value{};
        }};
        gel::Value const value = naive.evaluate(*tree);
        if (value.isString())
            return value.getString();
        if (value.isLogical())
            return value.getBool();
        return value.isDouble() ? Value{value.getDouble()} : Value{};
    }

    std::string text;
    std::optional<gel::Tree> tree;

private:
    static std::string symbol(Dice& dice)
    {
        std::string const path = Script::path(dice);
        bool const isPlain = ('.' + path + '.').find("..") == std::string::npos;
        return path.empty() ? "a" : isPlain ? path : '`' + path + '`';
    }
    /// Makes a text whose value shows every change of its symbols.
    static std::string list(Dice& dice)
    {
        std::string text = orDash(dice);
        for (int more = dice.below(3); more != 0; --more)
            text += " + ',' + " + orDash(dice);
        return text;
    }
    static std::string orDash(Dice& dice) { return "('' + (" + symbol(dice) + " ?? '-'))"; }
    static std::string random(Dice& dice, int depth)
    {
        static std::vector<std::string> const s_signs{"?", "&&", "||", "??", "!", "defined", "==", "+", "+"};
        if (depth == 0 || dice.oneIn(5))
            return dice.oneIn(5) ? std::to_string(dice.below(3)) : symbol(dice);
        std::string const sign = dice.pick(s_signs);
        std::string const first = random(dice, depth - 1);
        if (sign == "!" || sign == "defined")
            return '(' + sign + '(' + first + "))";
        std::string const text = '(' + first + ' ' + sign + ' ' + random(dice, depth - 1);
        return text + (sign == "?" ? " : " + random(dice, depth - 1) : "") + ')';
    }
};

}   // namespace machine

#pragma once

#include "gel/Value.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// A second implementation of the language that shares nothing with the library but the kinds of value.
namespace support::naive {

using gel::Value;

/// An expression: printed for the library, with as few parentheses as the precedence table allows, and evaluated
/// naively.
struct Tree {
    std::string sign;   // an operator, a function, "literal" or "symbol"
    std::vector<Tree> parts{};
    std::string text{};   // of a literal, a pattern; the name of a symbol
    Value value{};        // of a literal

    /// How tightly it binds; 9 is an operand.
    int level() const
    {
        static std::map<std::string, int> const s_levels{{"?:", 1},     {"||", 2}, {"&&", 3}, {"==", 4}, {"!=", 4},
                                                         {"<", 4},      {"<=", 4}, {">", 4},  {">=", 4}, {"in", 4},
                                                         {"not in", 4}, {"=~", 4}, {"??", 5}, {"+", 6},  {"-", 6},
                                                         {"*", 7},      {"/", 7},  {"%", 7},  {"!", 8},  {"neg", 8}};
        auto const found = s_levels.find(sign);
        return found == s_levels.end() ? 9 : found->second;
    }
    bool isMembership() const { return sign == "in" || sign == "not in"; }
    /// True for a symbol that needs no quotes.
    bool isPlain() const
    {
        bool const isWord =
            std::all_of(text.begin(), text.end(), [](char each) { return std::isalpha(each) || each == '.'; });
        return isWord && ('.' + text + '.').find("..") == std::string::npos;
    }
    /// Adds its symbols in the order in which its text names them, each once.
    void collectSymbols(std::vector<std::string>& names) const
    {
        if (sign == "symbol" && std::find(names.begin(), names.end(), text) == names.end())
            names.push_back(text);
        for (Tree const& part : parts)
            part.collectSymbols(names);
    }
};

struct Printed {
    std::string text;
    bool endsNegated = false;   // its last operand has a '!' and no parentheses
};

Printed print(Tree const& tree);

inline std::string printList(Tree const& tree, std::size_t first)
{
    std::string list;
    for (std::size_t index = first; index < tree.parts.size(); ++index)
        list += (index > first ? ", " : "") + print(tree.parts[index]).text;
    return list;
}

inline Printed print(Tree const& tree)
{
    int const level = tree.level();
    // A part that must bind at least as tightly as a level; one of the levels 4 to 7 may follow it.
    auto const part = [&](std::size_t index, int atLeast, bool operatorFollows = false) {
        Printed const printed = print(tree.parts[index]);
        bool const needsThem = tree.parts[index].level() < atLeast || (operatorFollows && printed.endsNegated);
        return needsThem ? Printed{"(" + printed.text + ")"} : printed;
    };
    if (tree.sign == "literal")
        return {tree.text};
    if (tree.sign == "symbol")
        return {tree.isPlain() ? tree.text : '`' + tree.text + '`'};
    if (level == 9)
        return {tree.sign + "(" + printList(tree, 0) + ")"};
    if (level == 8) {
        Printed const operand = part(0, 8);
        return {(tree.sign == "!" ? "!" : "-") + operand.text, tree.sign == "!" || operand.endsNegated};
    }
    if (tree.sign == "?:") {
        Printed const last = part(2, 1);
        return {part(0, 2).text + " ? " + part(1, 1).text + " : " + last.text, last.endsNegated};
    }
    if (tree.sign == "=~")
        return {part(0, 5, true).text + " =~ /" + tree.text + "/"};
    if (tree.isMembership())
        return {part(0, 5, true).text + " " + tree.sign + " [" + printList(tree, 1) + "]"};
    bool const toTheRight = tree.sign == "??";
    Printed const left = part(0, level + (toTheRight || level == 4 ? 1 : 0), level >= 4);
    Printed const right = part(1, level + (toTheRight ? 0 : 1));
    return {left.text + " " + tree.sign + " " + right.text, right.endsNegated};
}

/// A number whose text this file would have to lay out by itself.
struct OddNumber {};

/// The naive evaluator: follows the rules from the tree, one value at a time. Looks each symbol up once.
class Naive {
public:
    using LookUp = std::function<Value(std::string const& symbol)>;

    explicit Naive(LookUp lookUp) : m_lookUp{std::move(lookUp)} {}

    /// The symbols that were looked up, in order.
    std::string asked;

    Value of(Tree const& tree)
    {
        std::string const& sign = tree.sign;
        auto const part = [&](std::size_t index) { return of(tree.parts[index]); };
        if (sign == "literal")
            return tree.value;
        if (sign == "symbol")
            return symbol(tree.text);
        Value const left = part(0);
        if (sign == "?:")
            return part(truth(left) ? 1 : 2);
        if (sign == "&&")
            return truth(left) && truth(part(1));
        if (sign == "||")
            return truth(left) || truth(part(1));
        if (sign == "??")
            return left.isUndefined() ? part(1) : left;
        if (sign == "!")
            return !truth(left);
        if (sign == "neg")
            return left.isNumeric() ? sane(-left.getNumeric(), left, left) : Value();
        if (sign == "defined")
            return !left.isUndefined();
        if (sign == "=~")
            return left.isString() &&
                   (tree.text == "a" ? left.getString().find('a') != std::string::npos : left.getString()[0] == 'x');
        if (tree.isMembership()) {
            for (std::size_t index = 1; index < tree.parts.size(); ++index)
                if (part(index) == left)
                    return sign == "in";
            return sign != "in";
        }
        if (sign != "max")
            return binary(sign, left, part(1));
        double best = -INFINITY;
        bool areNumbers = true;
        for (std::size_t index = 0; index < tree.parts.size(); ++index) {
            Value const next = index == 0 ? left : part(index);   // asked for in any case
            areNumbers = areNumbers && next.isNumeric();
            best = areNumbers ? std::max(best, next.getNumeric()) : best;
        }
        return areNumbers ? Value(best) : Value();
    }

private:
    static bool truth(Value const& value)
    {
        if (value.isString())
            return !value.getString().empty();
        return value.isNumeric() && value.getNumeric() != 0;
    }

    static Value sane(double result, Value const& left, Value const& right)
    {
        bool const fromFinite = std::isfinite(left.getNumeric()) && std::isfinite(right.getNumeric());
        if (std::isnan(result) || (std::isinf(result) && fromFinite))
            return {};
        return result == 0 ? 0.0 : result;
    }

    static std::string text(Value const& value)
    {
        if (value.isString())
            return value.getString();
        if (value.isLogical())
            return value.getBool() ? "true" : "false";
        double const number = value.getDouble();
        if (std::isinf(number))
            return number < 0 ? "-Infinity" : "Infinity";
        if (std::abs(number) > 1e15 || std::floor(number) != number)
            throw OddNumber();
        return std::to_string(static_cast<long long>(number));
    }

    Value symbol(std::string const& name)
    {
        if (auto const known = m_fetched.find(name); known != m_fetched.end())
            return known->second;
        asked += (asked.empty() ? "" : " ") + name;
        Value value = m_lookUp(name);
        if (value.isDouble())
            value = std::isnan(value.getDouble()) ? Value() : sane(value.getDouble(), Value(INFINITY), Value(0));
        return m_fetched[name] = value;
    }

    static Value binary(std::string const& sign, Value const& left, Value const& right)
    {
        if (sign == "==" || sign == "!=")
            return (left == right) == (sign == "==");
        bool const numeric = left.isNumeric() && right.isNumeric();
        if (sign[0] == '<' || sign[0] == '>') {
            if (!numeric && !(left.isString() && right.isString()))
                return false;
            int order = numeric ? 0 : left.getString().compare(right.getString());
            if (numeric)
                order = (left.getNumeric() > right.getNumeric()) - (left.getNumeric() < right.getNumeric());
            return (order == 0 && sign.size() == 2) || (sign[0] == '<' ? order < 0 : order > 0);
        }
        if (sign == "+" && (left.isString() || right.isString()))
            return left.isUndefined() || right.isUndefined() ? Value() : Value(text(left) + text(right));
        if (!numeric)
            return {};
        double const a = left.getNumeric(), b = right.getNumeric();
        double const result = sign == "+"   ? a + b
                              : sign == "-" ? a - b
                              : sign == "*" ? a * b
                              : sign == "/" ? a / b
                                            : std::fmod(a, b);
        return sane(result, left, right);
    }

    LookUp m_lookUp;
    std::map<std::string, Value> m_fetched;
};

}   // namespace support::naive

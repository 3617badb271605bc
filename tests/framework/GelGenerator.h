#pragma once

#include "gel/Value.h"
#include "support/Random.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace gel::test {

using Values = std::map<std::string, Value>;
inline std::vector<std::string> const SYMBOLS{"a", "b", "c.d", "e-f"};

/// An expression as it is generated.
struct Expression {
    std::string sign;   // an operator, a function, "literal" or "symbol"
    std::vector<Expression> parts{};
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
    /// Adds its symbols in the order in which its text names them, each once.
    void collectSymbols(std::vector<std::string>& names) const
    {
        if (sign == "symbol" && std::find(names.begin(), names.end(), text) == names.end())
            names.push_back(text);
        for (Expression const& part : parts)
            part.collectSymbols(names);
    }
};

/// The text of an expression, with as few parentheses as the precedence table allows.
struct Printed {
    std::string text;
    bool endsNegated = false;   // its last operand has a '!' and no parentheses
};

inline Printed print(Expression const& tree);

inline std::string printList(Expression const& tree, std::size_t first)
{
    std::string list;
    for (std::size_t index = first; index < tree.parts.size(); ++index)
        list += (index > first ? ", " : "") + print(tree.parts[index]).text;
    return list;
}

inline Printed print(Expression const& tree)
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
        return {tree.text == "e-f" ? "`e-f`" : tree.text};
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

/// The structure of an expression: every operator in front of its operands.
inline std::string shape(Expression const& tree)
{
    if (tree.parts.empty())
        return tree.text;
    std::string text = '(' + (tree.sign == "neg" ? "-" : tree.sign);
    for (Expression const& part : tree.parts)
        text += ' ' + shape(part);
    return text + (tree.sign == "=~" ? " /" + tree.text + "/)" : ")");
}

/// Makes random expressions and values for their symbols: the same for a seed on every platform.
class Generator {
public:
    explicit Generator(std::uint64_t seed) : m_random(seed) {}

    Expression tree(int depth)
    {
        static std::vector<std::string> const s_operators{"?:", "||", "&&", "&&", "==",  "!=",     "<",   "<=",     ">",
                                                          ">=", "in", "=~", "??", "??",  "+",      "+",   "-",      "*",
                                                          "/",  "%",  "!",  "!",  "neg", "not in", "max", "defined"};
        static std::vector<Expression> const s_literals{
            {"literal", {}, "0", 0},         {"literal", {}, "1", 1},         {"literal", {}, "2.5", 2.5},
            {"literal", {}, "true", true},   {"literal", {}, "''", ""},       {"literal", {}, "'a'", "a"},
            {"literal", {}, "false", false}, {"literal", {}, "undefined", {}}};
        if (depth == 0 || m_random.oneIn(5))
            return m_random.oneIn(3) ? m_random.pick(s_literals) : Expression{"symbol", {}, m_random.pick(SYMBOLS)};
        Expression made{m_random.pick(s_operators)};
        std::size_t count = made.level() == 8 || made.sign == "=~" || made.sign == "defined" ? 1 : 2;
        if (made.sign == "=~")
            made.text = m_random.oneIn(2) ? "a" : "^x";
        else if (made.sign == "?:")
            count = 3;
        else if (made.sign == "max" || made.isMembership())
            count = 1 + m_random.below(4);
        while (made.parts.size() < count)
            made.parts.push_back(tree(depth - 1));
        return made;
    }

    /// Gives each symbol a value that is awkward for the rules of the language.
    Values values()
    {
        static double const s_nan = std::numeric_limits<double>::quiet_NaN();
        static std::vector<Value> const s_values{Value(), 0,  1,   2,    -1.5, -0.0,  true,
                                                 false,   "", "a", "xa", "1",  s_nan, INFINITY};
        return values(s_values);
    }
    /// Gives each symbol one of these values.
    Values values(std::vector<Value> const& from)
    {
        Values made;
        for (std::string const& name : SYMBOLS)
            made[name] = m_random.pick(from);
        return made;
    }

private:
    support::Random m_random;
};

}   // namespace gel::test

#include "GelTables.h"
#include "gel/Eval.h"
#include "gel/Program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Random trees, printed with as few parentheses as the precedence table allows, against an evaluator over the tree that
// shares nothing with the library but the kinds of value.
namespace gel::test {

namespace {

using Values = std::map<std::string, Value>;

struct Tree {
    std::string sign;   // an operator, a function, "literal" or "symbol"
    std::vector<Tree> parts{};
    std::string text{};   // of a literal, a symbol, a pattern
    Value value{};        // of a literal

    /// The precedence of the node's operator; 9 for an operand.
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
};

class Generator {
public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    Tree tree(int depth)
    {
        static std::vector<std::string> const s_operators{"?:", "||", "&&", "&&", "==",  "!=",     "<",   "<=",     ">",
                                                          ">=", "in", "=~", "??", "??",  "+",      "+",   "-",      "*",
                                                          "/",  "%",  "!",  "!",  "neg", "not in", "max", "defined"};
        static std::vector<Tree> const s_literals{{"literal", {}, "0", 0},         {"literal", {}, "1", 1},
                                                  {"literal", {}, "2.5", 2.5},     {"literal", {}, "true", true},
                                                  {"literal", {}, "''", ""},       {"literal", {}, "'a'", "a"},
                                                  {"literal", {}, "false", false}, {"literal", {}, "undefined", {}}};
        if (depth == 0 || below(5) == 0)
            return below(3) == 0 ? oneOf(s_literals)
                                 : Tree{"symbol", {}, oneOf<std::string>({"a", "b", "c.d", "`e-f`"})};
        Tree made{oneOf(s_operators)};
        std::size_t count = made.level() == 8 || made.sign == "=~" || made.sign == "defined" ? 1 : 2;
        if (made.sign == "=~")
            made.text = oneOf<std::string>({"a", "^x"});
        else if (made.sign == "?:")
            count = 3;
        else if (made.sign == "max" || made.isMembership())
            count = 1 + below(4);
        while (made.parts.size() < count)
            made.parts.push_back(tree(depth - 1));
        return made;
    }

    Values values()
    {
        static double const s_nan = std::numeric_limits<double>::quiet_NaN();
        static std::vector<Value> const s_values{Value(), 0,  1,   2,    -1.5, -0.0,  true,
                                                 false,   "", "a", "xa", "1",  s_nan, INFINITY};
        Values made;
        for (char const* const name : {"a", "b", "c.d", "e-f"})
            made[name] = oneOf(s_values);
        return made;
    }

private:
    std::size_t below(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random); }
    template <class T>
    T const& oneOf(std::vector<T> const& choices)
    {
        return choices[below(choices.size())];
    }
    template <class T>
    T oneOf(std::initializer_list<T> choices)
    {
        return choices.begin()[below(choices.size())];
    }

    std::mt19937 m_random;
};

struct Printed {
    std::string text;
    bool endsNegated = false;   // its last operand has a '!' and no parentheses
};

Printed print(Tree const& tree);

std::string printList(Tree const& tree, std::size_t first)
{
    std::string list;
    for (std::size_t index = first; index < tree.parts.size(); ++index)
        list += (index > first ? ", " : "") + print(tree.parts[index]).text;
    return list;
}

Printed print(Tree const& tree)
{
    int const level = tree.level();
    // A part that must bind at least as tightly as a level; one of the levels 4 to 7 may follow it.
    auto const part = [&](std::size_t index, int atLeast, bool operatorFollows = false) {
        Printed const printed = print(tree.parts[index]);
        bool const needsThem = tree.parts[index].level() < atLeast || (operatorFollows && printed.endsNegated);
        return needsThem ? Printed{"(" + printed.text + ")"} : printed;
    };
    if (tree.sign == "literal" || tree.sign == "symbol")
        return {tree.text};
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

/// The naive evaluator: follows the rules from the tree, one value at a time.
class Naive {
public:
    explicit Naive(Values const& values) : m_values(values) {}

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

    Value symbol(std::string name)
    {
        std::erase(name, '`');
        if (auto const known = m_fetched.find(name); known != m_fetched.end())
            return known->second;
        asked += (asked.empty() ? "" : " ") + name;
        Value value = m_values.at(name);
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

    Values const& m_values;
    Values m_fetched;
};

/// Answers by the number of a symbol alone, from what was bound beforehand.
class BoundSource : public DataSource {
public:
    BoundSource(Program const& program, Values const& values)
    {
        for (std::size_t index = 0; index < program.symbolCount(); ++index)
            bound.push_back(*values.find(program.symbolAt(index)));
    }

    Value fetch(std::size_t index, std::string const& symbol) const override
    {
        EXPECT_EQ(bound.at(index).first, symbol);
        asked += (asked.empty() ? "" : " ") + bound.at(index).first;
        return bound.at(index).second;
    }
    Value lookup(std::string const& symbol) const override
    {
        ADD_FAILURE() << symbol << " is asked for by its name";
        return {};
    }

    std::vector<std::pair<std::string, Value>> bound;
    mutable std::string asked;
};

/// The symbols of a tree in the order in which its text names them.
void collectSymbols(Tree const& tree, std::vector<std::string>& names)
{
    if (tree.sign == "symbol") {
        std::string const name = tree.text == "`e-f`" ? "e-f" : tree.text;
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    for (Tree const& part : tree.parts)
        collectSymbols(part, names);
}

TEST(GelTree, ARandomTreeMeansWhatItsTextMeans)
{
    int compared = 0;
    for (unsigned seed = 1; seed <= 6'000; ++seed) {
        Generator generator(seed);
        Tree const tree = generator.tree(static_cast<int>(seed % 6));
        std::string const text = print(tree).text;
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + text);
        std::vector<std::string> names;
        collectSymbols(tree, names);
        ASSERT_EQ(symbols(text), std::set<std::string>(names.begin(), names.end()));
        Program const program(text);
        ASSERT_EQ(program.symbolCount(), names.size());
        for (std::size_t index = 0; index < names.size(); ++index)
            ASSERT_EQ(program.symbolAt(index), names[index]);
        for (int round = 0; round < 5; ++round)
            try {
                Values const values = generator.values();
                Naive naive(values);
                Value const expected = naive.of(tree);
                RecordingSource const source(values);
                ASSERT_TRUE(program.eval(source) == expected);
                ASSERT_EQ(source.asked, naive.asked);
                BoundSource const bound(program, values);
                ASSERT_TRUE(program.evalPinned(bound) == expected);
                ASSERT_EQ(bound.asked, naive.asked);
                ++compared;
            } catch (OddNumber const&) {
                continue;
            }
    }
    EXPECT_GT(compared, 25'000);
}

}   // namespace

}   // namespace gel::test

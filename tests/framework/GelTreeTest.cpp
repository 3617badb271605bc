#include "GelTables.h"
#include "gel/Eval.h"
#include "gel/ParseError.h"
#include "gel/Program.h"
#include "gel/Tree.h"
#include "support/Random.h"
#include "workbench/NaiveEvaluator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Random expressions: their texts parse to what was printed, and mean what a naive evaluator reads off the tree.
namespace gel::test {

namespace {

using Values = std::map<std::string, Value>;
std::vector<std::string> const SYMBOLS{"a", "b", "c.d", "e-f"};

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

Printed print(Expression const& tree);

std::string printList(Expression const& tree, std::size_t first)
{
    std::string list;
    for (std::size_t index = first; index < tree.parts.size(); ++index)
        list += (index > first ? ", " : "") + print(tree.parts[index]).text;
    return list;
}

Printed print(Expression const& tree)
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
std::string shape(Expression const& tree)
{
    if (tree.parts.empty())
        return tree.text;
    std::string text = '(' + (tree.sign == "neg" ? "-" : tree.sign);
    for (Expression const& part : tree.parts)
        text += ' ' + shape(part);
    return text + (tree.sign == "=~" ? " /" + tree.text + "/)" : ")");
}

std::string shape(Tree const& tree, std::size_t index)
{
    Tree::Node const& node = tree.nodes()[index];
    if (node.parts.empty())
        return std::string(node.kind == Tree::Kind::Constant ? tree.textOf(node) : node.name);
    std::string text = '(' + std::string(node.name);
    for (std::uint32_t const part : node.parts) {
        EXPECT_LT(part, index) << "operands come first";
        text += ' ' + shape(tree, part);
    }
    return text + ')';
}

/// Each node stands for a piece of the text that means the same by itself.
void expectPieces(Tree const& tree)
{
    for (std::size_t index = 0; index < tree.nodes().size(); ++index)
        if (Tree::Node const& node = tree.nodes()[index]; node.kind != Tree::Kind::Pattern) {
            Tree const piece(std::string(tree.textOf(node)));
            ASSERT_EQ(shape(piece, piece.nodes().size() - 1), shape(tree, index));
        }
}

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

    Values values()
    {
        static double const s_nan = std::numeric_limits<double>::quiet_NaN();
        static std::vector<Value> const s_values{Value(), 0,  1,   2,    -1.5, -0.0,  true,
                                                 false,   "", "a", "xa", "1",  s_nan, INFINITY};
        Values made;
        for (std::string const& name : SYMBOLS)
            made[name] = m_random.pick(s_values);
        return made;
    }

private:
    support::Random m_random;
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

TEST(GelTree, ARandomExpressionMeansWhatItsTextMeans)
{
    for (unsigned seed = 1; seed <= 6'000; ++seed) {
        Generator generator(seed);
        Expression const expression = generator.tree(static_cast<int>(seed % 6));
        std::string const text = print(expression).text;
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + text);
        Tree const tree(text);
        ASSERT_EQ(shape(tree, tree.nodes().size() - 1), shape(expression));
        expectPieces(tree);
        std::vector<std::string> names;
        expression.collectSymbols(names);
        ASSERT_EQ(symbols(text), std::set<std::string>(names.begin(), names.end()));
        Program const program(text);
        ASSERT_EQ(program.symbolCount(), names.size());
        for (std::size_t index = 0; index < names.size(); ++index)
            ASSERT_EQ(program.symbolAt(index), names[index]);
        for (int round = 0; round < 5; ++round) {
            Values const values = generator.values();
            workbench::NaiveEvaluator naive([&](std::string const& name) { return values.at(name); });
            Value const expected = naive.evaluate(tree);
            std::string asked;
            for (std::string const& symbol : naive.symbols())
                asked += (asked.empty() ? "" : " ") + symbol;
            RecordingSource const source(values);
            ASSERT_TRUE(program.eval(source) == expected);
            ASSERT_EQ(source.asked, asked);
            RecordingSource const traced(values);
            ASSERT_TRUE(tree.trace(traced) == naive.values());
            ASSERT_EQ(traced.asked, asked);
            BoundSource const bound(program, values);
            ASSERT_TRUE(program.evalPinned(bound) == expected);
            ASSERT_EQ(bound.asked, asked);
        }
    }
}

TEST(GelTree, GivesThePlaceOfEachPart)
{
    struct Row {
        char const* text;
        char const* shape;
        std::vector<char const*> pieces;
    };
    for (Row const& row : {
             Row{" (a) + ( -b ) ", "(+ a (- b))", {"a", "b", "-b", "(a) + ( -b )"}},
             Row{"((`x``y`.z))!==1", "(!= x`y.z 1)", {"`x``y`.z", "1", "((`x``y`.z))!==1"}},
             Row{"max( a,( 1 ) ) ?? 'é'",
                 "(?? (max a 1) 'é')",
                 {"a", "1", "max( a,( 1 ) )", "'é'", "max( a,( 1 ) ) ?? 'é'"}},
             Row{"a =~ /[/]b/im && !(a not  in[ ])",
                 "(&& (=~ a /[/]b/im) (! (not in a)))",
                 {"a", "/[/]b/im", "a =~ /[/]b/im", "a", "a not  in[ ]", "!(a not  in[ ])",
                  "a =~ /[/]b/im && !(a not  in[ ])"}},
             Row{"true ? undefined : 1 + 2",
                 "(?: true undefined (+ 1 2))",
                 {"true", "undefined", "1", "2", "1 + 2", "true ? undefined : 1 + 2"}},
         }) {
        Tree const tree(row.text);
        EXPECT_EQ(shape(tree, tree.nodes().size() - 1), row.shape);
        EXPECT_EQ(tree.text(), row.text);
        std::vector<std::string> pieces;
        for (Tree::Node const& node : tree.nodes())
            pieces.emplace_back(tree.textOf(node));
        EXPECT_EQ(pieces, std::vector<std::string>(row.pieces.begin(), row.pieces.end()));
    }
    std::string chain = "a";
    while (chain.size() + 4 < 65'536)
        chain += "||-1";
    EXPECT_EQ(Tree(chain).nodes().size(), 1 + (chain.size() - 1) / 4 * 3);
    EXPECT_THROW(Tree("a +"), ParseError);
    Tree first("a");
    Tree const moved(std::move(first));
    EXPECT_EQ(first.text() + moved.text(), "aa") << "moving copies";
}

}   // namespace

}   // namespace gel::test

#include "GelGenerator.h"
#include "GelTables.h"
#include "gel/Eval.h"
#include "gel/ParseError.h"
#include "gel/Program.h"
#include "gel/Tree.h"
#include "workbench/NaiveEvaluator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Random expressions: their texts parse to what was printed, and mean what a naive evaluator reads off the tree.
namespace gel::test {

namespace {

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

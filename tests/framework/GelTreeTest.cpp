#include "GelTables.h"
#include "gel/Eval.h"
#include "gel/Program.h"
#include "support/NaiveGel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Random trees, printed with as few parentheses as the precedence table allows, against a naive evaluator.
namespace gel::test {

namespace {

using support::naive::Naive;
using support::naive::OddNumber;
using support::naive::Tree;
using Values = std::map<std::string, Value>;

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
            return below(3) == 0 ? oneOf(s_literals) : Tree{"symbol", {}, oneOf<std::string>({"a", "b", "c.d", "e-f"})};
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

TEST(GelTree, ARandomTreeMeansWhatItsTextMeans)
{
    int compared = 0;
    for (unsigned seed = 1; seed <= 6'000; ++seed) {
        Generator generator(seed);
        Tree const tree = generator.tree(static_cast<int>(seed % 6));
        std::string const text = print(tree).text;
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + text);
        std::vector<std::string> names;
        tree.collectSymbols(names);
        ASSERT_EQ(symbols(text), std::set<std::string>(names.begin(), names.end()));
        Program const program(text);
        ASSERT_EQ(program.symbolCount(), names.size());
        for (std::size_t index = 0; index < names.size(); ++index)
            ASSERT_EQ(program.symbolAt(index), names[index]);
        for (int round = 0; round < 5; ++round)
            try {
                Values const values = generator.values();
                Naive naive([&](std::string const& name) { return values.at(name); });
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

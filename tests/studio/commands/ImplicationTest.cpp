#include "studio/commands/Implication.h"
#include "gel/ParseError.h"
#include "gel/Program.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace studio::commands {
namespace {

struct Row {
    char const* stronger;
    char const* weaker;
    bool expected;
};

TEST(Implication, IsSeenFromTheForm)
{
    for (auto const& [stronger, weaker, expected] : {
             Row{"a && b", "a", true},
             Row{"a", "a && b", false},
             Row{"a", "", true},
             Row{"", "a", false},
             Row{"", "a || !a", true},
             Row{"a && b && c", "c && a", true},
             Row{"a", "a || b", true},
             Row{"a || b", "b || a", true},
             Row{"a || b", "a", false},
             Row{"a && e || b && f", "a || b", true},
             Row{"a && b && e || c && d && f", "d && c || (b && a)", true},
             Row{"a && (b || c)", "a && b || a && c", true},
             Row{"!(a || b)", "!a", true},
             Row{"a", "!!a", true},
             Row{"x == 'y' && a", "'y' === x", true},
             Row{"x > 3", "3 < x", true},
             Row{"x > 3", "!(x <= 3)", false},   // of texts and numbers, neither holds: no reason is seen from the form
             Row{"x == 'y'", "x in ['z', 'y']", true},
             Row{"x in ['z', 'y']", "x in ['y', 'z', 'w']", true},
             Row{"x == 'y'", "x != 'z'", true},
             Row{"x in ['z', 'y']", "x not in ['w', 'v']", true},
             Row{"x == 'y'", "x", true},
             Row{"x == 0", "!x", true},
             Row{"x == ''", "x", false},
             Row{"a && !a", "b", true},
             Row{"a ? b : c", "b || c", true},
             Row{"a ? b : c", "b", false},
             Row{"false", "a", true},
         })
        EXPECT_EQ(implies(stronger, weaker), expected) << stronger << " => " << weaker;
    EXPECT_THROW(implies("a &&", "a"), gel::ParseError);
}

/// Reads six symbols as digits of a number.
class Assignment final : public gel::DataSource {
public:
    explicit Assignment(std::size_t number) : digits{number} {}
    gel::Value lookup(std::string const& symbol) const override
    {
        static std::array<gel::Value, 6> const values{gel::Value{},     gel::Value{0},   gel::Value{1},
                                                      gel::Value{true}, gel::Value{"x"}, gel::Value{""}};
        std::size_t rest = digits;
        for (char letter = 'a'; letter != symbol[0]; ++letter)
            rest /= values.size();
        return values[rest % values.size()];
    }

private:
    std::size_t digits;
};

std::string randomCondition(support::Random& random, int depth)
{
    static constexpr std::array ATOMS{
        "a",         "b",           "c",    "a == b",     "a == 'x'", "b == 1", "c in ['x', 1, a]", "a < b",
        "b != true", "c not in []", "true", "defined(a)", "a + b",    "c ?? a", "a == ''",          "undefined == c"};
    auto const part = [&] { return '(' + randomCondition(random, depth - 1) + ')'; };
    switch (depth == 0 ? 9 : random.below(8)) {
    case 0: return '!' + part();
    case 1: return part() + " ? " + part() + " : " + part();
    case 2:
    case 3: return part() + " || " + part();
    case 4: return part() + " == " + part();
    case 5:
    case 6: return part() + " && " + part();
    default: return ATOMS[random.below(ATOMS.size())];
    }
}

TEST(Implication, IsNeverSeenWhereAnAssignmentContradictsIt)
{
    support::Random random{7};
    std::size_t seen = 0;
    for (int round = 0; round != 500; ++round) {
        std::string const weaker = randomCondition(random, 3);
        std::string const other = randomCondition(random, 2);
        for (std::string const& stronger : {randomCondition(random, 3), '(' + weaker + ") && (" + other + ')'}) {
            if (!implies(stronger, weaker))
                continue;
            ++seen;
            gel::Program const condition{'(' + stronger + ") && !(" + weaker + ')'};
            for (std::size_t number = 0; number != 216; ++number)
                ASSERT_EQ(condition.eval(Assignment{number}), false) << stronger << " => " << weaker << ", " << number;
        }
    }
    EXPECT_GE(seen, 500u);   // a conjunction implies each of its parts
}

TEST(Implication, OfHostileTextsEndsSoon)
{
    std::string conjunction;
    std::string alternatives;
    std::string numbers;
    for (int i = 0; alternatives.size() < 60'000; ++i) {
        std::string const a = 'a' + std::to_string(i);
        if (conjunction.size() < 60'000)
            conjunction += " && " + a;
        if (numbers.size() < 60'000)
            numbers += " || x == " + std::to_string(i);
        alternatives += " && (" + a + " || b" + a + " || c" + a + ')';
    }
    EXPECT_TRUE(implies("z" + conjunction, "a1" + conjunction));
    EXPECT_TRUE(implies("false" + numbers, "y != 1 || y != 2"));
    EXPECT_TRUE(implies("false" + numbers, "x != 'x'"));
    EXPECT_FALSE(implies("z" + alternatives, "w" + alternatives));
    std::string holes;   // twelve pigeons in eleven holes: no form shows this
    for (char const* separator = ""; char pigeon : std::string("abcdefghijkl")) {
        holes += std::string{separator} + '(';
        for (int hole = 0; hole != 11; ++hole)
            holes += (hole ? " || " : "") + std::string{pigeon} + std::to_string(hole);
        holes += ')';
        separator = " && ";
    }
    for (int hole = 0; hole != 11; ++hole)
        for (char first = 'a'; first != 'l'; ++first)
            for (char second = static_cast<char>(first + 1); second <= 'l'; ++second)
                holes += " && !(" + (first + std::to_string(hole)) + " && " + (second + std::to_string(hole)) + ')';
    EXPECT_FALSE(implies(holes, "z"));
    std::string const deep = std::string(190, '(') + "a" + std::string(190, ')');
    EXPECT_TRUE(implies(deep + " && b", deep));
}

}   // namespace
}   // namespace studio::commands

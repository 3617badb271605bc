#include "GelTables.h"
#include "gel/Eval.h"
#include "gel/ParseError.h"
#include "gel/Program.h"
#include "support/Allocations.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <variant>

namespace gel {

void PrintTo(Value const& value, std::ostream* out)
{
    if (value.isString())
        *out << '\'' << value.getString() << '\'';
    else if (value.isUndefined())
        *out << "undefined";
    else
        *out << (value.isLogical() ? "logical " : "") << value.getNumeric();
}

namespace test {

namespace {

class FunctionSource : public DataSource {
public:
    explicit FunctionSource(std::function<Value(std::string const&)> answer) : answer(std::move(answer)) {}
    Value lookup(std::string const& symbol) const override { return answer(symbol); }

    std::function<Value(std::string const&)> answer;
};

std::string repeated(std::string const& text, std::size_t count)
{
    std::string result;
    while (count-- > 0)
        result += text;
    return result;
}

/// The place and reason of the error of a text; empty when it parses.
std::string errorOf(std::string const& text)
{
    try {
        Program const program(text);
        return "";
    } catch (ParseError const& error) {
        return std::to_string(error.offset()) + ": " + error.reason();
    }
}

class GelTable : public testing::TestWithParam<Table> {};

TEST_P(GelTable, YieldsTheValueAndReadsOnlyWhatItNeeds)
{
    for (Row const& row : GetParam().rows) {
        SCOPED_TRACE(row.text);
        std::map<std::string, Value> values;
        for (Holding const* held = row.symbols; held->symbol; ++held)
            values[held->symbol] = held->cell.value();
        RecordingSource const source(values);
        EXPECT_EQ(eval(row.text, source), row.expected.value());
        if (row.lookups) {
            EXPECT_EQ(source.asked, row.lookups);
        }
        for (auto const& [name, value] : values)
            EXPECT_EQ(symbols(row.text).count(name), 1U);
        EXPECT_EQ(Program(row.text).eval(source), row.expected.value()) << "the second time";
    }
}

INSTANTIATE_TEST_SUITE_P(Rules, GelTable, testing::ValuesIn(tables()),
                         [](auto const& info) { return std::string(info.param.name); });

TEST(Gel, RefusesATextWithPlaceAndReason)
{
    for (Refusal const& row : refusals())
        for (int time = 0; time < 2; ++time)
            try {
                symbols(row.text);
                ADD_FAILURE() << row.text << " is accepted";
            } catch (ParseError const& error) {
                EXPECT_EQ(std::string("gel:") + row.place + ": " + row.reason, error.what());
                EXPECT_EQ(std::to_string(error.line()) + ":" + std::to_string(error.column()), row.place);
                EXPECT_EQ(error.reason(), row.reason);
            }
}

TEST(Gel, ShowsTheLineWithACaretUnderThePlace)
{
    std::string const longName(60, 'n');
    auto const n = [](std::size_t count) { return std::string(count, 'n'); };
    std::pair<std::string, std::string> const rows[] = {
        {"x > 1 && !a == b", "x > 1 && !a == b\n            ^"},
        {"a\n && größe b\n || c", " && größe b\n          ^"},
        {"a\tb", "a\tb\n \t^"},
        {"", "\n^"},
        {"a +\n", "\n^"},
        {"# " + longName + longName, "# " + n(75) + "...\n^"},
        {longName + longName + " +", "..." + n(75) + " +\n" + std::string(80, ' ') + "^"},
        {longName + " é " + longName, "..." + n(36) + " é " + n(35) + "...\n" + std::string(40, ' ') + "^"}};
    for (auto const& [text, excerpt] : rows)
        try {
            symbols(text);
            ADD_FAILURE() << text << " is accepted";
        } catch (ParseError const& error) {
            EXPECT_EQ(error.excerpt(), excerpt);
        }
}

TEST(Gel, NestsTwoHundredLevels)
{
    struct Row {
        std::string open, close;
        std::size_t place;
    };
    Row const rows[] = {{"(", ")", 0}, {"a in [", "]", 5},  {"abs(", ")", 3},    {"!", "", 0},
                        {"- ", "", 0}, {"a ? ", " : a", 2}, {"a ? a : ", "", 2}, {"a ?? ", "", 2}};
    for (auto const& [open, close, place] : rows) {
        SCOPED_TRACE(open);
        auto const nested = [&, &open = open, &close = close](std::size_t levels) {
            return repeated(open, levels) + "a" + repeated(close, levels);
        };
        std::string const error = std::to_string(200 * open.size() + place) + ": nested more than 200 levels deep";
        EXPECT_EQ(errorOf(nested(201)), error);
        EXPECT_EQ(errorOf(nested(5000)), error);
        RecordingSource const source;
        eval(nested(200), source);
        EXPECT_EQ(source.asked, "a");
    }
}

TEST(Gel, KeepsItsOtherLimits)
{
    EXPECT_EQ(errorOf("#" + std::string(65'535, ' ')), "0: unexpected character '#'");
    EXPECT_EQ(errorOf(std::string(65'536, ' ') + "#"),
              "0: a text of 65537 bytes is too long; at most 65536 are allowed");
    EXPECT_EQ(errorOf("max(" + repeated("a,", 254) + "a)"), "");
    EXPECT_EQ(errorOf("max(" + repeated("a,", 255) + "a)"), "514: a call takes at most 255 arguments");
    EXPECT_EQ(errorOf("a =~ /" + repeated("(", 50) + repeated(")", 50) + "/"), "");
    EXPECT_NE(errorOf("a =~ /" + repeated("(", 51) + repeated(")", 51) + "/"), "");
    EXPECT_EQ(errorOf(std::string(60'000, '!') + "a"), "200: nested more than 200 levels deep");
}

TEST(Gel, ChainsAreNotNesting)
{
    RecordingSource const source({{"a", 1}, {"s", "x"}});
    EXPECT_EQ(eval(repeated("a&&", 15'000) + "a", source), true);
    EXPECT_EQ(eval("z&&" + repeated("a&&", 15'000) + "a", source), false);
    EXPECT_EQ(eval(repeated("a+", 20'000) + "a", source), 20'001);
    EXPECT_EQ(eval(repeated("1-", 20'000) + "1", source), -19'999);
    EXPECT_EQ(eval(repeated("s+", 20'000) + "s", source), std::string(20'001, 'x'));
    EXPECT_EQ(eval(repeated("'y'+", 15'000) + "'y'", source), std::string(15'001, 'y'));
    EXPECT_EQ(eval("5 in [" + repeated("z,", 20'000) + "5]", source), true);
    EXPECT_EQ(eval("(" + repeated("min(a)+(", 90) + "a" + repeated(")", 90) + ")", source), 91);   // a deep stack

    std::string sum = "0";
    std::map<std::string, Value> values;
    for (int index = 1; index <= 100; ++index) {   // more symbols than fit on the stack
        sum += " + v" + std::to_string(index);
        values["v" + std::to_string(index)] = index;
    }
    EXPECT_EQ(eval(sum, RecordingSource(values)), 5050);
}

/// A sum of numbered symbols, each named once or twice.
std::string sumOf(int symbols, bool twice = false)
{
    std::string sum = "0";
    for (int index = 1; index <= symbols; ++index)
        sum += " + v" + std::to_string(index) + (twice ? " * 0 + v" + std::to_string(index) : "");
    return sum;
}

TEST(Gel, LargeProgramsAllocateNothingOnceTheThreadHasRoom)
{
    std::string const deep = repeated("1 + (v1 + (", 90) + "v2" + repeated("))", 90);
    std::string const inner = sumOf(300, true);
    bool nests = false;
    FunctionSource const ones([](std::string const&) { return 1; });
    FunctionSource const outer([&](std::string const& symbol) -> Value {
        if (symbol == "v7" && std::exchange(nests, false))
            return eval(inner, ones).getDouble() - 299;
        if (symbol == "v9" && nests)
            throw std::out_of_range(symbol);
        return 1;
    });
    struct Row {
        std::string text;
        double value;
    } const rows[] = {{sumOf(16), 16}, {sumOf(17), 17}, {sumOf(17, true), 17}, {sumOf(1'000), 1'000}, {deep, 181}};
    std::size_t before = 0;
    for (int time = 0; time < 4; ++time) {
        if (time == 2)
            before = support::allocationCount();
        for (Row const& row : rows)
            for (bool const nested : {false, true}) {
                nests = nested;
                ASSERT_TRUE(eval(row.text, outer) == row.value) << row.text;
            }
    }
    EXPECT_EQ(support::allocationCount() - before, 0U);
    EXPECT_TRUE(eval(sumOf(6'000), ones) == 6'000) << "more than a thread keeps room for";
}

TEST(Gel, RunsOutOfMemoryWithoutLosingItsWay)
{
    std::string const texts[] = {"s + 'a text that no small buffer holds' + s", sumOf(40, true),
                                 "`quoted name of some length` ?? s =~ /^x+$/ && 'folded, ' + 'joined and kept' != s"};
    std::map<std::string, Value> values{{"s", std::string(40, 'x')}};
    for (int index = 1; index <= 40; ++index)
        values["v" + std::to_string(index)] = index;
    RecordingSource const source(values);
    FunctionSource const nesting([&](std::string const& symbol) {
        eval("1 + " + std::to_string(symbol.size()), source);
        return source.lookup(symbol);
    });
    std::thread([&] {   // with a cache of its own, which grows
        for (std::string const& text : texts) {
            bool failed = true;
            for (std::size_t skipped = 0; failed; ++skipped) {
                std::string const variant = text + " || " + std::to_string(skipped);
                try {
                    support::FailingAllocation const failing(skipped);
                    Value const value = eval(variant, nesting);
                    EXPECT_EQ(value, true);
                    failed = failing.happened();
                } catch (std::bad_alloc const&) {}
                EXPECT_EQ(eval(variant, source), true);
                EXPECT_EQ(symbols(variant).size(), Program(variant).symbolCount());
            }
        }
    })
        .join();
}

TEST(Gel, ANestedEvaluationMayDropItsTextFromTheCache)
{
    std::string const text = "'<' + first + second + '>' == '<' + 12 + '>' && last =~ /^b/";
    FunctionSource const inner([](std::string const&) { return 2; });
    FunctionSource const outer([&](std::string const& symbol) -> Value {
        for (int other = 0; other < 9'000; ++other)
            EXPECT_EQ(eval(symbol + " + " + std::to_string(other), inner), 2 + other);
        return symbol == "first" ? Value(1) : symbol == "second" ? Value(2) : Value("b");
    });
    EXPECT_EQ(eval(text, outer), true);
    EXPECT_EQ(eval(text, outer), true);
}

TEST(Gel, ATextMayBeEvaluatedInsideItself)
{
    Program const program("tag =~ /^a+$/ && n > 1 ? n * rest : tag =~ /a$/ ? 1 : undefined");
    std::function<Value(double)> const factorial = [&](double n) {
        return program.eval(FunctionSource([&, n](std::string const& symbol) {
            return symbol == "tag" ? Value("aa") : symbol == "n" ? Value(n) : factorial(n - 1);
        }));
    };
    EXPECT_EQ(factorial(20), 2432902008176640000.0);
}

TEST(Gel, MatchesAreBounded)
{
    for (auto const& [text, expected] : std::map<std::string, bool>{
             {"s =~ /^(a+)+$/", false},
             {"s =~ /(a|b)*c/", false},
             {"s =~ /^(a|b)*!/", false},   // would match, beyond the limits
             {"s =~ /^(?:a?){50}a{50}$/", false},
             {"s =~ /^a*!$/", true},
         }) {
        RecordingSource const source({{"s", std::string(100'000, 'a') + "!"}});
        auto const begin = std::chrono::steady_clock::now();
        EXPECT_EQ(eval(text, source), expected) << text;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1)) << text;
    }
}

TEST(Gel, MatchesTheSameWithAndWithoutJit)
{
    for (std::string const pattern : {"^(a+)+$", "(a|b)*c", "^(?:(a)|b)*\\1$", "(?<=a)b*?!", "^(.|\\n)*$", "\\bé\\W",
                                      "^(?:.*a){12}", "(?i)É[^]x", "[^a]", "^((?:a|aa)+)+!$"})
        for (std::string const unit : {"", "a", "ab", "b!", "éx", "é\xFFx", "\xC3", "aab\n"})
            for (std::size_t const count : {1U, 3U, 30U, 3'000U, 30'000U}) {
                RecordingSource const source({{"s", repeated(unit, count) + "!"}});
                EXPECT_EQ(eval("s =~ /" + pattern + "/", source), eval("s =~ /(*NO_JIT)" + pattern + "/", source))
                    << pattern << " on " << count << " times " << unit;
            }
}

TEST(Gel, EvaluatesAfterTheCacheOfItsThreadIsGone)
{
    static Value s_late;
    struct Late {
        ~Late()
        {
            FunctionSource const ones([](std::string const&) { return 1; });
            s_late = eval(sumOf(40, true), ones).getDouble() - 39 + eval("a", ones).getDouble();
        }
    };
    std::thread([] {
        thread_local Late s_object;   // made before the cache, hence destroyed after it
        static_cast<void>(&s_object);
        FunctionSource const twos([](std::string const&) { return 2; });
        EXPECT_EQ(eval(sumOf(40, true), twos), 80);
    }).join();
    EXPECT_EQ(s_late, 2);
}

TEST(Gel, ValuesKeepTheirKind)
{
    EXPECT_TRUE(Value(1).isDouble() && Value(2.5F).isDouble() && Value(3UL).isDouble() && Value(true).isLogical());
    EXPECT_TRUE(Value("x").isString() && Value(static_cast<char const*>(nullptr)).isUndefined());
    EXPECT_EQ(Value(true).getNumeric() + Value(2).getNumeric(), 3);
    EXPECT_THROW(Value("1").getNumeric(), std::bad_variant_access);
    EXPECT_THROW(Value(1).getBool(), std::bad_variant_access);
    std::string const longText(40, 'x');
    Value const kinds[] = {Value(), 0, 1, false, true, "", "x", longText};
    for (Value const& from : kinds)
        for (Value const& to : kinds) {
            EXPECT_EQ(from == to, &from == &to);
            Value copied = to;
            Value moved = to;
            copied = from;
            moved = Value(from);
            EXPECT_TRUE(copied == from && moved == from && Value(std::move(moved)) == from);
            Value kept = to;
            try {
                support::FailingAllocation const failing(0);
                kept = from;
            } catch (std::bad_alloc const&) {
                EXPECT_TRUE(kept == to) << "an assignment without memory changes nothing";
            }
        }
}

}   // namespace

}   // namespace test

}   // namespace gel

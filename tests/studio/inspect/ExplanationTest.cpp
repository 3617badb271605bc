#include "studio/inspect/Explanation.h"

#include "Substitution.h"
#include "gel/ParseError.h"
#include "studio/host/Put.h"
#include "studio/inspect/Flips.h"
#include "studio/inspect/Reasons.h"
#include "support/Contexts.h"
#include "support/Random.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>

namespace studio::inspect {
namespace {

using data::PropertyValue;
using inspect_test::ProviderSource;
using support::context;
using support::Provider;

/// A context with a property of each kind.
struct Explained : testing::Test {
    Provider const document = context({{"dirty", true}, {"readOnly", true}, {"title", "notes"}});
    Provider const root = context({{"doc", document},
                                   {"mode", "view"},
                                   {"count", 0},
                                   {"t", true},
                                   {"f", false},
                                   {"plain", 3},
                                   {"doc.hidden", true}});
};

TEST_F(Explained, NamesTheSmallestSetsOfSubConditionsThatDecide)
{
    for (auto const& [text, because] : {
             std::tuple{"t && !f", "because t holds\nor because f does not hold\n"},
             {"t && f", "because f does not hold\n"},
             {"f && count",
              "because f does not hold and count does not hold\n"},   // the evaluation skipped the second one
             {"t || f", "because t holds\n"},
             {"f || count", "because f does not hold\nor because count does not hold\n"},
             {"t ? f : count == 0", "because t holds\nor because f does not hold\n"},
             {"t ? 'yes' : 'no'", "because t holds\n"},
             {"t ? 'yes' : 'yes'", ""},
             {"'a' + (t ? 'b' : 'c')", "because t holds\n"},
             {"mode == 'edit' && mode != 'view'",
              "because mode == 'edit' does not hold and mode != 'view' does not hold\n"},
             {"f && !f", ""},   // whatever holds, this does not
             {"(t || f) && (f || t)", "because t holds\n"},
             {"!!f", "because f does not hold\n"},
             {"f", "because f does not hold\n"},
             {"!(count > 1) && 1 == 1", "because count > 1 does not hold\n"},
             {"count + 1", ""},
             {"true || t", ""},
         }) {
        std::istringstream said{describe(explain(text, root))};
        std::string reasons;
        for (std::string line; std::getline(said, line);)
            reasons += line.starts_with("because ") || line.starts_with("or because ") ? line + '\n' : "";
        EXPECT_EQ(reasons, because) << text;
    }
}

TEST_F(Explained, SaysWhereEachPathEndsAndWhatWasNotNeeded)
{
    std::string const text = "f && doc.title == 'x' || doc.hidden && plain.x == doc.nothing.y\n|| nobody";
    std::string said = describe(explain(text, root));
    for (Provider const& each : {root, document})
        for (std::string const id = PropertyValue{each}.asString(); said.find(id) != said.npos;)
            said.replace(said.find(id), id.size(), each == root ? "R" : "D");
    EXPECT_EQ(said, R"(f && doc.title == 'x' || doc.hidden && plain.x == doc.nothing.y\n|| nobody is true
because doc.hidden holds
or because plain.x == doc.nothing.y holds
  f && doc.title == 'x' || doc.hidden && plain.x == doc.nothing.y\n|| nobody is true
    f && doc.title == 'x' is false
      f is false
      doc.title == 'x' is not needed
        doc.title is not needed
    doc.hidden && plain.x == doc.nothing.y is true
>     doc.hidden is true
>     plain.x == doc.nothing.y is true
        plain.x is undefined
        doc.nothing.y is undefined
    nobody is not needed
f: false, in the root (R)
doc.title: 'notes', in "doc" (D)
doc.hidden: true, not followed: the root (R) has a property whose own name is "doc.hidden"
plain.x: undefined, missing: the property "plain" of the root (R) is not a context
doc.nothing.y: undefined, missing: "doc" (D) has no property "nothing"
nobody: undefined, missing: the root (R) has no property "nobody"
)");
    nlohmann::json const document = nlohmann::json::parse(json(explain(text, root)));
    EXPECT_EQ(document["symbols"][1]["steps"][1]["label"], "doc");
    EXPECT_EQ(document["conditions"][document["deciding"][0][0].get<std::size_t>()]["holds"], true);
    EXPECT_EQ(explain("a", nullptr).symbols.at(0).walk.reason, host::PathEnd::Reason::NoContext);
    EXPECT_THROW(explain("a &&", root), gel::ParseError);
}

/// Returns a random condition over logicals, a number and a text, some of them several times.
std::string randomText(support::Random& random, int depth)
{
    static constexpr std::array<char const*, 8> LEAVES{
        "t", "f", "doc.dirty", "mode == 'view'", "mode != 'view'", "count in [0, 1]", "none", "count < 1"};
    auto const part = [&] { return '(' + randomText(random, depth - 1) + ')'; };
    switch (depth == 0 ? 0 : random.below(6)) {
    case 1: return '!' + part();
    case 2: return part() + " ? " + part() + " : " + part();
    case 3:
    case 4: return part() + " && " + part();
    case 5: return part() + " || " + part();
    default: return LEAVES[random.below(LEAVES.size())];
    }
}

TEST_F(Explained, DecidingSetsAreThoseThatTrialFinds)
{
    support::Random random{7};
    for (int i = 0; i != 600; ++i) {
        std::string text = randomText(random, 4);
        if (i % 3 == 0)
            text = "'a' + ((" + text + ") ? 1 : count) + (f ? 'b' : 'c')";
        Explanation const explanation = explain(text, root);
        EXPECT_TRUE(explanation.isComplete);
        EXPECT_EQ(explanation.deciding, decidingByTrial(explanation, ProviderSource{*root})) << text;
    }
}

TEST_F(Explained, LargeTextsAreExplainedInLittleTime)
{
    std::string chain = "f", choices = "f ? a0 : b0";
    std::string sum = "1";
    for (int i = 1; i != 3'000; ++i)
        sum += "+(a" + std::to_string(i) + "?1:2)";
    EXPECT_FALSE(explain(sum, root).isComplete);
    for (int i = 1; i != 4'000; ++i)
        chain += (i % 2 ? " || a" : " && a") + std::to_string(i);
    for (int i = 1; i != 150; ++i)
        choices = "(" + choices + ") ? a" + std::to_string(i) + " : b" + std::to_string(i);
    for (std::string const& text : {chain, choices + " ? 1 : 2"}) {
        Explanation const explanation = explain(text, root);
        EXPECT_TRUE(changes(explanation, explanation.deciding.at(0), ProviderSource{*root}));
    }
}

TEST_F(Explained, NothingThatATerminalObeysIsPrinted)
{
    EXPECT_EQ(printable("a\x1b[31m\n\x7f\xc2\x9b\xe2\x80\xae\xe2\x80\xa6\xc3\xa9"),
              "a\\u{1b}[31m\\n\\u{7f}\\u{9b}\\u{202e}\xe2\x80\xa6\xc3\xa9");
}

TEST_F(Explained, EachOfferedFlipFlips)
{
    for (auto const& [text, first] : {
             std::tuple{"!doc.readOnly && doc.dirty", "doc.readOnly: true -> false"},
             {"mode == 'edit'", "mode: 'view' -> 'edit'"},
             {"count > 5 && t", "count: 0 -> 6"},
             {"t", "t: true -> false"},
             {"nobody == -2", "add property nobody = -2"},
             {"nobody && f", "add property nobody = true, f: false -> true"},
             {"count", "count: 0 -> 1"},
             {"!mode", "mode: 'view' -> ''"},
             {"mode =~ /^(edit|run)$/", "mode: 'view' -> 'edit'"},
             {"f && count == 2 && mode == 'x'", "mode: 'view' -> 'x', count: 0 -> 2, f: false -> true"},
             {"doc", "doc: "},
             {"mode == doc.title", "mode: 'view' -> 'notes'"},
             {"f && count == 1 && mode == 'x' && nobody", nullptr},   // four changes
             {"plain.x", nullptr},                                    // no context
             {"f && !f", nullptr},
             {"doc.title == upper('x') + 'y'", nullptr},   // no constant of the text
         }) {
        std::vector<Flip> const flips = flipsOf(text, root);
        EXPECT_EQ(flips.empty(), !first) << text;
        std::string all;
        for (Flip const& flip : flips) {
            all += describe(flip) + '\n';
            support::rolledBack([&] {
                for (ProposedChange const& change : flip.changes)
                    host::put(root, change.path, change.after);
                EXPECT_EQ(gel::eval(text, ProviderSource{*root}), flip.result) << text;
            });
        }
        for (std::string part{first ? first : ""}; !part.empty();
             part.erase(0, part.find(", ") == part.npos ? part.size() : part.find(", ") + 2))
            EXPECT_NE(all.find(part.substr(0, part.find(", "))), all.npos) << all;
    }
}

TEST_F(Explained, ReasonsAreTheSentencesOfWhatDecides)
{
    Reasons reasons{root};
    reasons.add("!doc.readOnly", "{doc.title} is read-only");
    reasons.add("'edit' == mode", "This is the {{{mode}} mode");
    reasons.add("count > 1 && f", "Nothing is selected");
    for (auto const& [text, sentences] : {
             std::tuple{"doc.dirty && !doc.readOnly", "notes is read-only\n"},
             {"!(`doc`.readOnly) && !!(mode == 'edit')", "notes is read-only\nThis is the {view} mode\n"},
             {"mode != 'edit' ? !!(mode == 'edit') : t", "This is the {view} mode\n"},
             {"t && (1 < count && f)", "Nothing is selected\n"},
             {"f || count", "needs f\nneeds count\n"},
             {"t && !t", "needs t && !t (t is true)\n"},
             {"nobody", "needs nobody\n"},
             {"count + 0", "needs count + 0 (count is 0)\n"},
             {"!(count in [0, 1])", "needs !(count in [0, 1]) (count is 0)\n"},
             {"t && doc.readOnly", ""},
             {"t ? 0 : (f ? 1 : '')", "needs !t\nneeds f\n"},
             {"t ? 0 : ''", "needs t ? 0 : '' (t is true)\n"},
         }) {
        std::string all;
        for (std::string const& sentence : reasons.reasonFor(text))
            all += sentence + '\n';
        EXPECT_EQ(all, sentences) << text;
    }
    EXPECT_THROW(reasons.add("f", "{f"), std::invalid_argument);
    EXPECT_THROW(reasons.add("f", "{f &&}"), gel::ParseError);
    reasons.translate([](std::string const& sentence) { return "[" + sentence + "]"; });
    reasons.otherwise([](std::string const&) { return std::string{}; });
    EXPECT_EQ(reasons.reasonFor("f && !doc.readOnly"), std::vector<std::string>{"[notes is read-only]"});
    for (char const* const translated : {"{", "{doc.}"}) {
        reasons.translate([=](std::string const&) { return translated; });
        EXPECT_THROW(reasons.reasonFor("!doc.readOnly"), std::exception) << translated;
    }
}

}   // namespace
}   // namespace studio::inspect

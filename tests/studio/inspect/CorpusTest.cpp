// Explanations of real conditions and bindings in recorded sessions. Registered where the recordings are.

#include "Substitution.h"
#include "gel/Program.h"
#include "studio/host/Put.h"
#include "studio/inspect/Flips.h"
#include "support/Contexts.h"
#include "workbench/Document.h"
#include "workbench/Session.h"

#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace studio::inspect {
namespace {

using inspect_test::ProviderSource;
using inspect_test::Set;

struct Recorded {
    char const* expressions;
    char const* session;
};

class Corpus : public testing::TestWithParam<Recorded> {
protected:
    /// Explains one text and checks what is said.
    void check(std::string const& text, data::ContextProvider const& root, bool checksAll)
    {
        ProviderSource const source{root};
        Explanation const explanation = explain(text, root.getId(), host::ContextReader{});
        for (Set const& set : explanation.deciding) {
            EXPECT_TRUE(changes(explanation, set, source)) << text;
            for (std::size_t without = 0; set.size() > 1 && without != set.size(); ++without) {
                Set part = set;
                part.erase(part.begin() + static_cast<std::ptrdiff_t>(without));
                EXPECT_FALSE(changes(explanation, part, source)) << text;
            }
        }
        if (checksAll && explanation.conditions.size() <= 8 && explanation.isComplete) {
            EXPECT_EQ(explanation.deciding, decidingByTrial(explanation, source)) << text;
            ++tried;
        }
    }
    /// Makes each change that is offered.
    void checkFlips(std::string const& text, std::shared_ptr<data::ContextProvider> const& root)
    {
        ProviderSource const source{*root};
        std::vector<Flip> const flips = flipsOf(text, root);
        without += flips.empty();
        for (Flip const& flip : flips) {
            ++offered;
            support::rolledBack([&] {
                for (ProposedChange const& change : flip.changes)
                    host::put(root, change.path, change.after);
                EXPECT_EQ(gel::eval(text, source), flip.result) << text;
            });
        }
    }

    std::size_t tried = 0, offered = 0, without = 0;
};

TEST_P(Corpus, IsTracedAndExplained)
{
    std::string const folder = CORPUS;
    auto const expressions = workbench::loadExpressions(folder + GetParam().expressions);
    auto const recording = workbench::loadRecording(folder + GetParam().session, expressions.size());
    workbench::Session session{expressions, recording};
    ProviderSource const source{*session.root()};
    std::vector<gel::Tree> trees;
    std::vector<gel::Program> programs;
    std::map<std::string, std::vector<std::size_t>> readers;
    std::map<std::string, gel::Value> known;
    for (std::size_t i = 0; i != expressions.size(); ++i) {
        trees.emplace_back(expressions[i].text);
        programs.emplace_back(expressions[i].text);
        for (std::string const& symbol : programs.back().symbols())
            readers[symbol].push_back(i);
    }
    std::size_t traces = 0;
    for (std::size_t step = 0;; ++step) {
        // What reads nothing that has changed yields what it did before, and is not traced again.
        std::set<std::size_t> touched;
        for (auto const& [symbol, its] : readers)
            if (gel::Value value = source.lookup(symbol); step == 0 || value != known[symbol]) {
                known[symbol] = std::move(value);
                touched.insert(its.begin(), its.end());
            }
        for (std::size_t const i : touched) {
            std::vector<std::optional<gel::Value>> const values = trees[i].trace(source);
            ASSERT_EQ(values.back(), programs[i].eval(source)) << expressions[i].text;
            if (++traces % 7 == 0)
                check(expressions[i].text, *session.root(), traces % 49 == 0);
            if (traces % 101 == 0)
                checkFlips(expressions[i].text, session.root());
        }
        if (step == recording.steps.size())
            break;
        session.run(recording.steps[step]);
    }
    RecordProperty("traces", std::to_string(traces));
    std::cout << traces << " traces, " << tried << " sets of sets tried, " << offered << " flips made, " << without
              << " texts without one\n";
}

INSTANTIATE_TEST_SUITE_P(Recordings, Corpus,
                         testing::Values(Recorded{"when-expressions.json", "when-recorded-session.json"},
                                         Recorded{"when-expressions.json", "when-session-1.json"},
                                         Recorded{"when-expressions.json", "when-session-2.json"},
                                         Recorded{"binding-expressions.json", "binding-session-1.json"}));

}   // namespace
}   // namespace studio::inspect

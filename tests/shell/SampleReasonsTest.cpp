#include "gel/Eval.h"
#include "shell/Files.h"
#include "shell/Places.h"
#include "shell/Text.h"
#include "shell/Workspace.h"
#include "studio/inspect/Reasons.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>

namespace {

/// True for the label of a menu entry that is enabled by its text, not named or counted by it.
bool isEntry(std::string const& label)
{
    return label.find(" > ") != std::string::npos && !label.ends_with(": label") && !label.ends_with(" badge");
}

/// Returns a text with the values of its symbols.
std::string stateOf(std::string text, studio::data::ContextProvider const& root)
{
    for (std::string const& symbol : gel::symbols(text))
        text += '|' + shell::literal(root.getPropertyValue(symbol));
    return text;
}

TEST(Sample, EveryDisabledEntryHasASentenceAtEveryStep)
{
    shell::DiskFiles files{false};
    auto const material = std::make_shared<shell::Material const>(files.sample());
    shell::Workspace workspace{material};
    studio::inspect::Reasons reasons{workspace.root()};
    for (auto const& [condition, sentence] : material->reasons)
        reasons.add(condition, sentence);
    reasons.otherwise([&](std::string const& condition) {
        ADD_FAILURE() << "step " << workspace.step() << ": no sentence for " << condition;
        return condition;
    });
    std::set<std::string> seen;   // texts with the values of their symbols
    for (bool isOver = false; !isOver && !testing::Test::HasFailure();
         isOver = workspace.step() == material->recording.steps.size()) {
        workspace.makeStep();
        for (workbench::Expression const& each : material->expressions)
            if (isEntry(each.source) && seen.insert(stateOf(each.text, *workspace.root())).second &&
                !shell::isTrue(shell::evaluate(each.text, workspace.root()->getId()))) {
                EXPECT_FALSE(reasons.reasonFor(each.text).empty()) << each.source;
            }
    }
    EXPECT_GT(seen.size(), 1'000);
}

}   // namespace

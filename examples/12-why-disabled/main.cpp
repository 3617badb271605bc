// Why is a command disabled? For people: a sentence in a tool tip. For programmers: what decides, what would turn it
// around, and the commit that did it.

#include "studio/host/ContextTree.h"
#include "studio/host/Subscriptions.h"
#include "studio/inspect/Explanation.h"
#include "studio/inspect/Flips.h"
#include "studio/inspect/Reasons.h"
#include "studio/inspect/Watcher.h"

#include <iostream>
#include <string>

using namespace studio;

int main()
{
    host::ContextTree window;
    auto const editor = window.make("editor");
    editor->addProperty("title", "notes.txt");
    editor->addProperty("dirty", true);
    editor->addProperty("readOnly", false);
    editor->addProperty("permissions", "rw");

    host::Subscriptions subscriptions{window.root()};
    inspect::Watcher const watcher{subscriptions.engine()};
    auto const lock = subscriptions.watch("editor.permissions", [&](auto const& permissions) {
        editor->setPropertyValue("readOnly", permissions != "rw");
    });
    std::string const save = "editor.dirty && !editor.readOnly";
    auto const canSave = subscriptions.when(
        save, [](bool isEnabled) { std::cout << "save is " << (isEnabled ? "enabled" : "disabled") << '\n'; });

    editor->setPropertyValue("permissions", "r");

    inspect::Reasons reasons{window.root()};
    reasons.add("editor.dirty", "There is nothing to save");
    reasons.add("!editor.readOnly", "{editor.title} is read-only");
    for (std::string const& sentence : reasons.reasonFor(save))
        std::cout << "tool tip: " << sentence << '\n';

    inspect::Explanation const explanation = inspect::explain(save, window.root());
    for (std::uint32_t const condition : explanation.deciding.front()) {
        auto const& node = explanation.tree.nodes()[explanation.conditions[condition].nodes.front()];
        std::cout << "decided by: " << explanation.tree.textOf(node) << '\n';
    }
    for (inspect::Flip const& flip : inspect::flipsOf(save, window.root()))
        std::cout << "would turn it around: " << describe(flip) << '\n';

    inspect::Why const why = watcher.why(save);
    for (std::size_t i = 0; i != why.changes.size(); ++i)
        std::cout << "changed by: " << why.paths[i] << '\n';
    std::cout << "in a commit of the callback of: " << why.chain.front().callback << '\n';
}

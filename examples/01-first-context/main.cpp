// Contexts, a subscription, and what a write does to it.

#include "studio/host/ContextTree.h"
#include "studio/host/Subscriptions.h"

#include <iostream>

using namespace studio::host;

int main()
{
    ContextTree window;
    auto const root = window.root();
    auto const editor = window.make("editor");   // a child: its properties are read as editor.…
    root->addProperty("title", "notes.txt");
    editor->addProperty("readOnly", false);

    Subscriptions subscriptions(root);
    auto const canSave = subscriptions.when("title != '' && !editor.readOnly", [](bool isEnabled) {
        std::cout << "save is " << (isEnabled ? "enabled" : "disabled") << '\n';
    });

    editor->setPropertyValue("readOnly", true);         // the result changes: the callback runs, before this returns
    root->setPropertyValue("title", "todo.txt");        // the result stays: silence
    root->setPropertyValue("editor.readOnly", false);   // writes readOnly of the editor
}

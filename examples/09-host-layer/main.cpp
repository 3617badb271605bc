// The layer that most hosts begin with: declared keys, a tree that owns contexts, subscriptions that receive only real
// changes, writes in a batch, and a popup whose end changes nothing for the others.

#include "studio/host/Batch.h"
#include "studio/host/ContextKey.h"
#include "studio/host/ContextTree.h"
#include "studio/host/Schema.h"
#include "studio/host/Subscriptions.h"

#include <iostream>
#include <stdexcept>
#include <string>

using namespace studio::host;

int main()
{
    ContextKey<bool> const dirty{"dirty", false, "True while there are unsaved changes"};
    ContextKey<int> const line{"line", 1, "The line of the cursor"};
    Schema schema;
    schema.add(dirty, "editor.document");
    schema.add(line, "editor");

    ContextTree window;
    auto const document = window.make("editor.document");
    auto const editor = window.find("editor");
    dirty.addTo(document);
    line.addTo(editor);

    Subscriptions subscriptions{window.root()};
    subscriptions.require(schema);
    auto const save = subscriptions.when("editor.document.dirty", [](bool isEnabled) {
        std::cout << "save: " << (isEnabled ? "enabled" : "disabled") << '\n';
    });
    auto const status = subscriptions.show("'Line ' + editor.line",
                                           [](std::string const& text) { std::cout << "status: " << text << '\n'; });
    auto popup = subscriptions.watch("editor.document.dirty ? editor.line : 0",
                                     [](auto const& value) { std::cout << "popup: " << value.asString() << '\n'; });

    std::cout << "type three lines\n";
    batch([&] {
        for (int typed = 0; typed != 3; ++typed)
            line.set(editor, line.get(editor) + 1);
        dirty.set(document, true);
    });
    std::cout << "close the popup, save\n";
    popup.reset();
    dirty.set(document, false);

    try {
        static_cast<void>(subscriptions.when("editor.document.drity", [](bool) {}));
    } catch (std::invalid_argument const& refusal) {
        std::cout << refusal.what() << '\n';
    }
}

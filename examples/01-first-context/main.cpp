// The smallest host: a context, a context inside it, an expression over both, and a callback for its changes.
// The engine watches what the expression names. The callback runs inside the write that changed the result, and at no
// other time.

#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"

#include <iostream>

using namespace studio::data;

int main()
{
    auto const window = ContextProvider::create();
    auto const editor = ContextProvider::create();
    editor->addProperty("readOnly", false);
    window->addProperty("title", "notes.txt");
    window->addProperty("editor", PropertyValue(editor));   // a child: its properties are read as editor.…

    auto const show = [](std::string const& text, PropertyValue const& value) {
        std::cout << text << ": " << value.asString() << '\n';
    };
    ExpressionEngine engine(window);
    auto const canSave = engine.acquireExpression("title != '' && !editor.readOnly", show);

    editor->setPropertyValue("readOnly", true);           // the result changes: the callback runs, before this returns
    window->setPropertyValue("title", "todo.txt");        // the result stays: silence
    window->setPropertyValue("editor.readOnly", false);   // the same property, by its path
}

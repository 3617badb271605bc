// Contexts that refer to contexts: dotted names, paths that lead elsewhere, and what keeps a child alive.

#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"

#include <iostream>
#include <memory>
#include <string>

using namespace studio::data;

std::shared_ptr<ContextProvider> document(std::string const& name)
{
    auto provider = ContextProvider::create();
    provider->addProperty("name", name);
    provider->addProperty("dirty", false);
    return provider;
}

int main()
{
    auto notes = document("notes.txt");
    auto const todo = document("todo.txt");
    auto const window = ContextProvider::create();
    window->addProperty("document", PropertyValue(notes));

    ExpressionEngine engine(window);
    auto const title = engine.acquireExpression(
        "(document.name ?? 'nothing open') + (document.dirty ? ' *' : '')",
        [](std::string const&, PropertyValue const& value) { std::cout << "title: " << value.asString() << '\n'; });

    window->setPropertyValue("document.dirty", true);        // writes into the document
    notes->setPropertyValue("name", "ideas.txt");            // whoever writes it
    window->setPropertyValue("document.author", "nobody");   // adds nothing: the document has no such property

    std::cout << "another document:\n";
    window->setPropertyValue("document", PropertyValue(todo));   // the path has another end now
    notes->setPropertyValue("dirty", false);                     // nothing reads the old one any more
    todo->setPropertyValue("name", "todo.md");

    std::cout << "the owner releases it:\n";
    window->setPropertyValue("document", PropertyValue(notes));
    notes.reset();   // the property names it and does not own it
}

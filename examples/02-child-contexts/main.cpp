// Contexts that refer to contexts: dotted names, one transaction for several writes, and what keeps a child alive.

#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/Transaction.h"

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

    std::cout << "one transaction:\n";
    {
        tarn::zero::Transaction transaction = ContextProvider::sharedModel()->beginTransaction(true);
        todo->setPropertyValue("dirty", true);
        window->setPropertyValue("document", PropertyValue(todo));
        todo->setPropertyValue("name", "todo.md");
        transaction.commit(boost::none);   // one report: the title is evaluated once
    }
    {
        tarn::zero::Transaction const transaction = ContextProvider::sharedModel()->beginTransaction(true);
        todo->setPropertyValue("name", "lost.md");
    }   // not committed: rolled back, and nobody hears of it
    std::cout << "name: " << window->getPropertyValue("document.name").asString() << '\n';

    std::cout << "the owner lets go:\n";
    window->setPropertyValue("document", PropertyValue(notes));
    notes.reset();   // the property names it and does not own it
}

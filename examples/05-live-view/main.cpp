// A live view: a panel that reads contexts without touching them, and is always up to date.

#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"

#include <iostream>
#include <memory>
#include <string>

using namespace studio::data;

/// What the panel shows of a context: its properties, and below them those of its children.
void show(ContextView const& view, ContextData const& context, std::string const& indent)
{
    for (Property const& property : context->getProperties()) {
        PropertyValue const& value = property->getValue();
        ContextData const child = value.isUUID() ? view.getData(value.getUUID()) : ContextData{};
        std::cout << indent << property->getName() << (child ? ":" : ": " + value.asString()) << '\n';
        if (child)
            show(view, child, indent + "  ");
    }
}

int main()
{
    auto const selection = ContextProvider::create();
    selection->addProperty("lines", 2);
    auto const editor = ContextProvider::create();
    editor->addProperty("file", "notes.txt");
    editor->addProperty("selection", PropertyValue(selection));

    auto view = ContextView::create(tarn::zero::Model{});   // in a model of its own
    auto const panel = view->acquire(editor->getId(), [](ContextData const& data) {
        std::cout << "the view is gone; the panel holds " << (data ? "something" : "nothing") << '\n';
    });
    std::cout << "at first\n";
    show(*view, panel->getData(), "  ");

    selection->setPropertyValue("lines", 5);   // no call is made; the next look shows it
    editor->addProperty("dirty", true);
    std::cout << "after two changes\n";
    show(*view, panel->getData(), "  ");

    editor->setPropertyValue("selection", "none");   // what nothing refers to any more is mirrored no more
    std::cout << "after the selection went\n";
    show(*view, panel->getData(), "  ");
    std::cout << "  selection mirrored: " << (view->getData(selection->getId()) ? "yes" : "no") << '\n';

    view.reset();   // the one call that is ever made
    std::cout << "panel reads: " << (panel->getData() ? "something" : "nothing") << '\n';
}

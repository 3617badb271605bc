// Values in documents of nlohmann::json: a context is saved with all that it reaches, and loaded again.

#include "studio/data/ContextProvider.h"
#include "studio/data/PropertyValueJson.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace studio::data;
using Json = nlohmann::ordered_json;
using Contexts = std::vector<std::shared_ptr<ContextProvider>>;

/// A context as an object; the contexts that it refers to are objects inside it. For trees: a cycle would never end.
Json save(ContextProvider const& context)
{
    Json object = Json::object();
    for (std::string const& name : context.getPropertyNames()) {
        auto const child = context.getChildContextProvider(name);
        object[name] = child ? save(*child) : Json(context.getPropertyValue(name));
    }
    return object;
}

/// The context of an object. Only `owners` keeps the contexts inside it alive.
std::shared_ptr<ContextProvider> load(Json const& object, Contexts& owners)
{
    auto context = ContextProvider::create();
    for (auto const& [name, json] : object.items())
        context->addProperty(name, json.is_object() ? load(json, owners) : json.get<PropertyValue>());
    owners.push_back(context);
    return context;
}

int main()
{
    auto const editor = ContextProvider::create();
    editor->addProperty("file", "notes.txt");
    editor->addProperty("zoom", 1.5);
    auto const window = ContextProvider::create();
    window->addProperty("editor", editor);
    window->addProperty("maximized", true);
    window->addProperty("selection", PropertyValue());

    std::string const saved = save(*window).dump(2);
    std::cout << saved << '\n';

    Contexts owners;
    auto const again = load(Json::parse(saved), owners);
    std::cout << "loaded: " << again->getPropertyValue("editor.file") << ", zoom "
              << again->getPropertyValue("editor.zoom") << ", " << owners.size() << " contexts\n";

    try {
        load(Json::parse(R"({"recent": ["notes.txt", "todo.txt"]})"), owners);
    } catch (std::invalid_argument const& refusal) {
        std::cout << "refused: " << refusal.what() << '\n';
    }
}

// What hosts use the library for: commands with a condition each, and a menu that shows which ones are enabled. Only
// the commands whose condition changed are updated.

#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"

#include "gel/ParseError.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

using namespace studio::data;

struct Command {
    std::string name;
    std::string condition;
    std::unique_ptr<ExpressionHandle> subscription;
};

int main()
{
    auto const selection = ContextProvider::create();
    selection->addProperty("count", 0);
    selection->addProperty("kind", PropertyValue());   // undefined until something is selected
    auto const editor = ContextProvider::create();
    editor->addProperty("readOnly", false);
    editor->addProperty("file", "main.cpp");
    editor->addProperty("selection", PropertyValue(selection));

    std::vector<Command> commands;
    commands.push_back({"copy", "selection.count > 0", nullptr});
    commands.push_back({"cut", "selection.count > 0 && !readOnly", nullptr});
    commands.push_back({"rename symbol", "selection.kind in ['function', 'variable'] && !readOnly", nullptr});
    commands.push_back({"preview", "file =~ /\\.(md|html)$/i", nullptr});
    commands.push_back({"broken", "!readOnly == true", nullptr});

    ExpressionEngine engine(editor);
    for (Command& command : commands) {
        auto const show = [&command](std::string const&, PropertyValue const& value) {
            std::cout << "  " << command.name << ": " << (value.getBool() ? "enabled" : "disabled") << '\n';
        };
        try {
            command.subscription = engine.acquireExpression(command.condition, show);
        } catch (gel::ParseError const& error) {
            std::cout << error.what() << '\n' << error.excerpt() << '\n';
        }
    }

    std::cout << "a function is selected\n";
    selection->setPropertyValue("kind", "function");
    selection->setPropertyValue("count", 1);
    std::cout << "one more\n";
    selection->setPropertyValue("count", 2);   // no result changes
    std::cout << "the file is locked\n";
    editor->setPropertyValue("readOnly", true);
    std::cout << "another file\n";
    editor->setPropertyValue("file", "README.MD");
}

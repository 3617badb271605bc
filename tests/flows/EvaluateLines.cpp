// Prints the value of each line of its input, or why it does not parse: for the tables of docs/expressions.md.

#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"

#include "gel/ParseError.h"

#include <iostream>
#include <memory>
#include <string>

using namespace studio::data;

namespace {

std::shared_ptr<ContextProvider> exampleContext(std::shared_ptr<ContextProvider> const& project)
{
    auto context = ContextProvider::create();
    project->addProperty("name", "garden");
    context->addProperty("count", 3);
    context->addProperty("file", "notes.md");
    context->addProperty("readOnly", false);
    context->addProperty("tags", "draft,todo");
    context->addProperty("line-ending", "LF");
    context->addProperty("project", PropertyValue(project));
    return context;
}

std::string written(PropertyValue const& value)
{
    return value.isString() ? '\'' + value.getString() + '\'' : value.asString();
}

}   // namespace

int main()
{
    auto const project = ContextProvider::create();
    ExpressionEngine engine(exampleContext(project));
    for (std::string line; std::getline(std::cin, line);)
        try {
            auto const handle = engine.acquireExpression(line, [](auto const&, auto const&) {});
            std::cout << written(handle->getValue()) << '\n';
        } catch (gel::ParseError const& error) {
            std::cout << error.what() << '\n';
        }
}

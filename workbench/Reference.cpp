#include "workbench/Reference.h"

#include "workbench/NaiveEvaluator.h"

#include <boost/uuid/uuid_io.hpp>

#include <utility>

namespace workbench {

using studio::data::PropertyValue;
using Kind = Operation::Kind;

namespace {

gel::Value toLanguage(PropertyValue const& value)
{
    if (value.isDouble())
        return value.getDouble();
    if (value.isLogical())
        return value.getBool();
    if (value.isString())
        return value.getString();
    if (value.isUUID())
        return boost::uuids::to_string(value.getUUID());
    return {};
}

PropertyValue fromLanguage(gel::Value const& value)
{
    if (value.isDouble())
        return value.getDouble();
    if (value.isLogical())
        return value.getBool();
    if (value.isString())
        return value.getString();
    return {};
}

}   // namespace

Reference::Reference(std::vector<Expression> const& expressions, std::vector<Operation> const& initial, Names names)
    : names{std::move(names)}
{
    for (Expression const& expression : expressions) {
        programs.emplace_back(expression.text);
        trees.emplace_back(expression.text);
    }
    contexts[0];
    for (Operation const& operation : initial)
        apply(operation);
    current = evaluateAll();
}

std::vector<Answer> Reference::step(std::vector<Operation> const& operations)
{
    auto const start = std::chrono::steady_clock::now();
    for (Operation const& operation : operations)
        apply(operation);
    runAll();
    spent += std::chrono::steady_clock::now() - start;
    std::vector<PropertyValue> after = evaluateAll();
    std::vector<Answer> changed;
    for (std::size_t i = 0; i < after.size(); ++i)
        if (!(after[i] == current[i]))
            changed.push_back({i, after[i]});
    current = std::move(after);
    return changed;
}

void Reference::apply(Operation const& operation)
{
    Context& context = contexts[operation.context];
    switch (operation.kind) {
    case Kind::create:
    case Kind::activate: break;   // no expression can see an active context
    case Kind::set: context[operation.name] = {toLanguage(operation.value), std::nullopt}; break;
    case Kind::link: context[operation.name] = {toLanguage(names(operation.target)), operation.target}; break;
    case Kind::remove: context.erase(operation.name); break;
    case Kind::drop: contexts.erase(operation.context); break;
    }
}

void Reference::runAll()
{
    Source const source(contexts);
    for (gel::Program const& program : programs)
        static_cast<void>(program.eval(source));
    evaluated += programs.size();
}

std::vector<PropertyValue> Reference::evaluateAll() const
{
    Source const source(contexts);
    std::vector<PropertyValue> values;
    values.reserve(trees.size());
    for (gel::Tree const& tree : trees)
        values.push_back(fromLanguage(
            NaiveEvaluator{[&](std::string const& symbol) { return source.lookup(symbol); }}.evaluate(tree)));
    return values;
}

gel::Value Reference::Source::lookup(std::string const& symbol) const
{
    return find(0, symbol);
}

/// Looks up a symbol. A property of the whole name takes precedence; otherwise the first dot leads into a child.
gel::Value Reference::Source::find(std::size_t context, std::string_view path) const
{
    for (auto here = contexts.find(context); here != contexts.end();) {
        Context const& properties = here->second;
        if (auto const whole = properties.find(path); whole != properties.end())
            return whole->second.value;
        std::size_t const dot = path.find('.');
        if (dot == std::string_view::npos)
            break;
        auto const head = properties.find(path.substr(0, dot));
        if (head == properties.end() || !head->second.target)
            break;
        here = contexts.find(*head->second.target);
        path.remove_prefix(dot + 1);
    }
    return {};
}

}   // namespace workbench

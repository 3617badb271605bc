#include "benchmarks/BaselineEngine.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace benchmarks::baseline {

Engine::Handle::Handle(Engine& engine, Expression& expression, Callback callback)
    : engine{engine}, expression{expression}, callback{std::move(callback)}, position{expression.handles.size()}
{
    expression.handles.push_back(this);
}

Engine::Handle::~Handle()
{
    std::vector<Handle*>& handles = expression.handles;
    handles[position] = handles.back();
    handles[position]->position = position;
    handles.pop_back();
    if (handles.empty())
        engine.release(expression);
}

Engine::Engine(Store& store, std::uint32_t root) : store{store}, root{root}
{
    store.listeners.push_back(this);
}

Engine::~Engine()
{
    std::erase(store.listeners, this);
}

std::unique_ptr<Engine::Handle> Engine::acquire(std::string const& text, Callback callback)
{
    auto const [place, isNew] = expressions.try_emplace(text);
    if (isNew) {
        std::vector<std::uint32_t> named;
        Program program(text, [&](std::string_view name) {
            named.push_back(symbolOf(name));
            return static_cast<std::uint32_t>(named.size() - 1);
        });
        place->second.reset(new Expression{text, std::move(program), std::move(named), {}, {}});
        for (std::uint32_t const symbol : place->second->symbols)
            symbols[symbol].readers.push_back(place->second.get());
        evaluate(*place->second);
    }
    Expression& expression = *place->second;
    auto handle = std::make_unique<Handle>(*this, expression, std::move(callback));
    handle->callback(expression.text, expression.value);
    return handle;
}

void Engine::committed(Store::Report const& report)
{
    ++stamp;
    touched.clear();
    for (Store::Old const& old : report) {
        if (old.slot >= uses.size())
            continue;
        if (std::holds_alternative<Identity>(old.value) ||
            std::holds_alternative<Identity>(store.slots[old.slot].value)) {
            std::vector<Use> const before = uses[old.slot];
            for (Use const& use : before) {
                unbind(use.symbol, use.depth + 1);
                bind(use.symbol, use.depth + 1);
            }
        }
        for (Use const& use : uses[old.slot])
            for (Expression* const reader : symbols[use.symbol].readers)
                if (std::exchange(reader->stamp, stamp) != stamp)
                    touched.push_back(reader);
    }
    for (Expression* const expression : touched)
        evaluate(*expression);
}

std::uint32_t Engine::symbolOf(std::string_view text)
{
    auto const number = static_cast<std::uint32_t>(symbols.size());
    auto const [place, isNew] = symbolsByText.try_emplace(std::string(text), number);
    if (!isNew)
        return place->second;
    Symbol& symbol = symbols.emplace_back();
    while (!text.empty()) {
        std::string_view const part = text.substr(0, text.find('.'));
        symbol.names.push_back(store.names.intern(part));
        text.remove_prefix(std::min(text.size(), part.size() + 1));
    }
    bind(number, 0);
    return number;
}

void Engine::bind(std::uint32_t number, std::uint32_t depth)
{
    Symbol& symbol = symbols[number];
    for (; depth < symbol.names.size(); ++depth) {
        std::uint32_t context = root;
        if (depth != 0) {
            auto const* const reference = std::get_if<Identity>(&store.slots[symbol.slots[depth - 1]].value);
            if (!reference)
                return;
            context = store.contextOf(*reference);
        }
        std::uint32_t const slot = store.find(context, symbol.names[depth]);
        if (slot == Store::NONE)
            return;
        if (uses.size() <= slot)
            uses.resize(store.slots.size());
        uses[slot].push_back({number, depth});
        symbol.slots.push_back(slot);
    }
}

void Engine::unbind(std::uint32_t number, std::uint32_t depth)
{
    Symbol& symbol = symbols[number];
    for (; symbol.slots.size() > depth; symbol.slots.pop_back()) {
        std::vector<Use>& others = uses[symbol.slots.back()];
        *std::find_if(others.begin(), others.end(), [&](Use const& use) { return use.symbol == number; }) =
            others.back();
        others.pop_back();
    }
}

void Engine::evaluate(Expression& expression)
{
    Cell const result = expression.program.evaluate([&](std::uint32_t named) {
        Symbol const& symbol = symbols[expression.symbols[named]];
        bool const isWhole = symbol.slots.size() == symbol.names.size();
        return isWhole ? Cell::of(store.slots[symbol.slots.back()].value) : Cell::undefined();
    });
    auto const* const before = std::get_if<double>(&expression.value);
    if (before && *before == result.number)
        return;
    expression.value = result.number;
    for (Handle* const handle : expression.handles)
        handle->callback(expression.text, expression.value);
}

void Engine::release(Expression& expression)
{
    for (std::uint32_t const symbol : expression.symbols) {
        std::vector<Expression*>& readers = symbols[symbol].readers;
        *std::find(readers.begin(), readers.end(), &expression) = readers.back();
        readers.pop_back();
    }
    expressions.erase(expressions.find(expression.text));
}

}   // namespace benchmarks::baseline

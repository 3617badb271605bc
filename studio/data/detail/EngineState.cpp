#include "studio/data/detail/EngineState.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace studio::data::detail {

void EngineState::end() noexcept
{
    isEnded = true;
    observers.each([](EngineObserver& observer) { observer.engineEnds(); });
    observers.clear();
    for (Expression::Pin const& expression : expressions)
        expression->detachHandles();
    for (Expression::Pin const& expression : expressions) {
        removeFromReaders(*expression);
        expression->retire();
    }
    expressions.clear();
    std::shared_ptr<ContextProvider> const last = std::move(root);   // its end may call out
}

std::unique_ptr<ExpressionHandle> EngineState::acquire(std::string const& text,
                                                       ExpressionHandle::Callback const& callback)
{
    auto handle = std::make_unique<ExpressionHandle>(nullptr, callback);   // copying a callback may run anything
    if (isEnded)
        return nullptr;
    Expression::Pin expression{expressions.find(text)};
    PropertyValue value;   // copied before the handle is added: removing it would unbind symbols
    if (expression) {
        value = expression->value;
        expression->addHandle(*handle);
    } else {
        // By design: a failed construction leaves the symbols that were bound by then.
        expression = new Expression{text, *this};
        try {
            value = expression->value;
            expression->addHandle(*handle);
            attach(*expression);
        } catch (...) {
            expression->abandon();
            throw;
        }
    }
    handle->expression = expression.get();
    handle->call(*expression, value);
    return handle;
}

/// Adds a new expression to its symbols' readers: their changes evaluate it from now on.
void EngineState::attach(Expression& expression)
{
    try {
        for (Symbol* const symbol : expression.symbols)
            symbol->readers.push_back(&expression);
        if (hasNotedTexts)
            for (auto const& symbol : symbols)
                if (symbol->expressions.count(expression.text) != 0)
                    addReader(*symbol, expression);
        expressions.insert(Expression::Pin{&expression});
    } catch (...) {
        removeFromReaders(expression);
        throw;
    }
}

void EngineState::release(ExpressionHandle& handle) noexcept
{
    if (!handle.expression || &handle.expression->engine != this)
        return;
    Expression* const expression = std::exchange(handle.expression, nullptr);
    if (!expression->removeHandle(handle) || expression->hasHandles())
        return;
    Expression::Pin const last = expressions.extract(expression->text);
    removeFromReaders(*last);
    last->retire();
}

std::vector<ExpressionEngine::Entry> EngineState::list() const
{
    std::vector<Expression const*> ordered;
    for (Expression::Pin const& expression : expressions)
        ordered.push_back(expression.get());
    std::sort(ordered.begin(), ordered.end(),
              [](Expression const* left, Expression const* right) { return left->number < right->number; });
    std::vector<ExpressionEngine::Entry> entries;
    for (Expression const* const expression : ordered)
        entries.push_back({expression->text, expression->value, expression->handleCount()});
    return entries;
}

void EngineState::addReader(Symbol& symbol, Expression& expression)
{
    if (std::count(symbol.readers.begin(), symbol.readers.end(), &expression) == 0)
        symbol.readers.push_back(&expression);
}

void EngineState::removeReader(Symbol& symbol, Expression const& expression) noexcept
{
    auto& readers = symbol.readers;
    auto const reader = std::find(readers.begin(), readers.end(), &expression);
    if (reader == readers.end())
        return;
    *reader = readers.back();   // order does not matter: readers are evaluated by number
    readers.pop_back();
}

void EngineState::removeFromReaders(Expression& expression) noexcept
{
    for (Symbol* const symbol : expression.symbols)
        removeReader(*symbol, expression);
    if (hasNotedTexts)
        for (auto const& symbol : symbols)
            removeReader(*symbol, expression);
}

EngineState::Symbol& EngineState::bindSymbol(std::string_view name, std::string const& text)
{
    Symbol* const known = symbols.find(name);
    Symbol& symbol = known ? *known : symbols.insert(std::make_unique<Symbol>(name));
    try {
        symbol.expressions.insert(text);
    } catch (...) {
        dropIfUnused(symbol);
        throw;
    }
    symbol.isTentative |= model.isInTransaction();
    bindPath(symbol, 0, root, true);
    return symbol;
}

void EngineState::releaseSymbol(Symbol& symbol, std::string const& text) noexcept
{
    symbol.expressions.erase(text);
    if (releasePolicy == ReleasePolicy::UnbindsShared || symbol.expressions.empty())
        unbindFrom(symbol, 0);
    dropIfUnused(symbol);
}

void EngineState::dropIfUnused(Symbol& symbol) noexcept
{
    if (symbol.expressions.empty() && symbol.readers.empty())
        symbols.extract(symbol.text);
}

EngineState::Symbol* EngineState::symbolAt(std::string_view name, unsigned long offset) const
{
    if (offset > name.size())
        throw std::out_of_range{"basic_string_view::substr: __pos (which is " + std::to_string(offset) +
                                ") > __size (which is " + std::to_string(name.size()) + ')'};
    return symbols.find(name);
}

/// Binds a leaf and returns its index in the symbol's leaves. `property` is the property of that name now, or null.
std::size_t EngineState::bindLeaf(Symbol& symbol, unsigned long offset, boost::uuids::uuid const& context,
                                  Property::Impl* property)
{
    std::string_view const name = symbol.componentAt(offset);
    ExpressionBinding* binding = property ? links.find(*property).binding : nullptr;
    if (!binding || binding->context->id != context || binding->name != name)
        binding = &bindings.at(context, name);
    std::size_t const index = bindings.add(symbol, offset, *binding);
    if (model.isInTransaction())
        links.markStale(*binding);   // a roll back may undo the present property, or its absence
    else
        links.set(*binding, property);
    return index;
}

void EngineState::bindPath(Symbol& symbol, unsigned long offset, std::shared_ptr<ContextProvider> const& provider,
                           bool isPrefixWhole)
{
    symbol.reachesEnd.reset();
    if (!provider)
        return;
    std::size_t next = 0;
    bool isInOrder = true;
    bool reachesEnd = false;
    bool const isCertain =
        walk(symbol, offset, provider,
             [&](boost::uuids::uuid const& here, unsigned long at, std::string_view name, Property::Impl* property) {
                 std::size_t const index = bindLeaf(symbol, at, here, property);
                 isInOrder = isInOrder && (index == next || (at == offset && offset != 0));
                 next = index + 1;
                 reachesEnd = at + name.size() == symbol.text.size();
             });
    bool const isWhole = isPrefixWhole && isCertain && isInOrder && next == symbol.leaves.size();
    if (isWhole && !model.isInTransaction())
        symbol.reachesEnd.set(reachesEnd, epoch);
}

/// Walks the path of a symbol and compares it with the leaves. Returns true if they are the whole path.
bool EngineState::verify(Symbol& symbol)
{
    auto const& leaves = symbol.leaves;
    std::size_t next = 0;
    bool isOnPath = true;
    bool reachesEnd = false;
    bool const isCertain =
        walk(symbol, 0, root,
             [&](boost::uuids::uuid const& here, unsigned long at, std::string_view name, Property::Impl* property) {
                 isOnPath = isOnPath && next != leaves.size() && leaves[next].offset == at &&
                            leaves[next].binding->context->id == here;
                 if (isOnPath)
                     links.set(*leaves[next++].binding, property);
                 reachesEnd = at + name.size() == symbol.text.size();
             });
    if (!isCertain || !isOnPath || next != leaves.size())
        return false;
    symbol.reachesEnd.set(reachesEnd, epoch);
    return true;
}

void EngineState::unbindFrom(Symbol& symbol, unsigned long offset) noexcept
{
    unbindIf(symbol, [offset](Symbol::Leaf const& leaf) { return leaf.offset >= offset; });
}

Property::Impl const* EngineState::endOf(Symbol& symbol)
{
    if (!epoch.isUpToDate() || !(symbol.reachesEnd.in(epoch) || verify(symbol)))
        return root->findPropertyAt(symbol.text);
    return *symbol.reachesEnd.in(epoch) ? symbol.leaves.back().binding->property() : nullptr;
}

}   // namespace studio::data::detail

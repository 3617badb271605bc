#include "studio/data/ExpressionEngine.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/Expression.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/data/detail/ExpressionBatch.h"
#include "studio/data/detail/ExpressionTables.h"
#include "tarn/zero/ModelImpl.h"

#include <boost/container_hash/hash.hpp>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace studio::data {

std::size_t ExpressionEngine::LeafHash::operator()(Leaf const& leaf) const noexcept
{
    std::size_t seed = 0;
    boost::hash_combine(seed, boost::hash_range(leaf.symbol.begin(), leaf.symbol.end()));
    boost::hash_combine(seed, leaf.offset);
    return seed;
}

ExpressionEngine::ExpressionEngine(std::shared_ptr<ContextProvider> provider)
    : rootProvider{std::move(provider)}, tables{std::make_unique<Tables>(*this)}
{
    ContextProvider::sharedModel()->addDeepListener(this);
}

ExpressionEngine::ExpressionEngine(boost::uuids::uuid id) : ExpressionEngine{model::getContextProvider(id)} {}

ExpressionEngine::~ExpressionEngine()
{
    ContextProvider::sharedModel()->removeListener(this);
    for (Presence* present = running; present; present = present->outer)
        present->engineGone = true;
    for (Expression::Pin const& expression : tables->expressions)
        expression->detachHandles();
    for (Expression::Pin const& expression : tables->expressions) {
        forget(*expression);
        expression->retire();
    }
}

std::unique_ptr<ExpressionHandle> ExpressionEngine::acquireExpression(std::string const& text, Callback const& callback)
{
    Presence const here{*this};
    auto handle = std::make_unique<ExpressionHandle>(nullptr, callback);   // copying a callback may run anything
    if (here.engineGone)
        return nullptr;
    Expression::Pin expression{tables->expressions.find(text)};
    PropertyValue value;   // copied before the handle is added: removing it would unbind symbols
    if (expression) {
        value = expression->value;
        expression->addHandle(*handle);
    } else {
        // By design: a failed construction leaves the symbols that were bound by then.
        expression = new Expression{text, this};
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

void ExpressionEngine::releaseExpression(ExpressionHandle* handle) noexcept
{
    Expression* const expression = handle->expression;
    if (!expression || expression->engine != this)
        return;
    handle->expression = nullptr;
    if (!expression->removeHandle(*handle) || expression->hasHandles())
        return;
    Expression::Pin const last = tables->expressions.extract(expression->text);
    detach(*last);
}

Expression* ExpressionEngine::findExpression(std::string const& text) const
{
    return tables->expressions.find(text);
}

std::unordered_set<std::string> const* ExpressionEngine::findExpressions(std::string const& symbol) const
{
    Symbol const* const known = tables->symbols.find(symbol);
    return known && !known->expressions.empty() ? &known->expressions : nullptr;
}

std::vector<ExpressionEngine::Leaf> ExpressionEngine::findLeaves(boost::uuids::uuid const& id,
                                                                 std::string_view name) const
{
    std::vector<Leaf> found;
    if (detail::ExpressionPlace const* const place = tables->leaves.find(id, name))
        for (detail::ExpressionPlace::Leaf const& leaf : place->leaves)
            found.push_back({leaf.symbol->text, leaf.offset});
    return found;
}

void ExpressionEngine::updateExpression(std::string const& text) const
{
    if (Expression::Pin const pinned{tables->expressions.find(text)})
        pinned->evaluate();
}

/// Adds a new expression to its symbols' readers: their changes evaluate it from now on.
void ExpressionEngine::attach(Expression& expression)
{
    try {
        for (Symbol* const symbol : expression.symbols)
            symbol->readers.push_back(&expression);
        if (tables->hasNotedTexts)
            for (auto const& symbol : tables->symbols)
                if (symbol->expressions.count(expression.text) != 0)
                    addReader(*symbol, expression);
        tables->expressions.insert(Expression::Pin{&expression});
    } catch (...) {
        forget(expression);
        throw;
    }
}

void ExpressionEngine::addReader(Symbol& symbol, Expression& expression)
{
    if (std::count(symbol.readers.begin(), symbol.readers.end(), &expression) == 0)
        symbol.readers.push_back(&expression);
}

void ExpressionEngine::detach(Expression& expression) noexcept
{
    forget(expression);
    expression.retire();
}

void ExpressionEngine::removeReader(Symbol& symbol, Expression const& expression) noexcept
{
    auto& readers = symbol.readers;
    auto const reader = std::find(readers.begin(), readers.end(), &expression);
    if (reader == readers.end())
        return;
    *reader = readers.back();   // order does not matter: readers are evaluated by number
    readers.pop_back();
}

void ExpressionEngine::forget(Expression& expression) noexcept
{
    for (Symbol* const symbol : expression.symbols)
        removeReader(*symbol, expression);
    if (tables->hasNotedTexts)
        for (auto const& symbol : tables->symbols)
            removeReader(*symbol, expression);
}

void ExpressionEngine::acquireSymbol(std::string const& symbol, std::string const& text)
{
    if (!rootProvider)
        return;
    Symbol& bound = bindSymbol(symbol, text);
    tables->hasNotedTexts = true;
    if (Expression* const expression = tables->expressions.find(text))
        addReader(bound, *expression);
}

void ExpressionEngine::releaseSymbol(std::string const& symbol, std::string const& text) noexcept
{
    Symbol* const known = tables->symbols.find(symbol);
    if (!known)
        return;
    Expression const* const expression = tables->expressions.find(text);
    if (expression && !expression->names(*known))
        removeReader(*known, *expression);
    known->isPartial = true;
    releaseSymbol(*known, text);
}

ExpressionEngine::Symbol& ExpressionEngine::bindSymbol(std::string_view name, std::string const& text)
{
    Symbol* const known = tables->symbols.find(name);
    Symbol& symbol = known ? *known : tables->symbols.insert(std::make_unique<Symbol>(name));
    try {
        symbol.expressions.insert(text);
    } catch (...) {
        dropIfUnused(symbol);
        throw;
    }
    symbol.provisional |= tables->model.isInTransaction();
    bindPath(symbol, 0, rootProvider, true);
    return symbol;
}

void ExpressionEngine::releaseSymbol(Symbol& symbol, std::string const& text) noexcept
{
    unbindFrom(symbol, 0);
    symbol.expressions.erase(text);
    dropIfUnused(symbol);
}

void ExpressionEngine::dropIfUnused(Symbol& symbol) noexcept
{
    if (symbol.expressions.empty() && symbol.readers.empty())
        tables->symbols.extract(symbol.text);
}

void ExpressionEngine::acquireLeaf(std::string_view symbol, unsigned long offset,
                                   std::shared_ptr<ContextProvider> provider)
{
    if (Symbol* const known = symbolAt(symbol, offset))
        bindPath(*known, offset, provider, false);
}

void ExpressionEngine::releaseLeaf(std::string_view symbol, unsigned long offset)
{
    if (Symbol* const known = symbolAt(symbol, offset))
        unbindFrom(*known, offset);
}

void ExpressionEngine::releaseLeaf(std::string_view symbol, unsigned long offset,
                                   std::shared_ptr<ContextProvider> provider)
{
    Symbol* const known = symbolAt(symbol, offset);
    if (known && provider)
        walk(*known, offset, std::move(provider),
             [&](ContextProvider const& here, unsigned long at, std::string_view name, Property::Impl*) {
                 removeLeaf(name, Leaf{known->text, at}, here.getId());
             });
}

void ExpressionEngine::releaseLeaf(std::string_view symbol, unsigned long offset, boost::uuids::uuid const& providerId)
{
    if (std::shared_ptr<ContextProvider> provider = model::getContextProvider(providerId))
        return releaseLeaf(symbol, offset, std::move(provider));
    if (Symbol* const known = symbolAt(symbol, offset))
        removeLeaf(known->restAt(offset), Leaf{known->text, offset}, providerId);
}

void ExpressionEngine::removeLeaf(std::string_view name, Leaf const& leaf,
                                  boost::uuids::uuid const& providerId) noexcept
{
    Symbol* const symbol = tables->symbols.find(leaf.symbol);
    detail::ExpressionPlace const* const place = symbol ? tables->leaves.find(providerId, name) : nullptr;
    if (!place)
        return;
    symbol->epoch = 0;
    tables->leaves.unbindIf(
        *symbol, [&](Symbol::Leaf const& bound) { return bound.place == place && bound.offset == leaf.offset; });
    symbol->provisional &= !symbol->leaves.empty();
}

/// Returns the symbol of that name; null if it is unknown.
ExpressionEngine::Symbol* ExpressionEngine::symbolAt(std::string_view name, unsigned long offset) const
{
    if (offset > name.size())
        throw std::out_of_range{"basic_string_view::substr: __pos (which is " + std::to_string(offset) +
                                ") > __size (which is " + std::to_string(name.size()) + ')'};
    return tables->symbols.find(name);
}

/// Walks a path from `offset` on along the present references. Calls `step(provider, offset, name, property)` for each
/// component that it reaches; `property` is null for one that is absent. Returns false if the value of the path depends
/// on more than these properties: a dotted name hides the rest of it, or a reference has no living provider.
template <class Step>
bool ExpressionEngine::walk(Symbol const& symbol, unsigned long offset, std::shared_ptr<ContextProvider> provider,
                            Step const& step) const
{
    bool isHidden = false;
    for (;;) {
        std::string_view const rest = symbol.restAt(offset);
        std::string_view const name = symbol.componentAt(offset);
        bool const isLast = name.size() == rest.size();
        isHidden = isHidden || (!isLast && provider->findHiding(rest));
        Property::Impl* const property = provider->findProperty(name);
        step(*provider, offset, name, property);
        if (isLast || !property || !property->getValue().isUUID())
            return !isHidden;
        offset += name.size() + 1;
        provider = model::getContextProvider(property->getValue().getUUID());
        if (!provider)
            return false;
    }
}

/// Binds a path from `offset` on. `isPrefixWhole`: the leaves before `offset` are the whole path up to there.
void ExpressionEngine::bindPath(Symbol& symbol, unsigned long offset, std::shared_ptr<ContextProvider> const& provider,
                                bool isPrefixWhole)
{
    symbol.epoch = 0;
    if (!provider)
        return;
    std::size_t next = 0;
    bool isInOrder = true;
    bool const isCertain =
        walk(symbol, offset, provider,
             [&](ContextProvider const& here, unsigned long at, std::string_view name, Property::Impl* property) {
                 std::size_t const position = tables->leaves.bind(symbol, at, here.getId(), property);
                 isInOrder = isInOrder && (position == next || (at == offset && offset != 0));
                 next = position + 1;
                 symbol.reachesEnd = at + name.size() == symbol.text.size();
             });
    bool const isWhole = isPrefixWhole && isCertain && isInOrder && next == symbol.leaves.size();
    if (isWhole && !tables->model.isInTransaction())
        symbol.epoch = tables->epoch.number();
}

/// Walks the path of a symbol and compares it with the leaves. Returns true if they are the whole path.
bool ExpressionEngine::verify(Symbol& symbol)
{
    auto const& leaves = symbol.leaves;
    std::size_t next = 0;
    bool isOnPath = true;
    bool const isCertain =
        walk(symbol, 0, rootProvider,
             [&](ContextProvider const& here, unsigned long at, std::string_view name, Property::Impl* property) {
                 isOnPath = isOnPath && next != leaves.size() && leaves[next].offset == at &&
                            leaves[next].place->context->id == here.getId();
                 if (isOnPath)
                     tables->leaves.settle(*leaves[next++].place, property);
                 symbol.reachesEnd = at + name.size() == symbol.text.size();
             });
    if (!isCertain || !isOnPath || next != leaves.size())
        return false;
    symbol.epoch = tables->epoch.number();
    return true;
}

void ExpressionEngine::unbindFrom(Symbol& symbol, unsigned long offset) noexcept
{
    symbol.epoch = 0;
    tables->leaves.unbindIf(symbol, [offset](Symbol::Leaf const& leaf) { return leaf.offset >= offset; });
    if (symbol.leaves.empty())
        symbol.provisional = false;
}

/// Returns the property that an evaluation reads for a symbol, borrowed; null if there is none. See PathEpoch.
Property::Impl const* ExpressionEngine::endOf(Symbol& symbol)
{
    detail::PathEpoch const& epoch = tables->epoch;
    if (!epoch.isUpToDate() || (symbol.epoch != epoch.number() && !verify(symbol)))
        return rootProvider->findPropertyAt(symbol.text);
    return symbol.reachesEnd ? symbol.leaves.back().place->property() : nullptr;
}

}   // namespace studio::data

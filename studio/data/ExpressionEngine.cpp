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
    auto handle = std::make_unique<ExpressionHandle>(nullptr, callback);   // to copy a callback may run anything
    if (here.engineGone)
        return nullptr;
    Expression::Pin expression{tables->expressions.find(text)};
    PropertyValue value;   // copied before anybody is subscribed: to unsubscribe would unbind symbols
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

/// Enters a new expression, from now on known and told of changes.
void ExpressionEngine::attach(Expression& expression)
{
    try {
        for (Symbol* const symbol : expression.symbols)
            symbol->readers.push_back(&expression);
        tables->expressions.insert(Expression::Pin{&expression});
    } catch (...) {
        forget(expression);
        throw;
    }
}

void ExpressionEngine::detach(Expression& expression) noexcept
{
    forget(expression);
    expression.retire();
}

void ExpressionEngine::forget(Expression& expression) noexcept
{
    for (Symbol* const symbol : expression.symbols) {
        auto& readers = symbol->readers;
        if (auto const reader = std::find(readers.begin(), readers.end(), &expression); reader != readers.end()) {
            *reader = readers.back();   // order is by the expressions' numbers, not by place
            readers.pop_back();
        }
    }
}

void ExpressionEngine::acquireSymbol(std::string const& symbol, std::string const& text)
{
    if (rootProvider)
        bindSymbol(symbol, text);
}

void ExpressionEngine::releaseSymbol(std::string const& symbol, std::string const& text) noexcept
{
    if (Symbol* const known = tables->symbols.find(symbol))
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
    if (!std::exchange(symbol.isCovered, false))
        symbol.endStructure = 0;   // nobody has watched it
    symbol.provisional |= tables->model.isInTransaction();
    bindPath(symbol, 0, rootProvider);
    symbol.isCovered = !symbol.provisional;
    return symbol;
}

void ExpressionEngine::releaseSymbol(Symbol& symbol, std::string const& text) noexcept
{
    symbol.isCovered = false;
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
    if (Symbol* const known = tables->symbols.find(symbol)) {
        known->isCovered = false;
        bindPath(*known, offset, provider);
    }
}

void ExpressionEngine::releaseLeaf(std::string_view symbol, unsigned long offset)
{
    static_cast<void>(symbol.substr(offset));   // refuses an offset past the end
    if (Symbol* const known = tables->symbols.find(symbol)) {
        known->isCovered = false;
        unbindFrom(*known, offset);
    }
}

void ExpressionEngine::bindPath(Symbol& symbol, unsigned long offset, std::shared_ptr<ContextProvider> const& provider)
{
    std::shared_ptr<ContextProvider> child;
    for (ContextProvider const* current = provider.get(); current; current = child.get()) {
        if (offset > symbol.text.size())
            throw std::out_of_range{"an offset past the end of a symbol"};
        std::string_view const name = symbol.componentAt(offset);
        Property::Impl* const property = current->findProperty(name);
        tables->leaves.bind(symbol, offset, current->getId(), property);
        offset += name.size() + 1;
        if (offset > symbol.text.size() || !property || !property->getValue().isUUID())
            return;
        child = model::getContextProvider(property->getValue().getUUID());
    }
}

void ExpressionEngine::unbindFrom(Symbol& symbol, unsigned long offset) noexcept
{
    tables->leaves.unbindIf(symbol, [offset](Symbol::Leaf const& leaf) { return leaf.offset >= offset; });
    if (symbol.leaves.empty())
        symbol.provisional = false;
}

/// The property that an evaluation reads for a symbol, borrowed; null if there is none.
Property::Impl const* ExpressionEngine::endOf(Symbol& symbol) const
{
    tarn::zero::Model::Impl const& model = tables->model;
    if (model.isInTransaction())
        return rootProvider->findPropertyAt(symbol.text);
    std::uint64_t const now = model.structure();
    if (symbol.endStructure != now) {
        if (!symbol.isCovered || !tables->trail.leads(symbol.endStructure, now))
            symbol.end = rootProvider->findPropertyAt(symbol.text);
        symbol.endStructure = now;
    }
    return symbol.end;
}

}   // namespace studio::data

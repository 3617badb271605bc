#include "studio/data/ExpressionEngine.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/Expression.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/data/detail/ExpressionBatch.h"
#include "tarn/zero/ModelImpl.h"

#include <boost/container_hash/hash.hpp>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace studio::data {

namespace {

constexpr char SEPARATOR = '.';

}   // namespace

std::size_t ExpressionEngine::LeafHash::operator()(Leaf const& leaf) const noexcept
{
    std::size_t seed = 0;
    boost::hash_combine(seed, boost::hash_range(leaf.symbol.begin(), leaf.symbol.end()));
    boost::hash_combine(seed, leaf.offset);
    return seed;
}

ExpressionEngine::ExpressionEngine(std::shared_ptr<ContextProvider> provider) : rootProvider{std::move(provider)}
{
    ContextProvider::sharedModel()->addDeepListener(this);
}

ExpressionEngine::ExpressionEngine(boost::uuids::uuid id) : ExpressionEngine{model::getContextProvider(id)} {}

ExpressionEngine::~ExpressionEngine()
{
    ContextProvider::sharedModel()->removeListener(this);
    for (Frame* frame = running; frame; frame = frame->outer)
        frame->engineGone = true;
    for (auto const& entry : expressions)
        if (entry.second)
            entry.second->detachHandles();
    for (auto const& entry : std::exchange(expressions, {}))
        if (entry.second)
            entry.second->retire();
}

std::unique_ptr<ExpressionHandle> ExpressionEngine::acquireExpression(std::string const& text, Callback const& callback)
{
    auto handle = std::make_unique<ExpressionHandle>(nullptr, callback);
    handle->text = text;
    // By design: a failed construction leaves the empty entry, and the symbols that were bound by then.
    std::shared_ptr<Expression>& entry = expressions[text];
    PropertyValue value;   // copied before anybody is subscribed: to unsubscribe would unbind symbols
    if (entry) {
        value = entry->value;
        entry->addHandle(*handle);
    } else {
        auto made = std::make_shared<Expression>(text, this);
        try {
            value = made->value;
            made->addHandle(*handle);
            attach(*made);
        } catch (...) {
            made->abandon();
            throw;
        }
        entry = std::move(made);
    }
    std::shared_ptr<Expression> const expression = entry;
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
    if (!expression->removeHandle(*handle) || !expression->handles.empty())
        return;
    auto const entry = expressions.find(handle->text);
    std::shared_ptr<Expression> const last = std::move(entry->second);
    expressions.erase(entry);
    detach(*last);
}

Expression* ExpressionEngine::findExpression(std::string const& text) const
{
    auto const entry = expressions.find(text);
    return entry == expressions.end() ? nullptr : entry->second.get();
}

std::unordered_set<std::string> const* ExpressionEngine::findExpressions(std::string const& symbol) const
{
    auto const entry = symbolExpressions.find(symbol);
    return entry == symbolExpressions.end() ? nullptr : &entry->second;
}

void ExpressionEngine::updateExpression(std::string const& text) const
{
    auto const entry = expressions.find(text);
    if (entry == expressions.end() || !entry->second)
        return;
    std::shared_ptr<Expression> const pinned = entry->second;
    pinned->evaluate();
}

void ExpressionEngine::attach(Expression& expression)
{
    if (!rootProvider)
        return;
    try {
        for (std::string const& symbol : expression.symbols)
            bindings.find(symbol)->second.expressions.push_back(&expression);
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
    for (std::string const& symbol : expression.symbols)
        if (auto const binding = bindings.find(symbol); binding != bindings.end()) {
            auto& users = binding->second.expressions;
            if (auto const user = std::find(users.begin(), users.end(), &expression); user != users.end()) {
                *user = users.back();   // order is by the expressions' numbers, not by place
                users.pop_back();
            }
        }
}

void ExpressionEngine::acquireSymbol(std::string const& symbol, std::string const& text)
{
    if (!rootProvider)
        return;
    auto const [entry, isNew] = symbolExpressions.try_emplace(symbol);
    auto binding = bindings.end();
    try {
        binding = bindings.try_emplace(entry->first).first;
        entry->second.insert(text);
    } catch (...) {
        if (isNew) {
            bindings.erase(entry->first);
            symbolExpressions.erase(entry);
        }
        throw;
    }
    binding->second.provisional |= ContextProvider::sharedModel()->isInTransaction();
    bindPath(*binding, 0, rootProvider);
}

void ExpressionEngine::releaseSymbol(std::string const& symbol, std::string const& text) noexcept
{
    auto const entry = symbolExpressions.find(symbol);
    if (entry == symbolExpressions.end())
        return;
    auto const binding = bindings.find(entry->first);
    if (binding != bindings.end())
        unbindFrom(*binding, 0);
    entry->second.erase(text);
    if (!entry->second.empty())
        return;
    if (binding != bindings.end())
        bindings.erase(binding);
    symbolExpressions.erase(entry);
}

void ExpressionEngine::acquireLeaf(std::string_view symbol, unsigned long offset,
                                   std::shared_ptr<ContextProvider> provider)
{
    if (auto const binding = bindings.find(symbol); binding != bindings.end())
        bindPath(*binding, offset, std::move(provider));
}

void ExpressionEngine::releaseLeaf(std::string_view symbol, unsigned long offset)
{
    static_cast<void>(symbol.substr(offset));   // refuses an offset past the end
    if (auto const binding = bindings.find(symbol); binding != bindings.end())
        unbindFrom(*binding, offset);
}

void ExpressionEngine::bindPath(Bindings::value_type& symbol, unsigned long offset,
                                std::shared_ptr<ContextProvider> provider)
{
    while (provider) {
        std::string_view const rest = symbol.first.substr(offset);
        std::size_t const dot = rest.find(SEPARATOR);
        std::string_view const name = rest.substr(0, dot);
        bindLeaf(symbol, offset, name, provider->getId());
        if (dot == std::string_view::npos)
            return;
        Property::Impl const* const property = provider->findProperty(name);
        if (!property || !property->getValue().isUUID())
            return;
        provider = model::getContextProvider(property->getValue().getUUID());
        offset += dot + 1;
    }
}

void ExpressionEngine::bindLeaf(Bindings::value_type& symbol, unsigned long offset, std::string_view name,
                                boost::uuids::uuid const& provider)
{
    auto& own = symbol.second.leaves;
    own.reserve(own.size() + 1 > own.capacity() ? 2 * own.size() + 1 : own.capacity());
    try {
        NamedLeaves& named = leaves[provider];
        if (!named[name].insert({symbol.first, offset}).second)
            return;
    } catch (...) {
        removeLeaf(name, {symbol.first, offset}, provider);   // no empty entries
        throw;
    }
    symbol.second.provisional |= !own.empty() && own.back().offset >= offset;
    own.push_back({provider, offset});
}

void ExpressionEngine::unbindFrom(Bindings::value_type& symbol, unsigned long offset) noexcept
{
    unbindIf(symbol, [offset](BoundLeaf const& leaf) { return leaf.offset >= offset; });
    if (symbol.second.leaves.empty())
        symbol.second.provisional = false;
}

void ExpressionEngine::removeLeaf(std::string_view name, Leaf const& leaf, boost::uuids::uuid const& provider) noexcept
{
    auto const context = leaves.find(provider);
    if (context == leaves.end())
        return;
    NamedLeaves& named = context->second;
    if (auto const entry = named.find(name); entry != named.end()) {
        entry->second.erase(leaf);
        if (entry->second.empty()) {
            named.erase(entry);
        } else {
            // The key may be a view into the symbol that leaves: make it one into a symbol that stays.
            Leaf const& other = *entry->second.begin();
            auto node = named.extract(entry);
            node.key() = other.symbol.substr(other.offset, name.size());
            named.insert(std::move(node));
        }
    }
    if (named.empty() && provider != rootProvider->getId())
        leaves.erase(context);
}

std::string_view ExpressionEngine::componentAt(std::string_view symbol, unsigned long offset) noexcept
{
    std::string_view const rest{symbol.data() + offset, symbol.size() - offset};
    return rest.substr(0, rest.find(SEPARATOR));
}

}   // namespace studio::data

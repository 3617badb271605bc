#include "studio/data/ExpressionEngine.h"

#include "studio/data/ProviderRegistry.h"
#include "studio/data/detail/EngineState.h"
#include "studio/data/detail/ProviderTable.h"

#include <boost/container_hash/hash.hpp>

#include <utility>

namespace studio::data {

std::size_t ExpressionEngine::LeafHash::operator()(Leaf const& leaf) const noexcept
{
    std::size_t seed = 0;
    boost::hash_combine(seed, boost::hash_range(leaf.symbol.begin(), leaf.symbol.end()));
    boost::hash_combine(seed, leaf.offset);
    return seed;
}

ExpressionEngine::ExpressionEngine(std::shared_ptr<ContextProvider> provider, ReleasePolicy policy)
    : state{detail::EngineState::Pointer{new detail::EngineState{std::move(provider), policy}}.detach()}
{
    ContextProvider::sharedModel()->addDeepListener(this);
}

ExpressionEngine::ExpressionEngine(boost::uuids::uuid id, ReleasePolicy policy)
    : ExpressionEngine{model::getContextProvider(id), policy}
{}

void ExpressionEngine::Release::operator()(detail::EngineState* released) const noexcept
{
    intrusive_ptr_release(released);
}

ExpressionEngine::~ExpressionEngine()
{
    ContextProvider::sharedModel()->removeListener(this);
    state->end();
}

std::unique_ptr<ExpressionHandle> ExpressionEngine::acquireExpression(std::string const& text, Callback const& callback)
{
    detail::EngineState::Pointer const kept{state.get()};   // `callback` may destroy the engine
    return kept->acquire(text, callback);
}

void ExpressionEngine::releaseExpression(ExpressionHandle* handle) noexcept
{
    state->release(*handle);
}

std::shared_ptr<ContextProvider> const& ExpressionEngine::getRoot() const noexcept
{
    return state->root;
}

ReleasePolicy ExpressionEngine::getReleasePolicy() const noexcept
{
    return state->releasePolicy;
}

std::vector<ExpressionEngine::Entry> ExpressionEngine::listExpressions() const
{
    return state->list();
}

void ExpressionEngine::addObserver(EngineObserver& observer)
{
    state->observers.add(observer);
}

void ExpressionEngine::removeObserver(EngineObserver& observer) noexcept
{
    state->observers.remove(observer);
}

Expression* ExpressionEngine::findExpression(std::string const& text) const
{
    return state->expressions.find(text);
}

std::unordered_set<std::string> const* ExpressionEngine::findExpressions(std::string const& symbol) const
{
    detail::ExpressionSymbol const* const known = state->symbols.find(symbol);
    return known && !known->expressions.empty() ? &known->expressions : nullptr;
}

std::vector<ExpressionEngine::Leaf> ExpressionEngine::findLeaves(boost::uuids::uuid const& id,
                                                                 std::string_view name) const
{
    std::vector<Leaf> found;
    auto const& providers = detail::ProviderTable::instance().all();
    if (auto const provider = providers.find(id); provider == providers.end() || !provider->second)
        return found;   // leaves may await a context of that id
    if (detail::ExpressionBinding const* const binding = state->bindings.find(id, name))
        for (detail::ExpressionLeaf const& leaf : binding->leaves)
            found.push_back({leaf.symbol->text, leaf.offset});
    return found;
}

void ExpressionEngine::updateExpression(std::string const& text) const
{
    state->update(text);
}

void ExpressionEngine::acquireSymbol(std::string const& symbol, std::string const& text)
{
    if (!state->root)
        return;
    detail::ExpressionSymbol& bound = state->bindSymbol(symbol, text);
    state->hasNotedTexts = true;
    if (Expression* const expression = state->expressions.find(text))
        detail::EngineState::addReader(bound, *expression);
}

void ExpressionEngine::releaseSymbol(std::string const& symbol, std::string const& text) noexcept
{
    detail::ExpressionSymbol* const known = state->symbols.find(symbol);
    if (!known)
        return;
    Expression const* const expression = state->expressions.find(text);
    if (expression && !expression->names(*known))
        detail::EngineState::removeReader(*known, *expression);
    known->isPartial = true;
    state->releaseSymbol(*known, text);
}

void ExpressionEngine::acquireLeaf(std::string_view symbol, unsigned long offset,
                                   std::shared_ptr<ContextProvider> provider)
{
    if (detail::ExpressionSymbol* const known = state->symbolAt(symbol, offset))
        state->bindPath(*known, offset, provider, false);
}

void ExpressionEngine::releaseLeaf(std::string_view symbol, unsigned long offset)
{
    if (detail::ExpressionSymbol* const known = state->symbolAt(symbol, offset))
        state->unbindFrom(*known, offset);
}

void ExpressionEngine::releaseLeaf(std::string_view symbol, unsigned long offset,
                                   std::shared_ptr<ContextProvider> provider)
{
    detail::ExpressionSymbol* const known = state->symbolAt(symbol, offset);
    if (known && provider)
        detail::EngineState::walk(
            *known, offset, std::move(provider),
            [&](boost::uuids::uuid const& here, unsigned long at, std::string_view name, Property::Impl*) {
                removeLeaf(name, Leaf{known->text, at}, here);
            });
}

void ExpressionEngine::releaseLeaf(std::string_view symbol, unsigned long offset, boost::uuids::uuid const& providerId)
{
    if (std::shared_ptr<ContextProvider> provider = model::getContextProvider(providerId))
        return releaseLeaf(symbol, offset, std::move(provider));
    if (detail::ExpressionSymbol* const known = state->symbolAt(symbol, offset))
        removeLeaf(known->restAt(offset), Leaf{known->text, offset}, providerId);
}

void ExpressionEngine::removeLeaf(std::string_view name, Leaf const& leaf,
                                  boost::uuids::uuid const& providerId) noexcept
{
    detail::ExpressionSymbol* const symbol = state->symbols.find(leaf.symbol);
    detail::ExpressionBinding const* const binding = symbol ? state->bindings.find(providerId, name) : nullptr;
    if (binding)
        state->unbindIf(*symbol, [&](detail::ExpressionSymbol::Leaf const& bound) {
            return bound.binding == binding && bound.offset == leaf.offset;
        });
}

bool ExpressionEngine::concerns(tarn::zero::ElementImpl const& element, std::uint64_t changed) const noexcept
{
    return state->concerns(static_cast<tarn::zero::ModelElement::Impl const&>(element), changed);
}

void ExpressionEngine::transactionCommitted(tarn::zero::DeepChangeReport<Property> const& report)
{
    state->process(report.report());
}

void ExpressionEngine::transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
{
    // A report of both was processed with its properties, so that an expression that reads several changes is evaluated
    // once.
    if (!report.report().containsElementChanges(Property::Impl::classImpl()))
        state->process(report.report());
}

void ExpressionEngine::processDestroyedImpl(boost::uuids::uuid const& providerId,
                                            std::unordered_map<std::string_view, unsigned long> const& cutOffsets,
                                            std::unordered_set<std::string_view> const& affected)
{
    detail::ExpressionContext const* const context = state->bindings.findContext(providerId);
    if (!context)
        return;
    std::vector<Leaf> cutOff;
    for (detail::ExpressionBinding const& binding : context->bindings)
        for (detail::ExpressionLeaf const& leaf : binding.leaves) {
            std::string_view const symbol = leaf.symbol->text;
            auto const cut = affected.count(symbol) != 0 ? cutOffsets.find(symbol) : cutOffsets.end();
            if (cut != cutOffsets.end() && cut->second < leaf.offset)
                cutOff.push_back({symbol, leaf.offset});
        }
    for (Leaf const& leaf : cutOff)
        releaseLeaf(leaf.symbol, leaf.offset, providerId);
}

}   // namespace studio::data

#include "studio/data/ContextProvider.h"
#include "studio/data/Expression.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/data/detail/ExpressionBatch.h"
#include "tarn/zero/ModelImpl.h"

#include <algorithm>

namespace studio::data {

void ExpressionEngine::transactionCommitted(tarn::zero::DeepChangeReport<Property> const& report)
{
    process(*report.data());
}

void ExpressionEngine::transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
{
    // A report that has both was worked off whole with its properties: what reads several changes is evaluated once.
    if (!report.data()->containsElementChanges(Property::Impl::classImpl()))
        process(*report.data());
}

void ExpressionEngine::process(tarn::zero::ReportData const& report)
{
    using tarn::zero::ReportData;
    if (bindings.empty())
        return;
    Frame frame{*this};
    Batch& batch = *frame.batch;
    ++lastStamp;
    for (ReportData::Storage const* const storage : report.storages()) {
        ReportData::Kind const kind = ReportData::kindOf(*storage);
        tarn::zero::ModelElement const& element = storage->element();
        // What a later transaction has destroyed by now comes with that one's report.
        if (!element && kind != ReportData::Kind::Destroyed)
            continue;
        if (auto const* const property = tarn::zero::elementCast<Property>(element))
            touchProperty(*property, batch);
        else if (kind != ReportData::Kind::Modified && tarn::zero::isInstance<ContextData>(element))
            touchContext(element.Uuid(), batch);
    }
    if (batch.symbols.empty())
        return;
    for (Bindings::value_type* const symbol : batch.symbols)
        rebind(*symbol);
    collect(batch);
    for (std::shared_ptr<Expression> const& expression : batch.expressions) {
        if (expression->isRetired())
            continue;
        expression->evaluate();
        if (frame.engineGone)
            return;
    }
}

void ExpressionEngine::touchProperty(Property::Impl const& property, Batch& batch)
{
    ContextData::Impl const* const owner = property.ownerImpl();
    if (!owner)
        return;
    auto const context = leaves.find(owner->identifier());
    if (context == leaves.end())
        return;
    auto const named = context->second.find(property.getName());
    if (named == context->second.end())
        return;
    for (Leaf const& leaf : named->second)
        touch(leaf, true, batch);
}

void ExpressionEngine::touchContext(boost::uuids::uuid const& id, Batch& batch)
{
    auto const context = leaves.find(id);
    if (context == leaves.end())
        return;
    // What was destroyed may have been a copy under the same UUID.
    bool const exists = static_cast<bool>(ContextProvider::sharedModel()->findElement(id, 1));
    for (auto const& named : context->second)
        for (Leaf const& leaf : named.second)
            touch(leaf, exists, batch);
}

void ExpressionEngine::touch(Leaf const& leaf, bool keepsLeaf, Batch& batch)
{
    auto const symbol = bindings.find(leaf.symbol);
    Binding& binding = symbol->second;
    Cut const cut{leaf.offset, keepsLeaf};
    if (binding.stamp == lastStamp) {
        binding.cut = std::min(binding.cut, cut);
        return;
    }
    batch.symbols.push_back(&*symbol);
    binding.stamp = lastStamp;
    binding.cut = cut;
}

/// Binds a touched symbol as a fresh acquisition would: what lies beyond the cut is unbound, and the path is walked
/// once from there along the values of now.
void ExpressionEngine::rebind(Bindings::value_type& symbol)
{
    Binding& binding = symbol.second;
    Cut const cut = binding.cut;
    if (binding.provisional) {
        // The root's leaf stays: without memory to bind it again nothing would ever touch the symbol.
        unbindIf(symbol,
                 [&](BoundLeaf const& leaf) { return leaf.offset != 0 || leaf.provider != rootProvider->getId(); });
        binding.provisional = false;
        return bindPath(symbol, 0, rootProvider);
    }
    if (!cut.keepsLeaf)
        return unbindFrom(symbol, cut.offset);
    if (cut.offset + componentAt(symbol.first, cut.offset).size() == symbol.first.size())
        return;   // the end of the path leads nowhere else
    auto const here =
        std::lower_bound(binding.leaves.begin(), binding.leaves.end(), cut.offset,
                         [](BoundLeaf const& leaf, unsigned long offset) { return leaf.offset < offset; });
    boost::uuids::uuid const provider = here->provider;
    unbindFrom(symbol, cut.offset + 1);
    bindPath(symbol, cut.offset, cut.offset == 0 ? rootProvider : model::getContextProvider(provider));
}

void ExpressionEngine::collect(Batch& batch) const
{
    auto const earlier = [](auto const& left, auto const& right) { return left->number < right->number; };
    for (Bindings::value_type const* const symbol : batch.symbols)
        for (Expression* const expression : symbol->second.expressions)
            if (expression->stamp != lastStamp) {
                expression->stamp = lastStamp;
                batch.expressions.push_back(expression->shared_from_this());
            }
    if (!std::is_sorted(batch.expressions.begin(), batch.expressions.end(), earlier))
        std::sort(batch.expressions.begin(), batch.expressions.end(), earlier);
}

}   // namespace studio::data

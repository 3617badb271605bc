#include "studio/data/ContextProvider.h"
#include "studio/data/Expression.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/data/detail/ExpressionBatch.h"
#include "studio/data/detail/ExpressionTables.h"
#include "tarn/zero/ModelImpl.h"

#include <algorithm>
#include <optional>

namespace studio::data {

namespace {

bool isRelocated(tarn::zero::ReportData::Storage const& change) noexcept
{
    return change.isChanged(Property::Impl::NAME) || change.isChanged(Property::Impl::OWNER);
}

}   // namespace

bool ExpressionEngine::concerns(tarn::zero::ElementImpl const& changedElement, std::uint64_t changed) const noexcept
{
    auto const& element = static_cast<tarn::zero::ModelElement::Impl const&>(changedElement);
    if (changed != std::uint64_t{1} << Property::Impl::VALUE || !tarn::zero::isInstance<Property>(element))
        return true;
    detail::ExpressionLeaves::Way const way = tables->leaves.from(static_cast<Property::Impl const&>(element));
    return way.place || !way.isCertain || tables->leaves.isInDoubt();
}

void ExpressionEngine::transactionCommitted(tarn::zero::DeepChangeReport<Property> const& report)
{
    process(report.report());
}

void ExpressionEngine::transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
{
    // A report of both was processed with its properties, so that an expression that reads several changes is evaluated
    // once.
    if (!report.report().containsElementChanges(Property::Impl::classImpl()))
        process(report.report());
}

void ExpressionEngine::processDestroyedImpl(boost::uuids::uuid const& providerId,
                                            std::unordered_map<std::string_view, unsigned long> const& cutOffsets,
                                            std::unordered_set<std::string_view> const& affected)
{
    detail::ExpressionContext const* const context = tables->leaves.findContext(providerId);
    if (!context)
        return;
    std::vector<Leaf> cutOff;
    for (detail::ExpressionPlace const& place : context->places)
        for (detail::ExpressionPlace::Leaf const& leaf : place.leaves) {
            std::string_view const symbol = leaf.symbol->text;
            auto const cut = affected.count(symbol) != 0 ? cutOffsets.find(symbol) : cutOffsets.end();
            if (cut != cutOffsets.end() && cut->second < leaf.offset)
                cutOff.push_back({symbol, leaf.offset});
        }
    for (Leaf const& leaf : cutOff)
        releaseLeaf(leaf.symbol, leaf.offset, providerId);
}

void ExpressionEngine::process(tarn::zero::ReportData const& report)
{
    if (tables->symbols.empty())
        return tables->epoch.follow(report);
    std::optional<Frame> frame;
    try {
        frame.emplace(*this);
        ++lastStamp;
        touchAll(report, *frame->batch);
        for (Symbol* const symbol : frame->batch->symbols) {
            rebind(*symbol);
            collect(*symbol, *frame->batch);
        }
        frame->batch->sort();
    } catch (...) {
        tables->leaves.distrust();
        tables->epoch.restart();
        throw;
    }
    for (Batch::Reader const& reader : frame->batch->readers)
        if (!reader.expression->isRetired())   // retired by a callback, or with the engine, which may be destroyed
            reader.expression->evaluate();
}

void ExpressionEngine::touchAll(tarn::zero::ReportData const& report, Batch& batch)
{
    using tarn::zero::ReportData;
    tarn::zero::Model::Impl const& model = tables->model;
    // False if a later commit, whose report is still to come, has already changed the structure.
    bool const isSettled = report.structureVersion() == model.structureVersion() && !model.isInTransaction();
    if (isSettled)
        tables->leaves.settle();
    for (ReportData::Storage const* const storage : report.storages()) {
        ReportData::Kind const kind = ReportData::kindOf(*storage);
        tarn::zero::ModelElement const& element = storage->element();
        auto* const property = tarn::zero::elementCast<Property>(element);
        if (property && isRelocated(*storage))
            tables->epoch.restart();   // also if a later transaction has destroyed the property
        if (!element && kind != ReportData::Kind::Destroyed)
            continue;   // its destruction is in the report of that transaction
        if (property)
            touchProperty(*property, *storage, isSettled, batch);
        else if (kind != ReportData::Kind::Modified)
            touchContext(element.Uuid(), batch);
    }
    tables->epoch.follow(report);
}

void ExpressionEngine::touchProperty(Property::Impl& property, tarn::zero::ReportData::Storage const& change,
                                     bool isSettled, Batch& batch)
{
    using tarn::zero::ReportData;
    detail::ExpressionPlace* place = nullptr;
    bool const isModified = ReportData::kindOf(change) == ReportData::Kind::Modified;
    bool const isInPlace = isModified && !isRelocated(change);
    if (!isModified && property.getName().find('.') != std::string::npos)
        tables->epoch.restart();
    detail::ExpressionLeaves::Way const way =
        isInPlace && isSettled ? tables->leaves.from(property) : detail::ExpressionLeaves::Way{nullptr, false};
    if (way.isCertain) {
        place = way.place;
    } else {
        ContextData::Impl const* const owner = property.ownerImpl();
        place = owner ? tables->leaves.find(owner->identifier(), property.getName()) : nullptr;
        tables->leaves.repin(property, place, isSettled);
    }
    if (place)
        for (detail::ExpressionPlace::Leaf const& leaf : place->leaves)
            touch(leaf, true, batch);
}

void ExpressionEngine::touchContext(boost::uuids::uuid const& id, Batch& batch)
{
    detail::ExpressionContext const* const context = tables->leaves.findContext(id);
    if (!context)
        return;
    // The destroyed context may have been a copy under the same UUID.
    bool const exists = static_cast<bool>(tables->model.findElement(id, 1));
    for (detail::ExpressionPlace const& place : context->places)
        for (detail::ExpressionPlace::Leaf const& leaf : place.leaves)
            touch(leaf, exists, batch);
}

void ExpressionEngine::touch(detail::ExpressionLeaf const& leaf, bool keepsLeaf, Batch& batch)
{
    Symbol& symbol = *leaf.symbol;
    if (leaf.isLast && keepsLeaf && !symbol.provisional)
        return collect(symbol, batch);   // the end of the path: nothing to rebind (saves two cache misses)
    Symbol::Cut const cut{leaf.offset, keepsLeaf};
    if (symbol.stamp == lastStamp) {
        symbol.cut = std::min(symbol.cut, cut);
        return;
    }
    batch.symbols.push_back(&symbol);
    symbol.stamp = lastStamp;
    symbol.cut = cut;
}

/// Rebinds a touched symbol: unbinds what lies beyond the cut, and walks the path once from there along the present
/// values.
void ExpressionEngine::rebind(Symbol& symbol)
{
    Symbol::Cut const cut = symbol.cut;
    if (symbol.provisional) {
        // The root's leaf stays: if binding it again ran out of memory, no report would ever touch the symbol.
        boost::uuids::uuid const root = rootProvider->getId();
        tables->leaves.unbindIf(
            symbol, [&](Symbol::Leaf const& leaf) { return leaf.offset != 0 || leaf.place->context->id != root; });
        symbol.provisional = false;
        return bindPath(symbol, 0, rootProvider, true);
    }
    if (!cut.keepsLeaf)
        return unbindFrom(symbol, cut.offset);
    bool const isPrefixWhole = cut.offset == 0 || symbol.epoch == tables->epoch.number();
    auto const here =
        std::lower_bound(symbol.leaves.begin(), symbol.leaves.end(), cut.offset,
                         [](Symbol::Leaf const& leaf, unsigned long offset) { return leaf.offset < offset; });
    boost::uuids::uuid const provider = here->place->context->id;
    unbindFrom(symbol, cut.offset + 1);
    bindPath(symbol, cut.offset, cut.offset == 0 ? rootProvider : model::getContextProvider(provider), isPrefixWhole);
}

/// Adds the expressions that read a symbol to the batch, each once.
void ExpressionEngine::collect(Symbol const& symbol, Batch& batch) const
{
    for (Expression* const expression : symbol.readers)
        if (expression->stamp != lastStamp) {
            if (symbol.isPartial && symbol.expressions.count(expression->text) == 0)
                continue;
            expression->stamp = lastStamp;
            batch.add(*expression);
        }
}

}   // namespace studio::data

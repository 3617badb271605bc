#include "studio/data/detail/EngineState.h"

#include <algorithm>
#include <exception>
#include <optional>

namespace studio::data::detail {

namespace {

bool isRelocated(tarn::zero::ReportData::Storage const& change) noexcept
{
    return change.isChanged(Property::Impl::NAME) || change.isChanged(Property::Impl::OWNER);
}

}   // namespace

bool EngineState::concerns(tarn::zero::ModelElement::Impl const& element, std::uint64_t changed) const noexcept
{
    if (changed != std::uint64_t{1} << Property::Impl::VALUE || !tarn::zero::isInstance<Property>(element))
        return true;
    ExpressionLinks::Found const found = links.find(static_cast<Property::Impl const&>(element));
    return found.binding || !found.isCertain || links.hasStale();
}

/// Runs `work` as a round. The caller keeps the state.
template <class Work>
void EngineState::inRound(tarn::zero::ReportData const* report, Work const& work)
{
    ++rounds;
    try {
        if (!observers.empty())
            observers.each([&](EngineObserver& observer) { observer.roundBegins(report); });
        work();
    } catch (...) {
        try {
            endRound(report);
        } catch (...) {
            // The first exception is the one that leaves.
        }
        throw;
    }
    endRound(report);
}

void EngineState::endRound(tarn::zero::ReportData const* report)
{
    --rounds;
    if (observers.empty())
        return;
    observers.each([&](EngineObserver& observer) { observer.roundEnds(report); });
    if (rounds != 0)
        return;
    std::exception_ptr first;
    observers.each([&](EngineObserver& observer) {
        try {
            observer.roundsEnded();
        } catch (...) {
            if (!first)
                first = std::current_exception();
        }
    });
    if (first)
        std::rethrow_exception(first);
}

void EngineState::evaluate(Expression& expression)
{
    if (observers.empty())
        expression.evaluate();
    else
        expression.evaluateObserved();
}

void EngineState::update(std::string const& text)
{
    Pointer const kept{this};
    if (Expression::Pin const pinned{expressions.find(text)})
        inRound(nullptr, [&] { evaluate(*pinned); });
}

void EngineState::process(tarn::zero::ReportData const& report)
{
    if (symbols.empty())
        return epoch.follow(report);
    Pointer const kept{this};
    inRound(&report, [&] { processInRound(report); });
}

void EngineState::processInRound(tarn::zero::ReportData const& report)
{
    std::optional<BatchLease> lease;
    try {
        lease.emplace(batches);
        ++lastStamp;
        touchAll(report, *lease->batch);
        for (Symbol* const symbol : lease->batch->symbols) {
            rebind(*symbol);
            if (!observers.empty())
                observers.each([&](EngineObserver& observer) { observer.symbolRebound(symbol->text); });
            collect(*symbol, *lease->batch);
        }
        lease->batch->sort();
    } catch (...) {
        bindings.forEachContext([this](ExpressionContext& context) {
            for (ExpressionBinding& binding : context.bindings)
                links.markStale(binding);
        });
        epoch.restart();
        throw;
    }
    for (EngineBatch::Reader const& reader : lease->batch->readers)
        if (!reader.expression->isRetired())   // retired by a callback, or with the engine
            evaluate(*reader.expression);
}

void EngineState::touchAll(tarn::zero::ReportData const& report, EngineBatch& batch)
{
    using tarn::zero::ReportData;
    // False if a later commit, whose report is still to come, has already changed the structure.
    bool const isLatest = report.structureVersion() == model.structureVersion() && !model.isInTransaction();
    if (isLatest)
        links.revalidate();
    for (ReportData::Storage const* const storage : report.storages()) {
        ReportData::Kind const kind = ReportData::kindOf(*storage);
        tarn::zero::ModelElement const& element = storage->element();
        auto* const property = tarn::zero::elementCast<Property>(element);
        if (property && isRelocated(*storage))
            epoch.restart();   // also if a later transaction has destroyed the property
        if (!element && kind != ReportData::Kind::Destroyed)
            continue;   // its destruction is in the report of that transaction
        if (property)
            touchProperty(*property, *storage, isLatest, batch);
        else if (kind != ReportData::Kind::Modified)
            touchContext(element.Uuid(), batch);
    }
    epoch.follow(report);
}

void EngineState::touchProperty(Property::Impl& property, tarn::zero::ReportData::Storage const& change, bool isLatest,
                                EngineBatch& batch)
{
    using tarn::zero::ReportData;
    bool const isModified = ReportData::kindOf(change) == ReportData::Kind::Modified;
    bool const isInPlace = isModified && !isRelocated(change);
    if (!isModified && property.getName().find('.') != std::string::npos)
        epoch.restart();
    auto found = isInPlace && isLatest ? links.find(property) : ExpressionLinks::Found{nullptr, false};
    if (!found.isCertain) {
        ContextData::Impl const* const owner = property.ownerImpl();
        found.binding = owner ? bindings.find(owner->identifier(), property.getName()) : nullptr;
        links.update(property, found.binding, isLatest);
    }
    if (found.binding)
        for (ExpressionLeaf const& leaf : found.binding->leaves)
            touch(leaf, true, batch);
}

void EngineState::touchContext(boost::uuids::uuid const& id, EngineBatch& batch)
{
    ExpressionContext const* const context = bindings.findContext(id);
    if (!context)
        return;
    // The destroyed context may have been a copy under the same UUID.
    bool const exists = static_cast<bool>(model.findElement(id, 1));
    for (ExpressionBinding const& binding : context->bindings)
        for (ExpressionLeaf const& leaf : binding.leaves)
            touch(leaf, exists, batch);
}

void EngineState::touch(ExpressionLeaf const& leaf, bool contextExists, EngineBatch& batch)
{
    Symbol& symbol = *leaf.symbol;
    if (leaf.isLast && contextExists && !symbol.isTentative)
        return collect(symbol, batch);   // the end of the path: nothing to rebind (saves two cache misses)
    Symbol::Cut const cut{leaf.offset, contextExists};
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
void EngineState::rebind(Symbol& symbol)
{
    Symbol::Cut const cut = symbol.cut;
    if (symbol.isTentative) {
        // The root's leaf stays: if binding it again ran out of memory, no report would ever touch the symbol.
        boost::uuids::uuid const first = root->getId();
        bindings.removeIf(
            symbol, [&](Symbol::Leaf const& leaf) { return leaf.offset != 0 || leaf.binding->context->id != first; });
        symbol.isTentative = false;
        return bindPath(symbol, 0, root, true);
    }
    if (!cut.contextExists)
        return unbindFrom(symbol, cut.offset + 1);   // the context may be restored: its leaf stays
    bool const isPrefixWhole = cut.offset == 0 || symbol.reachesEnd.in(epoch);
    auto const here =
        std::lower_bound(symbol.leaves.begin(), symbol.leaves.end(), cut.offset,
                         [](Symbol::Leaf const& leaf, unsigned long offset) { return leaf.offset < offset; });
    boost::uuids::uuid const provider = here->binding->context->id;
    unbindFrom(symbol, cut.offset + 1);
    bindPath(symbol, cut.offset, cut.offset == 0 ? root : data::model::getContextProvider(provider), isPrefixWhole);
}

/// Adds the expressions that read a symbol to the batch, each once.
void EngineState::collect(Symbol const& symbol, EngineBatch& batch) const
{
    for (Expression* const expression : symbol.readers)
        if (expression->stamp != lastStamp) {
            if (symbol.isPartial && symbol.expressions.count(expression->text) == 0)
                continue;
            expression->stamp = lastStamp;
            batch.add(*expression);
        }
}

}   // namespace studio::data::detail

#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/data/Expression.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/data/detail/EngineBatch.h"
#include "studio/data/detail/EngineObservers.h"
#include "studio/data/detail/Epoch.h"
#include "studio/data/detail/ExpressionBindings.h"
#include "studio/data/detail/ExpressionLinks.h"
#include "studio/data/detail/ExpressionTexts.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ModelImpl.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace studio::data::detail {

/// What an engine consists of. Expressions refer to symbols, symbols to their leaves, and bindings back to symbols.
///
/// A function that calls out keeps the state, so that it survives an engine that is destroyed meanwhile; `isEnded` says
/// so then. The count is not atomic: an engine lives on one thread.
class EngineState : public boost::intrusive_ref_counter<EngineState, boost::thread_unsafe_counter> {
public:
    using Pointer = boost::intrusive_ptr<EngineState>;
    using Symbol = ExpressionSymbol;

    EngineState(std::shared_ptr<ContextProvider> provider, ReleasePolicy policy) noexcept
        : root{std::move(provider)}, releasePolicy{policy}
    {}
    static EngineState& of(ExpressionEngine const& engine) noexcept { return *engine.state; }

    /// Detaches every handle and releases every symbol and the root, when the engine is destroyed.
    void end() noexcept;

    // Expressions

    /// Implements `ExpressionEngine::acquireExpression`. The caller keeps the state.
    std::unique_ptr<ExpressionHandle> acquire(std::string const& text, ExpressionHandle::Callback const& callback);
    /// Removes a handle, and with the last one its expression. Ignores a handle of another engine.
    void release(ExpressionHandle& handle) noexcept;
    /// Implements `ExpressionEngine::listExpressions`.
    std::vector<ExpressionEngine::Entry> list() const;
    static void addReader(Symbol& symbol, Expression& expression);
    static void removeReader(Symbol& symbol, Expression const& expression) noexcept;

    // Symbols

    /// Registers a symbol for a text and binds its path.
    Symbol& bindSymbol(std::string_view name, std::string const& text);
    void releaseSymbol(Symbol& symbol, std::string const& text) noexcept;
    /// Returns the property that an evaluation reads for a symbol, borrowed; null if there is none. See `Epoch`.
    Property::Impl const* endOf(Symbol& symbol);

    // Leaves

    /// Returns the symbol of that name; null if it is unknown. *Throws* `std::out_of_range` for an offset past its end.
    Symbol* symbolAt(std::string_view name, unsigned long offset) const;
    /// Binds a path from `offset` on. `isPrefixWhole`: the leaves before `offset` are the whole path up to there.
    void bindPath(Symbol& symbol, unsigned long offset, std::shared_ptr<ContextProvider> const& provider,
                  bool isPrefixWhole);
    void unbindFrom(Symbol& symbol, unsigned long offset) noexcept;
    /// Unbinds the leaves of a symbol for which `isLeaving` returns true.
    template <class Test>
    void unbindIf(Symbol& symbol, Test const& isLeaving) noexcept
    {
        symbol.reachesEnd.reset();
        bindings.removeIf(symbol, isLeaving);
        symbol.isTentative &= !symbol.leaves.empty();
    }
    /// Walks a path from `offset` on along the present references. Calls `step(context, offset, name, property)` for
    /// each component that it reaches; `property` is null for one that is absent. A reference without a living provider
    /// is followed by one component, where a context that is restored under its id is noticed. Returns false if the
    /// value of the path depends on more than these properties: a dotted name hides the rest of it, or a reference has
    /// no living provider.
    template <class Step>
    static bool walk(Symbol const& symbol, unsigned long offset, std::shared_ptr<ContextProvider> provider,
                     Step const& step);

    // Reports

    /// Returns false for a change of values that no symbol depends on.
    bool concerns(tarn::zero::ModelElement::Impl const& element, std::uint64_t changed) const noexcept;
    /// Finds the paths that a transaction touched, evaluates each of their expressions once, and calls handles.
    void process(tarn::zero::ReportData const& report);
    /// Implements `ExpressionEngine::updateExpression`.
    void update(std::string const& text);

    tarn::zero::Model::Impl const& model = *ContextProvider::sharedModel().get();
    std::shared_ptr<ContextProvider> root;
    ReleasePolicy const releasePolicy;
    ExpressionBindings bindings{this};
    ExpressionLinks links{this};
    Epoch epoch{model};
    ExpressionTexts<std::unique_ptr<Symbol>> symbols;
    ExpressionTexts<Expression::Pin> expressions;
    std::uint64_t lastNumber = 0;   // of an expression
    std::uint64_t lastStamp = 0;    // of a report
    EngineBatches batches;
    EngineObservers observers;
    std::uint32_t rounds = 0;     // running, one inside the other
    bool hasNotedTexts = false;   // a symbol may be registered for a text that does not name it
    bool isEnded = false;         // the engine was destroyed

private:
    void attach(Expression& expression);
    void removeFromReaders(Expression& expression) noexcept;
    void dropIfUnused(Symbol& symbol) noexcept;
    std::size_t bindLeaf(Symbol& symbol, unsigned long offset, boost::uuids::uuid const& context,
                         Property::Impl* property);
    bool verify(Symbol& symbol);

    template <class Work>
    void inRound(tarn::zero::ReportData const* report, Work const& work);
    void evaluate(Expression& expression);
    void endRound(tarn::zero::ReportData const* report);
    void processInRound(tarn::zero::ReportData const& report);
    void touchAll(tarn::zero::ReportData const& report, EngineBatch& batch);
    void touchProperty(Property::Impl& property, tarn::zero::ReportData::Storage const& change, bool isLatest,
                       EngineBatch& batch);
    void touchContext(boost::uuids::uuid const& id, EngineBatch& batch);
    void touch(ExpressionLeaf const& leaf, bool contextExists, EngineBatch& batch);
    void rebind(Symbol& symbol);
    void collect(Symbol const& symbol, EngineBatch& batch) const;
};

template <class Step>
bool EngineState::walk(Symbol const& symbol, unsigned long offset, std::shared_ptr<ContextProvider> provider,
                       Step const& step)
{
    bool isHidden = false;
    for (;;) {
        std::string_view const rest = symbol.restAt(offset);
        std::string_view const name = symbol.componentAt(offset);
        bool const isLast = name.size() == rest.size();
        isHidden = isHidden || (!isLast && provider->findHiding(rest));
        Property::Impl* const property = provider->findProperty(name);
        step(provider->getId(), offset, name, property);
        if (isLast || !property || !property->getValue().isUUID())
            return !isHidden;
        offset += static_cast<unsigned long>(name.size()) + 1;
        boost::uuids::uuid const next = property->getValue().getUUID();
        provider = data::model::getContextProvider(next);
        if (!provider) {
            step(next, offset, symbol.componentAt(offset), nullptr);
            return false;
        }
    }
}

}   // namespace studio::data::detail

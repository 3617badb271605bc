#include "machine/Invariants.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/data/detail/EngineState.h"
#include "studio/data/detail/ProviderTable.h"
#include "studio/data/detail/ViewState.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/detail/Delivery.h"
#include "tarn/zero/detail/ElementTable.h"
#include "tarn/zero/detail/Journal.h"

#include <algorithm>

namespace {

/// Collects the violations.
class Findings {
public:
    void require(bool holds, char const* what)
    {
        if (!holds && m_text.find(what) == std::string::npos)
            m_text += std::string{what} + '\n';
    }
    std::string const& text() const { return m_text; }

private:
    std::string m_text;
};

}   // namespace

namespace tarn::zero {

using studio::data::ContextData;
using studio::data::Property;

std::string Invariants::of(Model const& model, std::size_t openTransactions)
{
    Findings found;
    detail::Journal const& journal = *model->m_journal;
    detail::ElementTable const& table = *model->m_elements;
    bool const isIdle = openTransactions == 0;
    found.require(journal.m_levels.size() == openTransactions, "the journal has another number of levels");
    found.require(!isIdle || journal.m_touched.empty(), "an idle journal has storages");
    found.require(model->m_delivery->isIdle(), "a report is left over");
    for (std::size_t place = 0; place != table.m_indexed.size(); ++place) {
        ModelElement::Impl* const element = table.m_indexed[place];
        found.require(table.positionOf(element->m_uuid) == place && element->m_indexed, "an element stands elsewhere");
        found.require(table.m_unindexed.count(element) == 0, "an element is in the table twice");
    }
    for (auto const* const element : table.m_unindexed)
        found.require(!element->m_indexed, "an element that is not indexed thinks that it is");
    table.forEach([&](ModelElement::Impl& element) {
        found.require(element.m_model == model.get(), "an element has another model");
        found.require(!element.m_marked, "a mark is left over");
        if (isIdle) {
            found.require(element.m_alive && !element.m_holdsContainer && !element.m_destroying, "the dead are kept");
            found.require(!element.m_storage, "an element has a storage");
        }
        if (!element.m_alive)
            return;
        ModelElement const handle{&element};
        if (auto* const context = elementCast<ContextData>(handle)) {
            std::string const* last = nullptr;
            for (Property const& property : context->getProperties()) {
                found.require(property && property->ownerImpl() == context, "a property has another owner");
                found.require(!last || *last < property->getName(), "names are out of order");
                last = &property->getName();
            }
        } else if (auto* const property = elementCast<Property>(handle); property && property->ownerImpl()) {
            found.require(property->ownerImpl()->getProperties().findImpl(property->getName()) == property,
                          "a property is not found under its name");
        }
    });
    return found.text();
}

}   // namespace tarn::zero

namespace studio::data {

std::string Invariants::ofRegistry(std::set<Id> const& living)
{
    Findings found;
    std::size_t entries = 0;
    for (auto const& [id, provider] : detail::ProviderTable::instance().all()) {
        found.require(!provider || living.count(id) != 0, "the registry has a provider that is gone");
        entries += provider ? 1 : 0;
    }
    found.require(entries == living.size(), "the registry lacks a provider");
    return found.text();
}

std::string Invariants::of(ExpressionEngine const& engine)
{
    Findings found;
    detail::EngineState const& state = detail::EngineState::of(engine);
    auto const& [bindings, epoch, symbols, expressions] =
        std::tie(state.bindings, state.epoch, state.symbols, state.expressions);
    tarn::zero::Model::Impl const& model = *ContextProvider::sharedModel().get();
    bool const isIdle = !model.isInTransaction();
    std::size_t owned = 0;
    for (auto const& symbol : symbols) {
        found.require(symbols.find(symbol->text) == symbol.get(), "a symbol is not found by its name");
        found.require(!symbol->expressions.empty() || !symbol->readers.empty(), "a symbol is kept for nothing");
        owned += symbol->leaves.size();
        for (std::size_t i = 0; i != symbol->leaves.size(); ++i) {
            auto const& leaf = symbol->leaves[i];
            bool const isThere = leaf.backIndex < leaf.binding->leaves.size() &&
                                 leaf.binding->leaves[leaf.backIndex].symbol == symbol.get() &&
                                 leaf.binding->leaves[leaf.backIndex].backIndex == i;
            found.require(isThere, "a symbol owns a leaf that is not in the table");
            found.require(symbol->componentAt(leaf.offset) == leaf.binding->name, "a leaf stands under another name");
        }
        for (Expression const* const reader : symbol->readers) {
            found.require(!reader->isRetired() &&
                              (reader->names(*symbol) || symbol->expressions.count(reader->text) != 0),
                          "a symbol is read by an expression that does not name it");
        }
        if (bool const* const reachesEnd = symbol->reachesEnd.in(epoch); reachesEnd && epoch.isUpToDate()) {
            auto const* const end = *reachesEnd ? symbol->leaves.back().binding->property() : nullptr;
            found.require(end == state.root->findPropertyAt(symbol->text), "a path ends elsewhere");
        }
    }
    std::size_t indexed = 0;
    auto const checkBinding = [&](detail::ExpressionBinding const& binding) {
        found.require(bindings.find(binding.context->id, binding.name) == &binding,
                      "a binding stands under another key");
        found.require(!binding.leaves.empty(), "a name without leaves is kept");
        bool const isView = std::any_of(binding.leaves.begin(), binding.leaves.end(), [&](auto const& leaf) {
            std::string_view const whole = leaf.symbol->text;
            return binding.name.data() >= whole.data() && binding.name.data() <= whole.data() + whole.size();
        });
        found.require(isView, "a name is a view of nothing");
        owned -= binding.leaves.size();
        bool const isStale = static_cast<detail::BindingHook<detail::OfLinks> const&>(binding).is_linked();
        if (!isIdle || isStale)
            return;
        tarn::zero::ModelElement const element = model.findElement(binding.context->id, 1);
        auto* const context = tarn::zero::elementCast<ContextData>(element);
        Property::Impl const* const property = context ? context->getProperties().findImpl(binding.name) : nullptr;
        // Nobody reads a context without a provider, nor one that a rollback brought back beside the provider.
        std::shared_ptr<ContextProvider> const provider = model::getContextProvider(binding.context->id);
        bool const isRead = property && provider && provider->findProperty(binding.name) == property;
        found.require(!isRead || binding.property() == property, "a property does not lead to its leaves");
        Property::Impl const* const pinned = binding.property();
        found.require(!pinned || pinned == property || !pinned->isAlive(), "another property leads to the leaves");
    };
    bindings.forEachContext([&](detail::ExpressionContext const& context) {
        found.require(bindings.findContext(context.id) == &context && !context.bindings.empty(),
                      "a context without leaves is kept");
        found.require(context.count == context.bindings.size(), "bindings are miscounted");
        indexed += context.isIndexed ? context.count : 0;
        for (detail::ExpressionBinding const& binding : context.bindings)
            checkBinding(binding);
    });
    found.require(indexed == bindings.indexSize(), "the index of bindings has others");
    found.require(owned == 0, "the table has a leaf that no symbol owns");
    for (auto const& expression : expressions) {
        found.require(expressions.find(expression->text) == expression.get(), "an expression is not found by its text");
        found.require(!expression->isRetired() && expression->hasHandles() && expression->use_count() == 1,
                      "an expression is kept for nobody");
        for (std::string const& name : expression->symbolNames())
            if (auto const* const symbol = symbols.find(name))
                found.require(std::count(symbol->readers.begin(), symbol->readers.end(), expression.get()) == 1,
                              "a symbol lacks a reader");
            else
                found.require(!state.root, "a symbol is unknown");
    }
    return found.text();
}

namespace {

/// Checks the graph of a view none of whose updates was interrupted.
template <class Nodes>
void checkGraph(Nodes const& nodes, std::size_t clones, Findings& found)
{
    std::size_t mirrored = 0;
    for (auto const& [id, node] : nodes) {
        mirrored += node.mirrored ? 1 : 0;
        found.require(node.id == id && !node.pending, "a node stands under another id, or in a search");
        found.require(node.mirrored || node.hasRecord || node.isSuspect || !node.in.empty(),
                      "a node is kept for nothing");
        found.require(node.mirrored || node.out.empty(), "what is not mirrored refers to something");
        std::size_t open = 0;
        for (auto const& [target, edge] : node.out) {
            open += target->mirrored ? 0 : 1;
            found.require(edge.from == &node && edge.to == target && edge.count != 0, "an edge leads elsewhere");
        }
        found.require(open == node.open, "open references are miscounted");
        bool isHeld = !node.hold;
        for (auto const& edge : node.in) {
            isHeld |= node.hold == &edge;
            found.require(edge.to == &node, "an edge is in the list of another node");
        }
        found.require(isHeld, "a node is held by a reference that is not there");
    }
    found.require(mirrored == clones, "the graph has other contexts");
}

}   // namespace

std::string Invariants::of(ContextView const& view, bool touched)
{
    Findings found;
    detail::ViewState const& state = detail::ViewState::of(view);
    found.require(!touched || !state.isGraphStale, "the graph was not rebuilt");
    found.require(!state.isEnding && !state.hasEnded, "a living view is ending");
    for (auto const& [id, record] : state.records) {
        found.require(record->provider && record->provider->getId() == id, "a record is of another context");
        found.require(!record->handles.empty(), "a record has no handles");
        found.require(state.data.count(id) != 0, "a record has no clone");
        for (ContextHandleImpl const* const handle : record->handles)
            found.require(handle->getData() == view.getData(id), "a handle is detached");
    }
    auto const& nodes = state.graph.allNodes();
    if (!state.isGraphStale)
        checkGraph(nodes, state.data.size(), found);
    for (auto const& [id, clone] : state.data) {
        if (!clone && state.isGraphStale)
            continue;   // of a transaction that was rolled back; the next use drops it
        found.require(clone && clone.Uuid() == id && clone->getModel() == state.model, "a clone is not of its context");
        std::map<Id, std::size_t> references;
        for (Property const& property : clone->getProperties())
            if (property->getValue().isUUID())
                ++references[property->getValue().getUUID()];
        auto const node = nodes.find(id);
        if (state.isGraphStale || node == nodes.end()) {
            found.require(state.isGraphStale, "a clone is not in the graph");
            continue;
        }
        found.require(node->second.hasRecord == (state.records.count(id) != 0), "the graph knows other records");
        found.require(node->second.out.size() == references.size(), "the graph has other references");
        for (auto const& [target, edge] : node->second.out)
            found.require(edge.count == references[target->id], "the graph counts references otherwise");
    }
    return found.text() + tarn::zero::Invariants::of(state.model, 0);
}

std::map<std::string, std::pair<std::size_t, std::set<std::pair<std::size_t, Invariants::Id>>>> Invariants::bindings(
    ExpressionEngine const& engine)
{
    std::map<std::string, std::pair<std::size_t, std::set<std::pair<std::size_t, Id>>>> all;
    for (auto const& symbol : detail::EngineState::of(engine).symbols) {
        auto const* const texts = engine.findExpressions(symbol->text);
        auto& bound = all[symbol->text];
        bound.first = texts ? texts->size() : 0;
        for (auto const& leaf : symbol->leaves)
            bound.second.emplace(leaf.offset, leaf.binding->context->id);
    }
    return all;
}

std::map<Invariants::Id, ContextData> Invariants::clones(ContextView const& view)
{
    std::map<Id, ContextData> living;
    for (auto const& [id, clone] : detail::ViewState::of(view).data)
        if (clone)
            living.emplace(id, clone);
    return living;
}

}   // namespace studio::data

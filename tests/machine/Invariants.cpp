#include "machine/Invariants.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "studio/data/Expression.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/HandleRecord.h"
#include "studio/data/detail/ExpressionTables.h"
#include "studio/data/detail/ProviderTable.h"
#include "studio/data/detail/ViewGraph.h"
#include "studio/data/detail/ViewLife.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/detail/Delivery.h"
#include "tarn/zero/detail/ElementTable.h"
#include "tarn/zero/detail/Journal.h"

#include <boost/uuid/uuid_io.hpp>

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
    found.require(!model->m_delivery->m_oldest && !model->m_delivery->m_newest, "a report is left over");
    for (std::size_t place = 0; place != table.m_indexed.size(); ++place) {
        ModelElement::Impl* const element = table.m_indexed[place];
        found.require(table.placeOf(element->m_uuid) == place && element->m_indexed, "an element stands elsewhere");
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
    for (auto const& [id, provider] : detail::ProviderTable::instance().providers) {
        found.require(!provider || living.count(id) != 0, "the registry has a provider that is gone");
        entries += provider ? 1 : 0;
    }
    found.require(entries == living.size(), "the registry lacks a provider");
    return found.text();
}

std::string Invariants::of(ExpressionEngine const& engine)
{
    Findings found;
    auto const& leaves = engine.tables->leaves;
    auto const& epoch = engine.tables->epoch;
    auto const& symbols = engine.tables->symbols;
    auto const& expressions = engine.tables->expressions;
    tarn::zero::Model::Impl const& model = *ContextProvider::sharedModel().get();
    bool const isIdle = !model.isInTransaction();
    std::size_t owned = 0;
    for (auto const& symbol : symbols) {
        found.require(symbols.find(symbol->text) == symbol.get(), "a symbol is not found by its name");
        found.require(!symbol->expressions.empty() || !symbol->readers.empty(), "a symbol is kept for nothing");
        owned += symbol->leaves.size();
        for (std::size_t i = 0; i != symbol->leaves.size(); ++i) {
            auto const& leaf = symbol->leaves[i];
            bool const isThere = leaf.at < leaf.place->leaves.size() &&
                                 leaf.place->leaves[leaf.at].symbol == symbol.get() &&
                                 leaf.place->leaves[leaf.at].at == i;
            found.require(isThere, "a symbol owns a leaf that is not in the table");
            found.require(symbol->componentAt(leaf.offset) == leaf.place->name, "a leaf stands under another name");
        }
        for (Expression const* const reader : symbol->readers) {
            bool const names = std::count(reader->symbols.begin(), reader->symbols.end(), symbol.get()) == 1;
            found.require(!reader->retired && (names || symbol->expressions.count(reader->text) != 0),
                          "a symbol is read by an expression that does not name it");
        }
        if (epoch.isUpToDate() && symbol->epoch == epoch.number()) {
            auto const* const end = symbol->reachesEnd ? symbol->leaves.back().place->property() : nullptr;
            found.require(end == engine.rootProvider->findPropertyAt(symbol->text), "a path ends elsewhere");
        }
    }
    std::size_t indexed = 0;
    auto const checkPlace = [&](detail::ExpressionPlace const& place) {
        found.require(leaves.find(place.context->id, place.name) == &place, "a place stands under another key");
        found.require(!place.leaves.empty(), "a name without leaves is kept");
        bool const isView = std::any_of(place.leaves.begin(), place.leaves.end(), [&](auto const& leaf) {
            std::string_view const whole = leaf.symbol->text;
            return place.name.data() >= whole.data() && place.name.data() <= whole.data() + whole.size();
        });
        found.require(isView, "a name is a view of nothing");
        owned -= place.leaves.size();
        bool const isDoubtful = static_cast<detail::PlaceHook<detail::Unpinned> const&>(place).is_linked();
        if (!isIdle || isDoubtful)
            return;
        tarn::zero::ModelElement const element = model.findElement(place.context->id, 1);
        auto* const context = tarn::zero::elementCast<ContextData>(element);
        Property::Impl const* const property = context ? context->getProperties().findImpl(place.name) : nullptr;
        found.require(!property || place.property() == property, "a property does not lead to its leaves");
        Property::Impl const* const pinned = place.property();
        found.require(!pinned || pinned == property || !pinned->isAlive(), "another property leads to the leaves");
    };
    for (auto const& [id, context] : leaves.contexts) {
        found.require(context->id == id && !context->places.empty(), "a context without leaves is kept");
        found.require(context->count == context->places.size(), "places are miscounted");
        indexed += context->isIndexed ? context->count : 0;
        for (detail::ExpressionPlace const& place : context->places)
            checkPlace(place);
    }
    found.require(indexed == leaves.indexed.size(), "the table of places has others");
    found.require(owned == 0, "the table has a leaf that no symbol owns");
    for (auto const& expression : expressions) {
        found.require(expressions.find(expression->text) == expression.get(), "an expression is not found by its text");
        found.require(!expression->retired && expression->hasHandles() && expression->pins == 1,
                      "an expression is kept for nobody");
        found.require(expression->passes == 0, "a pass is left over");
        for (auto const* const symbol : expression->symbols) {
            bool const isKnown = std::count(symbol->readers.begin(), symbol->readers.end(), expression.get()) == 1 &&
                                 symbols.find(symbol->text) == symbol;
            found.require(isKnown, "a symbol does not know who reads it");
        }
        auto const gaps = std::count(expression->handles.begin(), expression->handles.end(), nullptr);
        found.require(static_cast<std::size_t>(gaps) == expression->gaps, "handles are miscounted");
    }
    found.require(!engine.running && engine.spareBatches.size() == engine.batchCount, "a report is under way");
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
        found.require(node.mirrored || node.hasRecord || node.doubtful || node.in, "a node is kept for nothing");
        found.require(node.mirrored || node.out.empty(), "what is not mirrored refers to something");
        std::size_t open = 0;
        for (auto const& [target, edge] : node.out) {
            open += target->mirrored ? 0 : 1;
            found.require(edge.from == &node && edge.to == target && edge.count != 0, "an edge leads elsewhere");
        }
        found.require(open == node.open, "open references are miscounted");
        bool isHeld = !node.hold;
        for (auto const* edge = node.in; edge; edge = edge->next) {
            isHeld |= node.hold == edge;
            found.require(edge->to == &node && (!edge->next || edge->next->previous == edge), "a list is torn");
        }
        found.require(isHeld, "a node is held by a reference that is not there");
    }
    found.require(mirrored == clones, "the graph has other contexts");
}

}   // namespace

std::string Invariants::of(ContextView const& view, bool touched)
{
    Findings found;
    found.require(!touched || !view.stale, "the graph was not made anew");
    found.require(!view.life->ending && view.life->view == &view, "a view that lives is ending");
    for (auto const& [id, record] : view.records) {
        found.require(record->provider && record->provider->getId() == id, "a record is of another context");
        found.require(!record->handles.empty(), "a record has no handles");
        found.require(view.data.count(id) != 0, "a record has no clone");
        for (ContextHandleImpl const* const handle : record->handles)
            found.require(handle->uuid == id && handle->view == &view && !handle->detached, "a handle is detached");
    }
    auto const& nodes = view.graph->nodes;
    if (!view.stale)
        checkGraph(nodes, view.data.size(), found);
    for (auto const& [id, clone] : view.data) {
        if (!clone && view.stale)
            continue;   // of a transaction that was rolled back; the next use drops it
        found.require(clone && clone.Uuid() == id && clone->getModel() == view.model, "a clone is not of its context");
        std::map<Id, std::size_t> references;
        for (Property const& property : clone->getProperties())
            if (property->getValue().isUUID())
                ++references[property->getValue().getUUID()];
        auto const node = nodes.find(id);
        if (view.stale || node == nodes.end()) {
            found.require(view.stale, "a clone is not in the graph");
            continue;
        }
        found.require(node->second.hasRecord == (view.records.count(id) != 0), "the graph knows other records");
        found.require(node->second.out.size() == references.size(), "the graph has other references");
        for (auto const& [target, edge] : node->second.out)
            found.require(edge.count == references[target->id], "the graph counts references otherwise");
    }
    return found.text() + tarn::zero::Invariants::of(view.model, 0);
}

std::map<std::string, std::pair<std::size_t, std::set<std::pair<std::size_t, Invariants::Id>>>> Invariants::bindings(
    ExpressionEngine const& engine)
{
    std::map<std::string, std::pair<std::size_t, std::set<std::pair<std::size_t, Id>>>> all;
    for (auto const& symbol : engine.tables->symbols) {
        auto const* const texts = engine.findExpressions(symbol->text);
        auto& bound = all[symbol->text];
        bound.first = texts ? texts->size() : 0;
        for (auto const& leaf : symbol->leaves)
            bound.second.emplace(leaf.offset, leaf.place->context->id);
    }
    return all;
}

std::map<Invariants::Id, ContextData> Invariants::clones(ContextView const& view)
{
    std::map<Id, ContextData> living;
    for (auto const& [id, clone] : view.data)
        if (clone)
            living.emplace(id, clone);
    return living;
}

}   // namespace studio::data

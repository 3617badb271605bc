#include "studio/data/detail/ViewState.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/ProviderRegistry.h"

#include <iterator>
#include <utility>
#include <vector>

namespace studio::data::detail {

namespace {

/// Returns the provider of that id; null also for one that is under destruction or was never complete.
std::shared_ptr<ContextProvider> livingProvider(boost::uuids::uuid const& id)
{
    try {
        return data::model::getContextProvider(id);
    } catch (std::bad_weak_ptr const&) {
        return nullptr;
    }
}

/// A clone on the path of a walk, and the position of the walk in it. Walks do not recurse: chains of contexts may be
/// long.
struct Step {
    explicit Step(ContextData const& context) : clone{context}, next{context->getProperties().begin()} {}

    ContextData clone;
    ContextData::Impl::Properties::const_iterator next;
};

/// Calls `enter(uuid)` for each UUID that a property of `clone` holds, ordered by name. `enter` returns the clone to
/// walk into before the next property, or null.
template <class Enter>
void walk(ContextData const& clone, Enter const& enter)
{
    if (!clone)
        return;
    std::vector<Step> path{Step{clone}};
    while (!path.empty()) {
        Step& here = path.back();
        if (here.next == here.clone->getProperties().end()) {
            path.pop_back();
            continue;
        }
        PropertyValue const& value = (*here.next++)->getValue();
        if (!value.isUUID())
            continue;
        if (ContextData const found = enter(value.getUUID()))
            path.emplace_back(found);
    }
}

}   // namespace

ViewState::ViewState(tarn::zero::Model const& given)
    : model{given ? given : tarn::zero::Model::create(tarn::zero::ModelSpec{})}
{}

void ViewState::end() noexcept
{
    isEnding = true;
    while (!recordOrder.empty()) {
        HandleRecord& record = recordOrder.front();
        removeFromTables(record);
        delete &record;   // its callbacks may end other records
    }
    hasEnded = true;
    mirrors.clear();
    data.clear();
    model = tarn::zero::Model{};
}

std::unique_ptr<ContextHandleImpl> ViewState::acquire(ContextView& view, Id const& id,
                                                      ContextHandleImpl::Callback const& callback)
{
    Id const context = id;   // a copy: a listener may destroy the caller's
    // First, so that no foreign code runs between finding the record and adding the handle: copying a callback may run
    // anything. Below, listeners on the view's model may end the new record, or the view.
    ContextHandleImpl::Callback function = callback;
    if (isEnding)
        return nullptr;
    auto handle = std::make_unique<ContextHandleImpl>(context, std::move(function), &view);
    handle->takeNativeOwnership();
    HandleRecord* const record = createRecord(context);
    if (!record)
        return nullptr;
    try {
        record->add(*handle);
    } catch (...) {
        undoEmptyRecord(getRecord(context));
        throw;
    }
    return handle;
}

void ViewState::release(ContextHandleImpl& handle) noexcept
{
    HandleRecord* const record = handle.record;
    if (!owns(record))
        return;
    record->remove(handle);
    undoEmptyRecord(record);
}

ContextData ViewState::getData(Id const& id) const
{
    auto const found = data.find(id);
    return found == data.end() ? ContextData{} : found->second;
}

HandleRecord* ViewState::getRecord(Id const& id) const
{
    auto const found = records.find(id);
    return found == records.end() ? nullptr : found->second;
}

HandleRecord* ViewState::createRecord(Id const& id)
{
    if (isEnding)
        return nullptr;
    HandleRecord* const present = getRecord(id);
    if (present && liveData(id))
        return present;
    std::shared_ptr<ContextProvider> const provider = present ? present->provider : livingProvider(id);
    if (!provider)
        return nullptr;
    Pointer const kept{this};
    Id const context = id;
    try {
        refreshGraph();
        Change change{*this};
        ContextData const clone = cloneData(context);
        if (clone) {
            // By design: a context that was reached before keeps the clone it has, and this one stays beside it.
            if (!liveData(context))
                add(context, clone);
            createClosure(clone);
            graph.addRecord(context);
            if (!present) {
                auto record = std::make_unique<HandleRecord>(provider);
                records.emplace(context, record.get());
                recordOrder.push_back(*record.release());
            }
        }
        change.commit();
    } catch (...) {
        if (!hasEnded)
            undoEmptyRecord(getRecord(context));
        throw;
    }
    return hasEnded ? nullptr : getRecord(context);
}

void ViewState::destroyRecord(HandleRecord* record)
{
    if (!owns(record))
        return;
    Id const id = record->provider->getId();
    Pointer const kept{this};
    removeFromTables(*record);
    graph.removeRecord(id);
    delete record;   // runs callbacks, and whatever reacts to the provider's end
    if (!hasEnded)
        discardOrphans();
}

ContextData ViewState::cloneData(Id const& id)
{
    tarn::zero::ModelElement const found = ContextProvider::sharedModel()->findElement(id, 1);
    ContextData::Impl const* const source = tarn::zero::elementCast<ContextData>(found);
    return source ? source->cloneTo(model, true) : ContextData{};
}

void ViewState::createClosure(ContextData const& clone)
{
    refreshGraph();
    Change change{*this};
    walk(clone, [this](Id const& id) { return mirrorOne(id); });
    change.commit();
}

void ViewState::mirror(Id const& id)
{
    if (ContextData const clone = mirrorOne(id))
        createClosure(clone);
}

/// Makes the clone of a context; null if it has one, or does not exist.
ContextData ViewState::mirrorOne(Id const& id)
{
    if (liveData(id))
        return ContextData{};
    ContextData const clone = cloneData(id);
    if (clone)
        add(id, clone);
    return clone;
}

void ViewState::removeDescendents(ContextData const& clone, IdSet& pending) const
{
    walk(clone, [&](Id const& id) { return pending.erase(id) != 0 ? getData(id) : ContextData{}; });
}

void ViewState::discardOrphans()
{
    refreshGraph();
    std::vector<Id> const orphans = graph.orphans();
    if (orphans.empty())
        return;
    std::vector<ContextData> clones;
    clones.reserve(orphans.size());
    for (Id const& id : orphans)
        clones.push_back(getData(id));
    Change change{*this};
    mirrors.invalidate();
    for (ContextData const& clone : clones)
        if (clone)
            clone->destroy();
    for (Id const& id : orphans) {
        data.erase(id);
        exact.erase(id);
        graph.remove(id);
    }
    graph.reviewSuspects();
    change.commit();
}

/// Returns the clone of that context, borrowed; null if there is none. Drops a clone that a holder, or the roll back of
/// a foreign transaction, has destroyed.
ContextData* ViewState::liveData(Id const& id)
{
    auto const found = data.find(id);
    if (found == data.end())
        return nullptr;
    if (found->second)
        return &found->second;
    data.erase(found);
    exact.erase(id);
    mirrors.invalidate();
    graph.remove(id);
    return nullptr;
}

void ViewState::add(Id const& id, ContextData const& clone)
{
    data.emplace(id, clone);
    mirrors.invalidate();
    addToGraph(id, clone);
}

void ViewState::addToGraph(Id const& id, ContextData const& clone)
{
    graph.add(id);
    for (Property const& property : clone->getProperties())
        if (property->getValue().isUUID())
            graph.addReference(id, property->getValue().getUUID());
}

/// Rebuilds the graph if a transaction of the view was rolled back.
void ViewState::refreshGraph()
{
    if (!isGraphStale)
        return;
    graph.clear();
    exact.clear();
    mirrors.invalidate();
    for (auto entry = data.begin(); entry != data.end();)
        entry = entry->second ? std::next(entry) : data.erase(entry);
    for (auto const& [id, clone] : data)
        addToGraph(id, clone);
    for (auto const& entry : records)
        graph.addRecord(entry.first);
    isGraphStale = false;
}

void ViewState::removeFromTables(HandleRecord& record) noexcept
{
    records.erase(record.provider->getId());
    record.unlink();
}

/// Returns false for null, and for a record that is ending: it has no provider, or is in no table.
bool ViewState::owns(HandleRecord const* record) const noexcept
{
    return record && record->provider && getRecord(record->provider->getId()) == record;
}

void ViewState::undoEmptyRecord(HandleRecord* record) noexcept
{
    if (!record || !record->handles.empty())
        return;
    try {
        destroyRecord(record);
    } catch (...) {
        // Either a listener of the view's model threw, and the orphans are gone; or memory was short.
    }
}

}   // namespace studio::data::detail

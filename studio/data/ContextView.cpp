#include "studio/data/ContextView.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/HandleRecord.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/data/detail/ViewChange.h"
#include "studio/data/detail/ViewGraph.h"
#include "studio/data/detail/ViewLife.h"
#include "studio/data/detail/ViewMirrors.h"

#include <iterator>
#include <utility>
#include <vector>

namespace studio::data {

namespace {

/// Returns the provider of that id; null also for one that is under destruction or was never complete.
std::shared_ptr<ContextProvider> livingProvider(boost::uuids::uuid const& id)
{
    try {
        return model::getContextProvider(id);
    } catch (std::bad_weak_ptr const&) {
        return nullptr;
    }
}

/// A clone on the path of a walk, and the walk's position in it. Walks do not recurse: chains of contexts may be long.
struct Place {
    explicit Place(ContextData const& context) : clone{context}, next{context->getProperties().begin()} {}

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
    std::vector<Place> way{Place{clone}};
    while (!way.empty()) {
        Place& here = way.back();
        if (here.next == here.clone->getProperties().end()) {
            way.pop_back();
            continue;
        }
        PropertyValue const& value = (*here.next++)->getValue();
        if (!value.isUUID())
            continue;
        if (ContextData const found = enter(value.getUUID()))
            way.emplace_back(found);
    }
}

}   // namespace

constinit char const* const ContextView::TypeName = "ContextView";
constinit char const* const ContextView::ROOKTypeName = "studio.data.ContextView";

ContextView::ContextView(tarn::zero::Model const& given)
    : model{given ? given : tarn::zero::Model::create(tarn::zero::ModelSpec{})},
      graph{std::make_unique<detail::ViewGraph>()},
      mirrors{std::make_unique<detail::ViewMirrors>()},
      recordOrder{std::make_unique<RecordList>()},
      life{std::make_shared<ContextHandleImpl::Life>(ContextHandleImpl::Life{this})}
{
    ContextProvider::sharedModel()->addDeepListener(this);
}

ContextView::~ContextView()
{
    ContextProvider::sharedModel()->removeListener(this);
    life->ending = true;
    while (HandleRecord* const record = recordOrder->first()) {
        forget(*record);
        delete record;   // its callbacks may end other records
    }
    life->view = nullptr;
    data.clear();
    model = tarn::zero::Model{};
    tearDown();
}

std::unique_ptr<ContextView> ContextView::create(tarn::zero::Model const& model)
{
    auto view = std::make_unique<ContextView>(model);
    view->takeNativeOwnership();
    return view;
}

std::unique_ptr<ContextHandleImpl> ContextView::acquire(Id const& id, ContextHandleImpl::Callback const& callback)
{
    if (life->ending)
        return nullptr;
    auto const watched = life;
    Id const context = id;   // a copy: a listener may destroy the caller's
    // First, so that no foreign code runs between finding the record and adding the handle: copying a callback may run
    // anything. Below, listeners on the view's model may end the new record, or the view.
    ContextHandleImpl::Callback function = callback;
    if (watched->ending)
        return nullptr;
    auto handle = std::make_unique<ContextHandleImpl>(context, std::move(function), this);
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

void ContextView::release(ContextHandleImpl* handle) noexcept
{
    HandleRecord* const record = handle ? handle->record : nullptr;
    if (!owns(record))
        return;
    record->remove(*handle);
    undoEmptyRecord(record);
}

ContextData ContextView::getData(Id const& id) const
{
    auto const found = data.find(id);
    return found == data.end() ? ContextData{} : found->second;
}

HandleRecord* ContextView::getRecord(Id const& id) const
{
    auto const found = records.find(id);
    return found == records.end() ? nullptr : found->second;
}

HandleRecord* ContextView::createRecord(Id const& id)
{
    if (life->ending)
        return nullptr;
    HandleRecord* const present = getRecord(id);
    if (present && liveData(id))
        return present;
    std::shared_ptr<ContextProvider> const provider = present ? present->provider : livingProvider(id);
    if (!provider)
        return nullptr;
    auto const watched = life;
    Id const context = id;
    try {
        refresh();
        Change change{*this};
        ContextData const clone = cloneData(context);
        if (clone) {
            // By design: a context that was reached before keeps the clone it has, and this one stays beside it.
            if (!liveData(context))
                enter(context, clone);
            createClosure(clone);
            graph->addRecord(context);
            if (!present) {
                auto record = std::make_unique<HandleRecord>(provider);
                records.emplace(context, record.get());
                recordOrder->append(*record.release());
            }
        }
        change.commit();
    } catch (...) {
        if (watched->view)
            undoEmptyRecord(getRecord(context));
        throw;
    }
    return watched->view ? getRecord(context) : nullptr;
}

void ContextView::destroyRecord(HandleRecord* record)
{
    if (!owns(record))
        return;
    Id const id = record->provider->getId();
    auto const watched = life;
    forget(*record);
    graph->removeRecord(id);
    delete record;   // runs callbacks, and whatever reacts to the provider's end
    if (watched->view)
        discardOrphans();
}

ContextData ContextView::cloneData(Id const& id)
{
    tarn::zero::ModelElement const found = ContextProvider::sharedModel()->findElement(id, 1);
    ContextData::Impl const* const source = tarn::zero::elementCast<ContextData>(found);
    return source ? source->cloneTo(model, true) : ContextData{};
}

void ContextView::createClosure(ContextData const& clone)
{
    refresh();
    Change change{*this};
    walk(clone, [this](Id const& id) { return mirrorOne(id); });
    change.commit();
}

void ContextView::mirror(Id const& id)
{
    if (ContextData const clone = mirrorOne(id))
        createClosure(clone);
}

/// Makes the clone of a context; null if it has one, or does not exist.
ContextData ContextView::mirrorOne(Id const& id)
{
    if (liveData(id))
        return ContextData{};
    ContextData const clone = cloneData(id);
    if (clone)
        enter(id, clone);
    return clone;
}

void ContextView::removeDescendents(ContextData const& clone, IdSet& pending) const
{
    walk(clone, [&](Id const& id) { return pending.erase(id) != 0 ? getData(id) : ContextData{}; });
}

void ContextView::removeDescendents(HandleRecord* record, IdSet& pending) const
{
    if (!record || !record->provider)
        return;
    Id const id = record->provider->getId();
    if (pending.erase(id) != 0)
        removeDescendents(getData(id), pending);
}

void ContextView::discardOrphans()
{
    refresh();
    std::vector<Id> const orphans = graph->orphans();
    if (orphans.empty())
        return;
    std::vector<ContextData> clones;
    clones.reserve(orphans.size());
    for (Id const& id : orphans)
        clones.push_back(getData(id));
    Change change{*this};
    ++cloneChanges;
    for (ContextData const& clone : clones)
        if (clone)
            clone->destroy();
    for (Id const& id : orphans) {
        data.erase(id);
        exact.erase(id);
        graph->leave(id);
    }
    graph->settle();
    change.commit();
}

/// Returns the clone of that context, borrowed; null if there is none. Drops a clone that a holder, or the roll back of
/// a foreign transaction, has destroyed.
ContextData* ContextView::liveData(Id const& id)
{
    auto const found = data.find(id);
    if (found == data.end())
        return nullptr;
    if (found->second)
        return &found->second;
    data.erase(found);
    exact.erase(id);
    ++cloneChanges;
    graph->leave(id);
    return nullptr;
}

void ContextView::enter(Id const& id, ContextData const& clone)
{
    data.emplace(id, clone);
    ++cloneChanges;
    enterGraph(id, clone);
}

void ContextView::enterGraph(Id const& id, ContextData const& clone)
{
    graph->enter(id);
    for (Property const& property : clone->getProperties())
        if (property->getValue().isUUID())
            graph->addReference(id, property->getValue().getUUID());
}

/// Rebuilds the graph if a transaction of the view was rolled back.
void ContextView::refresh()
{
    if (!stale)
        return;
    graph->clear();
    exact.clear();
    ++cloneChanges;
    for (auto entry = data.begin(); entry != data.end();)
        entry = entry->second ? std::next(entry) : data.erase(entry);
    for (auto const& [id, clone] : data)
        enterGraph(id, clone);
    for (auto const& entry : records)
        graph->addRecord(entry.first);
    stale = false;
}

/// Removes a record from the tables.
void ContextView::forget(HandleRecord& record) noexcept
{
    records.erase(record.provider->getId());
    recordOrder->remove(record);
}

/// Returns false for null, and for a record that is ending: it has no provider, or is in no table.
bool ContextView::owns(HandleRecord const* record) const noexcept
{
    return record && record->provider && getRecord(record->provider->getId()) == record;
}

/// Ends the record if it has no handle. Orphans that cannot be destroyed now are left to the next call.
void ContextView::undoEmptyRecord(HandleRecord* record) noexcept
{
    if (!record || !record->handles.empty())
        return;
    try {
        destroyRecord(record);
    } catch (...) {
        // Either a listener of the view's model threw, and the orphans are gone; or memory was short.
    }
}

}   // namespace studio::data

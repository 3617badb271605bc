#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "studio/data/HandleRecord.h"
#include "studio/data/detail/ExactClones.h"
#include "studio/data/detail/ViewGraph.h"
#include "studio/data/detail/ViewMirrors.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ChangeReport.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/Transaction.h"

#include <boost/none.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <memory>
#include <unordered_map>

namespace studio::data::detail {

/// What a view consists of: its clones and its records, by id.
///
/// Handles keep the state, and so does a function that calls out, since a listener may destroy the view; `hasEnded`
/// says so then. The count is not atomic: a view lives on one thread.
class ViewState : public boost::intrusive_ref_counter<ViewState, boost::thread_unsafe_counter> {
public:
    using Id = ContextView::Id;
    using IdSet = ContextView::IdSet;
    using Pointer = boost::intrusive_ptr<ViewState>;

    explicit ViewState(tarn::zero::Model const& given);
    static ViewState& of(ContextView const& view) noexcept { return *view.state; }

    /// Ends every record, then drops the clones, when the view is destroyed.
    void end() noexcept;

    // These implement the members of `ContextView` of the same names. A caller whose state may be the last reference
    // keeps it.

    std::unique_ptr<ContextHandleImpl> acquire(ContextView& view, Id const& id,
                                               ContextHandleImpl::Callback const& callback);
    void release(ContextHandleImpl& handle) noexcept;
    ContextData getData(Id const& id) const;
    HandleRecord* getRecord(Id const& id) const;
    HandleRecord* createRecord(Id const& id);
    void destroyRecord(HandleRecord* record);
    ContextData cloneData(Id const& id);
    void createClosure(ContextData const& clone);
    void removeDescendents(ContextData const& clone, IdSet& pending) const;
    void discardOrphans();

    /// Ends the record if it has no handle. Orphans that cannot be destroyed now are left to the next call.
    void undoEmptyRecord(HandleRecord* record) noexcept;

    // Reports

    bool concerns(tarn::zero::ModelElement::Impl const& element) const noexcept;
    void followProperties(tarn::zero::ShallowChangeReport<Property> const& report);
    void followContexts(tarn::zero::ShallowChangeReport<ContextData> const& report);

    tarn::zero::Model model;
    std::unordered_map<Id, HandleRecord*, ContextView::IdHasher> records;   // owned
    RecordList recordOrder;
    std::unordered_map<Id, ContextData, ContextView::IdHasher> data;
    ViewGraph graph;             // nodes: the keys of `data`, and what they refer to
    bool isGraphStale = false;   // a transaction was rolled back
    bool isEnding = false;       // the view's destructor has begun
    bool hasEnded = false;       // the last record is gone

private:
    class Change;
    struct Comparison;
    struct Update;

    ContextData* liveData(Id const& id);
    void mirror(Id const& id);
    ContextData mirrorOne(Id const& id);
    void add(Id const& id, ContextData const& clone);
    void addToGraph(Id const& id, ContextData const& clone);
    void refreshGraph();
    void removeFromTables(HandleRecord& record) noexcept;
    bool owns(HandleRecord const* record) const noexcept;

    ContextData const* cloneOf(ContextData::Impl const& source);
    Property::Impl* copyFor(Property::Impl& source);
    void followValue(PropertyValue const& value, Property::Impl& copy, Update& update);
    void followRestored(ContextData::Impl const& source, Update& update);
    void followContext(ContextData::Impl const& source, Update& update);
    void followActiveContexts(ContextData::Impl const& source, ContextData::Impl& clone, Update& update);
    void followNames(ContextData::Impl const& source, ContextData const& clone, Update& update);
    bool isQuiet() const noexcept;
    void addCopy(Property const& source, ContextData const& clone, Update& update);
    void removeCopy(Property const& copy, Update& update);
    void gained(PropertyValue const& value, ContextData const& clone, Update& update);
    void lost(Id const& target, Id const& from, Update& update);
    void finish(Update& update);

    ViewMirrors mirrors{*ContextProvider::sharedModel().get()};
    ExactClones exact;
};

/// One transaction of a view's model. If it rolls back, the view's graph is rebuilt from the remaining clones.
class ViewState::Change {
public:
    explicit Change(ViewState& owner) : view{&owner}, transaction{owner.model->beginTransaction(true)} {}
    Change(Change const&) = delete;
    Change& operator=(Change const&) = delete;
    ~Change() { view->isGraphStale |= isOpen; }

    /// Commits. The view may be destroyed when this returns or throws: the model may have listeners.
    void commit()
    {
        try {
            transaction.commit(boost::none);
            isOpen = false;
        } catch (...) {
            isOpen = !view->hasEnded && view->model->isInTransaction();   // if false, committed: a listener threw
            throw;
        }
    }

private:
    Pointer view;
    tarn::zero::Transaction transaction;
    bool isOpen = true;
};

}   // namespace studio::data::detail

#pragma once

#include "rook/factory/CppAndLumenOwned.h"
#include "studio/data/ContextHandleImpl.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ChangeReport.h"
#include "tarn/zero/Listener.h"
#include "tarn/zero/Model.h"
#include "tarn/zero/services/Hashers.h"

#include <boost/core/noncopyable.hpp>
#include <boost/uuid/uuid.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <unordered_set>

namespace studio::data {

class HandleRecord;
class Invariants;   // of the tests: may look at everything
class RecordList;
namespace detail {
class ViewGraph;
class ViewMirrors;
}   // namespace detail

/// Mirrors contexts into a model of its own, for holders that only read.
///
/// A handle names one context. The view keeps a clone of it, and of every context that it reaches through properties
/// whose value is a UUID, and after each commit of the shared model brings the clones up to date. A clone keeps the
/// UUID of its source, and its properties those of theirs. A clone that no handle's context reaches any more is
/// destroyed.
///
/// By design:
/// - The active contexts of a fresh clone are empty until its source is modified next.
/// - References are followed, and orphans looked for, when a reference to a context with a living provider comes or
///   goes. The clone of a context whose provider has died stays until the next look.
/// - Acquiring a context that was reached through another one leaves a second clone of it in the model, unindexed and
///   never updated, next to the one that everybody reads.
/// - Renaming the only property of a context is not followed until the context itself is modified.
///
/// Used on the thread of the shared model. The callbacks that it makes, of handles that it detaches, may do anything;
/// so may listeners on a model that was given to it. They may destroy the view.
class STUDIO_DATA_EXPORT ContextView : public rook::factory::CppAndLumenOwned,
                                       public tarn::zero::Listener,
                                       private boost::noncopyable {
public:
    /// The id of a provider, which is the UUID of its element and of every clone of that.
    using Id = boost::uuids::uuid;
    /// For tables by id.
    using IdHasher = tarn::zero::services::hashers::TARN0Hasher<Id>;
    /// A set of contexts.
    using IdSet = std::unordered_set<Id, IdHasher>;

    /// The name of the class: one text for all modules of a process, so that the pointers compare equal.
    static char const* const TypeName;
    /// The name under which a scripting host knows the class; one text for all modules, too.
    static char const* const ROOKTypeName;

    /// Keeps its clones in `model`, with a null handle in a new one of its own. A model serves one view. The clones
    /// in a given model outlast the view. A transaction on it that is rolled back takes along what the view did there
    /// meanwhile.
    explicit ContextView(tarn::zero::Model const& model);
    /// Detaches every handle that is left: context by context in the order in which they were first acquired, all of a
    /// context first, then their callbacks run in order of acquisition. A callback that throws ends the process.
    /// Otherwise lets nothing out.
    ~ContextView() override;

    /// A view owned by the caller.
    static std::unique_ptr<ContextView> create(tarn::zero::Model const& model);

    /// A new handle on the context of that id; null if the id has no living provider, or the view is being destroyed.
    /// `callback`, which may be empty, is called if the view detaches the handle, and never else.
    /// *Notifies*: the listeners of the view's model, if the context was not mirrored yet.
    /// *Throws* what stands in the way, and what those listeners throw: there is no handle then, and no record for it.
    /// *Lifetime*: the handle keeps the provider alive. *Cost*: for a context with handles only the handle, else a
    /// clone of what it reaches and is not mirrored yet.
    std::unique_ptr<ContextHandleImpl> acquire(Id const& id, ContextHandleImpl::Callback const& callback);
    /// What a handle's `release` calls. Ignores null and handles that are not in their record. Lets nothing out.
    void release(ContextHandleImpl* handle) noexcept;

    /// The clone of that context, shared; a null handle if it is not mirrored.
    ContextData getData(Id const& id) const;

    // Records. Handles make and end them; a record that is made directly has no handle, and stays until it gets one or
    // is destroyed.

    /// Null if nobody has a handle on that context.
    HandleRecord* getRecord(Id const& id) const;
    /// The record of that context, made if there is none; null as `acquire` answers null. *Notifies*, *throws* like it.
    HandleRecord* createRecord(Id const& id);
    /// Detaches the record's handles, ends it, and then whatever became an orphan. Ignores null and foreign records.
    void destroyRecord(HandleRecord* record);

    // Clones

    /// A new clone in the view's model, known to nobody; null if the shared model has no such context.
    ContextData cloneData(Id const& id);
    /// Mirrors whatever a clone reaches and is not mirrored yet, in order of names, depth first.
    void createClosure(ContextData const& clone);
    /// Takes out of `pending` what the clone reaches (the record's context, and what that reaches) through contexts
    /// that are in it.
    void removeDescendents(ContextData const& clone, IdSet& pending) const;
    void removeDescendents(HandleRecord* record, IdSet& pending) const;
    /// Destroys the clones that no record reaches, in a transaction, which joins an open one.
    /// *Cost*: what was held up by the references and records that went since the last call; nothing for the rest.
    void discardOrphans();

    // Reports of the shared model. *Cost*: a look-up for each change; a transaction of the view's model only if one of
    // them concerns a clone. A changed number or logical allocates nothing. A property that came, went, moved or was
    // renamed costs the same in a context of any size, except that the first such change of a context, and the first
    // one after changes of which no report tells it all, compares all of its properties.

    /// False for what is in no context that the view mirrors.
    bool concerns(tarn::zero::ElementImpl const& element, std::uint64_t changed) const noexcept override;
    /// Brings changed values up to date, and follows references that came or went.
    void transactionCommitted(tarn::zero::ShallowChangeReport<Property> const& report);
    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report);

    char const* getTypeName() const override { return TypeName; }
    char const* getFullyQualifiedRookTypeName() const override { return ROOKTypeName; }

private:
    friend class ContextHandleImpl;
    friend class Invariants;

    class Change;
    struct Comparison;
    struct Update;

    STUDIO_DATA_LOCAL ContextData* liveData(Id const& id);
    STUDIO_DATA_LOCAL void mirror(Id const& id);
    STUDIO_DATA_LOCAL ContextData mirrorOne(Id const& id);
    STUDIO_DATA_LOCAL void enter(Id const& id, ContextData const& clone);
    STUDIO_DATA_LOCAL void enterGraph(Id const& id, ContextData const& clone);
    STUDIO_DATA_LOCAL void refresh();
    STUDIO_DATA_LOCAL void forget(HandleRecord& record) noexcept;
    STUDIO_DATA_LOCAL bool owns(HandleRecord const* record) const noexcept;
    STUDIO_DATA_LOCAL void undoEmptyRecord(HandleRecord* record) noexcept;

    STUDIO_DATA_LOCAL ContextData const* cloneOf(ContextData::Impl const& source);
    STUDIO_DATA_LOCAL Property::Impl* copyFor(Property::Impl& source);
    STUDIO_DATA_LOCAL void followValue(PropertyValue const& value, Property::Impl& copy, Update& update);
    STUDIO_DATA_LOCAL void followActiveContexts(ContextData::Impl const& source, ContextData::Impl& clone,
                                                Update& update);
    STUDIO_DATA_LOCAL void followProperties(ContextData::Impl const& source, ContextData const& clone, Update& update);
    STUDIO_DATA_LOCAL bool isQuiet() const noexcept;
    STUDIO_DATA_LOCAL void doubt(tarn::zero::ReportData const& report);
    STUDIO_DATA_LOCAL void add(Property const& source, ContextData const& clone, Update& update);
    STUDIO_DATA_LOCAL void remove(Property const& copy, Update& update);
    STUDIO_DATA_LOCAL void gained(PropertyValue const& value, ContextData const& clone, Update& update);
    STUDIO_DATA_LOCAL void lost(Id const& target, Id const& from, Update& update);
    STUDIO_DATA_LOCAL void finish(Update& update);

    tarn::zero::Model model;
    std::unordered_map<Id, HandleRecord*, IdHasher> records;   // owned
    std::unordered_map<Id, ContextData, IdHasher> data;

    std::unique_ptr<detail::ViewGraph> graph;   // over the keys of data
    std::unique_ptr<detail::ViewMirrors> mirrors;
    std::uint64_t cloneChanges = 0;   // of data, and of what clones consist of
    std::unique_ptr<RecordList> recordOrder;
    bool stale = false;   // the graph: a transaction was rolled back
    IdSet exact;          // contexts whose clones differ from them by no more than what reports under way tell
    std::uint64_t halfFollowed = 0;   // the report of which the changed contexts are still to be followed
    std::shared_ptr<ContextHandleImpl::Life> life;
};

}   // namespace studio::data

#pragma once

#include "rook/factory/CppAndLumenOwned.h"
#include "studio/data/ContextHandleImpl.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/Listener.h"
#include "tarn/zero/Model.h"
#include "tarn/zero/services/Hashers.h"

#include <boost/core/noncopyable.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/uuid/uuid.hpp>

#include <cstdint>
#include <memory>
#include <unordered_set>

namespace studio::data {

class HandleRecord;
class Property;
namespace detail {
class ViewState;
}

/// Mirrors contexts into a model of its own, for holders that only read.
///
/// A handle names one context. The view keeps a clone of it, and of every context that it reaches through properties
/// whose value is a UUID, and updates the clones after each commit of the shared model. A clone and its properties have
/// the UUIDs of their sources. A clone that no handle's context reaches any more is destroyed.
///
/// By design:
/// - The active contexts of a fresh clone are empty until its source is modified next.
/// - References are followed, and orphans looked for, when a reference to a context with a living provider comes or
///   goes. The clone of a context whose provider has died stays until the next look.
/// - Acquiring a context that was reached through another one leaves a second clone of it in the model, unindexed and
///   never updated, next to the one that everybody reads.
/// - Renaming the only property of a context is not followed until the context itself is modified.
///
/// Used on the thread of the shared model. The callbacks of handles that it detaches, and listeners on a model that was
/// given to it, may do anything, including destroying the view.
class STUDIO_DATA_EXPORT ContextView : public rook::factory::CppAndLumenOwned,
                                       public tarn::zero::Listener,
                                       private boost::noncopyable {
public:
    /// The UUID of a provider's element and of all its clones.
    using Id = boost::uuids::uuid;
    /// Hash function for tables keyed by id.
    using IdHasher = tarn::zero::services::hashers::TARN0Hasher<Id>;
    /// A set of contexts.
    using IdSet = std::unordered_set<Id, IdHasher>;

    /// The class name: the same pointer in all modules of a process, so that pointers may be compared.
    static char const* const TypeName;
    /// The class name for scripting hosts: the same pointer in all modules of a process.
    static char const* const ROOKTypeName;

    /// Keeps its clones in `model`; a null handle stands for a new model of the view's own. A model serves one view.
    /// The clones in a given model outlast the view. If a caller's transaction on that model rolls back, so does what
    /// the view did in it.
    explicit ContextView(tarn::zero::Model const& model);
    /// Detaches every remaining handle: context by context in order of first acquisition, all handles of a context
    /// first, then their callbacks run in order of acquisition. A callback that throws ends the process. Throws nothing
    /// otherwise.
    ~ContextView() override;

    /// Makes a view that the caller owns.
    [[nodiscard]] static std::unique_ptr<ContextView> create(tarn::zero::Model const& model);

    /// Returns a new handle on the context of that id; null if the id has no living provider, or the view is being
    /// destroyed. `callback`, which may be empty, is called only when the handle is detached. *Notifies*: the listeners
    /// of the view's model, if the context was not mirrored yet. *Throws* `std::bad_alloc`, and what copying `callback`
    /// and those listeners throw; no handle and no new record is left then. *Lifetime*: the handle keeps the provider
    /// alive. *Cost*: for a context with handles only the handle, otherwise a clone of everything it reaches that is
    /// not mirrored yet.
    [[nodiscard]] std::unique_ptr<ContextHandleImpl> acquire(Id const& id, ContextHandleImpl::Callback const& callback);
    /// Releases a handle; its `release` calls this. Ignores null and handles that are not in their record. Throws
    /// nothing.
    void release(ContextHandleImpl* handle) noexcept;

    /// Returns the clone of that context, shared; a null handle if it is not mirrored.
    ContextData getData(Id const& id) const;

    // Records. Handles make and end them; a record that is made directly has no handle, and stays until it gets one or
    // is destroyed.

    /// Returns the record of that context; null if it has none.
    HandleRecord* getRecord(Id const& id) const;
    /// Returns the record of that context, made if there is none; null where `acquire` returns null. *Notifies* and
    /// *throws* like `acquire`.
    HandleRecord* createRecord(Id const& id);
    /// Detaches the record's handles, ends it, and destroys the clones that become orphans. Ignores null and foreign
    /// records.
    void destroyRecord(HandleRecord* record);

    // Clones

    /// Makes a new clone in the view's model, outside of its tables; null if the shared model has no such context.
    [[nodiscard]] ContextData cloneData(Id const& id);
    /// Mirrors every context that a clone reaches and that is not mirrored yet, ordered by name, depth first.
    void createClosure(ContextData const& clone);
    /// Removes from `pending` what the clone reaches (the record's context, and what that reaches) through contexts in
    /// `pending`.
    void removeDescendents(ContextData const& clone, IdSet& pending) const;
    void removeDescendents(HandleRecord* record, IdSet& pending) const;
    /// Destroys the clones that no record reaches, in a transaction, which joins an open one. *Cost*: proportional to
    /// what the references and records removed since the last call held; nothing for the rest.
    void discardOrphans();

    // Reports of the shared model. *Cost*: a look-up per change; a transaction of the view's model only if one of them
    // concerns a clone. A changed number or logical allocates nothing. A property that is created, destroyed, moved or
    // renamed costs the same in a context of any size, with one exception: the first such change of a context, and the
    // first one after changes that reports show only in part, compares all of its properties.

    /// Returns false for an element that is in no mirrored context.
    bool concerns(tarn::zero::ElementImpl const& element, std::uint64_t changed) const noexcept override;
    /// Updates changed values, and follows references that were added or removed.
    void transactionCommitted(tarn::zero::ShallowChangeReport<Property> const& report);
    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report);

    char const* getTypeName() const override { return TypeName; }
    char const* getFullyQualifiedRookTypeName() const override { return ROOKTypeName; }

private:
    friend class detail::ViewState;

    boost::intrusive_ptr<detail::ViewState> state;
};

}   // namespace studio::data

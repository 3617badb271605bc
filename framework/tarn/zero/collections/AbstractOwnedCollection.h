#pragma once

#include "tarn/zero/Transaction.h"
#include "tarn/zero/Value.h"
#include "tarn/zero/collections/ChangeDescriptors.h"
#include "tarn/zero/collections/Interfaces.h"

#include <boost/optional/optional.hpp>

#include <atomic>
#include <memory>
#include <string>

namespace tarn::zero {

/// A collection that is a property of an element (owned) or stands alone (detached). Every change of an owned
/// collection is announced to its owner first, so that the open transaction can undo it; without an open transaction
/// the change opens its own. *Throws*, before anything is changed: `std::logic_error` if the owner is dead,
/// `CannotModifyProxy` if it is a proxy, `ModelFrozen` in a frozen model.
class STUDIO_DATA_EXPORT AbstractOwnedCollection {
public:
    class Operation;

    AbstractOwnedCollection(AbstractOwnedCollection const&) = delete;
    AbstractOwnedCollection& operator=(AbstractOwnedCollection const&) = delete;
    virtual ~AbstractOwnedCollection();

    /// True if the collection belongs to no element.
    bool isDetached() const noexcept { return m_owner == nullptr; }
    /// The owner; null when detached.
    ModelElement owner() const noexcept { return ModelElement{m_owner}; }
    /// The index of the property that this collection is.
    unsigned long featureIndex() const noexcept { return m_featureIndex; }
    /// The meta property that this collection is; null when detached.
    meta::Property getCollectionProperty() const;

    /// Announces the change that `descriptor` describes, before it is made. A derived collection may override it to
    /// observe changes; the override calls the base first, which may throw. *Throws*, and records nothing: what every
    /// change throws because of the owner; `std::logic_error` if an owned collection has no open transaction.
    virtual void modifying(OCDChangeDescriptor const& descriptor);
    /// A descriptor of a change that cannot be described in detail.
    OCDChangeDescriptor getGiveUpDescriptor() const noexcept;

    /// Adds a reference; for an owned collection, a reference on its owner.
    void addRef() const noexcept;
    /// Drops a reference added by `addRef`; a detached collection is deleted with its last one.
    void removeRef() const noexcept;

protected:
    AbstractOwnedCollection() noexcept = default;
    AbstractOwnedCollection(ModelElement::Impl& owner, unsigned long featureIndex) noexcept;

    /// The owner, borrowed; null when detached.
    ModelElement::Impl* ownerImpl() const noexcept { return m_owner; }
    /// *Throws* what every change throws because of the owner.
    void refuseUnmodifiable() const;
    /// *Throws* if not even an element class may change the collection: the owner is dead or its model frozen.
    void refuseUnchangeable() const;
    /// Description of a refused change, for messages: `WHAT in properties of ContextData (0f8fad5b-…)`.
    std::string refused(std::string const& what) const;
    /// *Throws* `std::out_of_range` for `index` in a collection of `size` values.
    [[noreturn]] void refuseIndex(std::size_t index, std::size_t size) const;
    /// The content of `value` as a `T`. *Throws* `CannotAddIncompatibleTypes` if it is no `T`.
    template <class T>
    T itemIn(Value const& value) const
    {
        if (!value.isCompatible<T>())
            refuseValue(value);
        return value.getValue<T>();
    }

private:
    [[noreturn]] void refuseValue(Value const& value) const;

    ModelElement::Impl* m_owner = nullptr;
    unsigned long m_featureIndex = 0;
    mutable std::atomic<std::int32_t> m_detachedCount{0};
};

/// An atomic group of changes of one collection: a transaction or savepoint on the owner's model. No effect on a
/// detached collection.
class STUDIO_DATA_EXPORT AbstractOwnedCollection::Operation {
public:
    /// Begins the group. One of a single step opens no savepoint; see `ModelElement::Impl::needsNoSavepoint`. *Throws*
    /// as a change would.
    explicit Operation(AbstractOwnedCollection& collection, bool isOneStep = false);
    Operation(Operation const&) = delete;
    Operation& operator=(Operation const&) = delete;
    /// Rolls back unless committed.
    ~Operation() = default;

    /// Commits the group into the enclosing transaction, if there is one.
    void commit();

private:
    boost::optional<Transaction> m_transaction;
};

/// Handle that shares a collection: it keeps the owner of an owned collection alive; a detached one lives as long as
/// its handles. `Value::getValue` returns it for a collection.
template <class C>
class CollectionRef {
public:
    /// A new empty detached collection.
    CollectionRef() : m_collection{std::make_unique<C>().release()} {}
    /// Shares `collection`.
    explicit CollectionRef(C& collection) noexcept : m_collection{&collection} {}

    C& operator*() const noexcept { return *m_collection.get(); }
    C* operator->() const noexcept { return m_collection.get(); }

    auto begin() const { return m_collection->begin(); }
    auto end() const { return m_collection->end(); }
    /// The number of values.
    auto size() const noexcept { return m_collection->size(); }

private:
    Counted<C> m_collection;
};

/// The slot type of a collection is its value type.
template <class C>
struct SlotTypeOf<CollectionRef<C>> {
    /// The type of the collection's values.
    using type = typename C::value_type;
};

}   // namespace tarn::zero

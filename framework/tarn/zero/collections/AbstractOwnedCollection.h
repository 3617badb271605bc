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

/// A collection that is a property of an element, or stands alone ("detached"). Every change of an owned one is first
/// announced to its owner, so that the open transaction can undo it; a change outside of a transaction makes one of its
/// own. A change of a collection whose owner is dead throws `std::logic_error`, of a proxy's `CannotModifyProxy`, of
/// one in a frozen model `ModelFrozen`, before anything is touched.
class STUDIO_DATA_EXPORT AbstractOwnedCollection {
public:
    class Operation;

    AbstractOwnedCollection(AbstractOwnedCollection const&) = delete;
    AbstractOwnedCollection& operator=(AbstractOwnedCollection const&) = delete;
    virtual ~AbstractOwnedCollection();

    /// True if the collection belongs to no element.
    bool isDetached() const noexcept { return m_owner == nullptr; }
    /// The element that the collection belongs to; null when detached.
    ModelElement owner() const noexcept { return ModelElement{m_owner}; }
    /// The index of the property that the collection is.
    unsigned long featureIndex() const noexcept { return m_featureIndex; }
    /// The meta property that the collection is; null when detached.
    meta::Property getCollectionProperty() const;

    /// Announces the change that `descriptor` describes, before it is made. A derived collection may override this to
    /// observe its changes; it calls the base first, which may refuse. *Throws*, and nothing is recorded then: what
    /// every change throws because of the owner; `std::logic_error` when an owned collection has no open transaction.
    virtual void modifying(OCDChangeDescriptor const& descriptor);
    /// A descriptor for changes that nobody could describe in detail.
    OCDChangeDescriptor getGiveUpDescriptor() const noexcept;

    /// References on an owned collection are references on its owner.
    void addRef() const noexcept;
    /// Drops it again; with the last one a detached collection goes.
    void removeRef() const noexcept;

protected:
    AbstractOwnedCollection() noexcept = default;
    AbstractOwnedCollection(ModelElement::Impl& owner, unsigned long featureIndex) noexcept;

    /// The owner, borrowed; null when detached.
    ModelElement::Impl* ownerImpl() const noexcept { return m_owner; }
    /// Throws what a change would throw that is refused because of the owner, whatever the state of the model.
    void refuseUnmodifiable() const;
    /// Throws if not even an element class may change the collection: its owner is dead or its model frozen.
    void refuseUnchangeable() const;
    /// What is refused, for messages: `WHAT in properties of ContextData (0f8fad5b-…)`.
    std::string refused(std::string const& what) const;
    /// *Throws* `std::out_of_range`.
    [[noreturn]] void refuseIndex(std::size_t index, std::size_t size) const;
    /// What `value` holds for the collection; throws `CannotAddIncompatibleTypes` if that is no `T`.
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

/// A group of changes of one collection that is made whole or not at all: a savepoint on the owner's model.
/// Of a detached collection it is nothing.
class STUDIO_DATA_EXPORT AbstractOwnedCollection::Operation {
public:
    /// Begins. *Throws* as a change would.
    explicit Operation(AbstractOwnedCollection& collection);
    Operation(Operation const&) = delete;
    Operation& operator=(Operation const&) = delete;
    /// Rolls back what was not committed.
    ~Operation() = default;

    /// Makes the group final, as far as the transaction around it.
    void commit();

private:
    boost::optional<Transaction> m_transaction;
};

/// A handle that shares a collection: of an element it keeps the element, a detached one lives as long as its handles.
/// `Value::getValue` reads a collection as one.
template <class C>
class CollectionRef {
public:
    /// A new, empty collection that belongs to no element.
    CollectionRef() : m_collection{std::make_unique<C>().release()} {}
    /// Shares that collection.
    explicit CollectionRef(C& collection) noexcept : m_collection{&collection} {}

    C& operator*() const noexcept { return *m_collection.get(); }
    C* operator->() const noexcept { return m_collection.get(); }

    auto begin() const { return m_collection->begin(); }
    auto end() const { return m_collection->end(); }
    /// How many values it holds.
    auto size() const noexcept { return m_collection->size(); }

private:
    Counted<C> m_collection;
};

/// The slot of a collection names the type of what the collection holds.
template <class C>
struct SlotTypeOf<CollectionRef<C>> {
    /// That type.
    using type = typename C::value_type;
};

}   // namespace tarn::zero

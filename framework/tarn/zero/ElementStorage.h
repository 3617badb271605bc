#pragma once

#include "tarn/zero/ModelElementImpl.h"

#include <cstdint>

namespace tarn::zero {

/// What one transaction changed in one element: the changed properties, their old values and the old container. Element
/// classes derive from it through `ChangesOf`, which adds the old values.
class STUDIO_DATA_EXPORT ModelElement::Impl::Changes {
public:
    /// Bit of the containment change in the bit word; property i has bit i.
    static constexpr unsigned long OFFSET_CONTAINMENT = 0;

    /// No changes yet, of the element with UUID `uuid`, whose class has `propertyCount` properties.
    Changes(boost::uuids::uuid const& uuid, Model const& model, meta::Class const& type, unsigned long propertyCount);
    Changes(Changes const&) = delete;
    Changes& operator=(Changes const&) = delete;
    virtual ~Changes();

    /// The UUID of the element.
    boost::uuids::uuid const& identifier() const noexcept { return m_uuid; }
    /// The number of properties of the element's class.
    unsigned long propertyCount() const noexcept { return m_propertyCount; }

    /// True if property `index` was announced as changing and was not reverted as unchanged at commit.
    bool isChanged(unsigned long index) const noexcept { return index < BITS && (m_bits >> index & 1u) != 0; }
    /// The changed bits: bit i for property i.
    std::uint64_t changedBits() const noexcept { return m_bits; }
    /// Sets the changed bit of property `index`; stores no old value.
    void setChanged(unsigned long index) noexcept { m_bits |= std::uint64_t{1} << index; }
    /// Clears the changed bit of property `index`.
    void clearChanged(unsigned long index) noexcept { m_bits &= ~(std::uint64_t{1} << index); }

    /// Stores the container before its first change; later calls have no effect. *Throws* `InvalidValue`, and stores
    /// nothing, if `feature` is no property of the container's class.
    void setOldContainer(ModelElement const& container, meta::Property const& feature);
    void setOldContainer(Impl* container, unsigned long featureIndex) noexcept;
    /// The container before the first change; null if there was none or it did not change.
    ModelElement const& oldContainer() const noexcept { return m_oldContainer; }
    /// The index of the collection of the old container that held the element.
    unsigned long oldContainerFeature() const noexcept { return m_oldContainerFeature; }

    /// The value of `property` before the transaction. For an unchanged property: an empty value of its type.
    virtual Value getOldValue(meta::Property const& property, ReflectionPrivateTag tag) const;
    /// Address of the old value of property `index`; null if the property did not change.
    virtual void const* oldSlot(unsigned long index) const noexcept = 0;
    /// Copies everything from `other`, a storage of the same class.
    virtual void assign(Changes const& other);

protected:
    /// Resets to no changes, for the element with UUID `uuid`.
    void resetChanges(boost::uuids::uuid const& uuid) noexcept;

private:
    friend class detail::Journal;

    static constexpr unsigned long BITS = 64;

    boost::uuids::uuid m_uuid;
    std::uint64_t m_bits = 0;
    ModelElement m_oldContainer;
    std::uint8_t m_oldContainerFeature = 0;
    std::uint8_t m_propertyCount;
};

/// Undo record of one element at one transaction level, later part of the report: enough to revert unchanged properties
/// and to roll back. Reused for other elements of the class, so that a steady stream of writes allocates nothing.
class STUDIO_DATA_EXPORT ModelElement::Impl::Storage : public Changes {
public:
    using Changes::Changes;

    /// The element; null while the storage is in the free list.
    ModelElement const& element() const noexcept { return m_element; }
    /// True if the transaction created the element.
    bool wasCreated() const noexcept { return m_created; }
    /// True if the transaction destroyed the element.
    bool wasDestroyed() const noexcept { return m_destroyed; }

    /// Clears the bit of each property whose old value equals the present one by the feature's rule.
    virtual void revertUnchanged(ModelElement const& element);
    /// Moves into `outer` the old values that it lacks.
    virtual void mergeInto(Storage& outer) noexcept;
    /// Rollback, first pass: erases inserted elements from keyed maps, under their present keys.
    virtual void undoInsertions(Impl& element) noexcept;
    /// Rollback, last pass: re-inserts erased elements into keyed maps, under their restored keys.
    virtual void undoErasures(Impl& element) noexcept;
    /// Releases all old values, so that the storage can be reused for another element of the class.
    virtual void recycle() noexcept;

private:
    friend class ModelElement::Impl;
    friend class detail::Journal;

    ModelElement m_element;
    std::uint64_t reportedBits() const noexcept { return changedBits() & ~m_silentBits; }

    detail::StoragePool* m_pool = nullptr;   // the pool that owns it
    Storage* m_previous = nullptr;           // storage of the same element at an outer level
    Impl* m_displaced = nullptr;   // dead element or proxy of the same UUID that this created element replaced; or null
    std::uint64_t m_silentBits = 0;   // changed bits kept for rollback only, not reported
    std::uint32_t m_level = 0;
    bool m_created = false;
    bool m_destroyed = false;
    bool m_madeProxy = false;
};

}   // namespace tarn::zero

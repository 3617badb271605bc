#pragma once

#include "tarn/zero/ModelElementImpl.h"

#include <cstdint>

namespace tarn::zero {

/// What one transaction changed in one element: the changed properties, their old values and the old container.
/// Element classes derive from it through `ChangesOf`, which adds the old values.
class STUDIO_DATA_EXPORT ModelElement::Impl::Changes {
public:
    /// The position of the containment change in the bit word; property i stands at position i.
    static constexpr unsigned long OFFSET_CONTAINMENT = 0;

    /// No change yet of the element of that UUID, whose class has so many properties.
    Changes(boost::uuids::uuid const& uuid, Model const& model, meta::Class const& type, unsigned long propertyCount);
    Changes(Changes const&) = delete;
    Changes& operator=(Changes const&) = delete;
    virtual ~Changes();

    /// The UUID of the element.
    boost::uuids::uuid const& identifier() const noexcept { return m_uuid; }
    /// How many properties its class has.
    unsigned long propertyCount() const noexcept { return m_propertyCount; }

    /// True if property `index` was announced as changing, and did not count as unchanged at the commit.
    bool isChanged(unsigned long index) const noexcept { return index < BITS && (m_bits >> index & 1u) != 0; }
    /// A bit for each property that changed.
    std::uint64_t changedBits() const noexcept { return m_bits; }
    /// Notes the change of a property, of which nothing is remembered.
    void setChanged(unsigned long index) noexcept { m_bits |= std::uint64_t{1} << index; }
    /// Takes that back.
    void clearChanged(unsigned long index) noexcept { m_bits &= ~(std::uint64_t{1} << index); }

    /// The container before the first change of it; only the first call counts. Throws `InvalidValue`, and keeps
    /// nothing, if `feature` is no property of the container's class.
    void setOldContainer(ModelElement const& container, meta::Property const& feature);
    void setOldContainer(Impl* container, unsigned long featureIndex) noexcept;
    /// That container; null if there was none, or if it did not change.
    ModelElement const& oldContainer() const noexcept { return m_oldContainer; }
    /// The index of the collection of that container that held the element.
    unsigned long oldContainerFeature() const noexcept { return m_oldContainerFeature; }

    /// The value of `property` before the transaction. For a property that did not change: an empty value of its type.
    virtual Value getOldValue(meta::Property const& property, ReflectionPrivateTag tag) const;
    /// Where the old value of property `index` is kept; null if that property did not change.
    virtual void const* oldSlot(unsigned long index) const noexcept = 0;
    /// Takes a copy of everything that `other`, a storage of the same class, remembers.
    virtual void assign(Changes const& other);

protected:
    /// Makes it as new, for the element of that UUID.
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

/// The same while the transaction is open, and in its report: enough to revert and to roll back. Reused from element to
/// element of one class, so that a steady stream of writes allocates nothing.
class STUDIO_DATA_EXPORT ModelElement::Impl::Storage : public Changes {
public:
    using Changes::Changes;

    /// The element that this is about; null while the storage waits for use.
    ModelElement const& element() const noexcept { return m_element; }
    /// True if the transaction made the element.
    bool wasCreated() const noexcept { return m_created; }
    /// True if the transaction destroyed the element.
    bool wasDestroyed() const noexcept { return m_destroyed; }

    /// Clears the bit of each property whose old value counts as equal to the present one.
    virtual void revertUnchanged(ModelElement const& element);
    /// Hands `outer` the old values that it lacks.
    virtual void mergeInto(Storage& outer) noexcept;
    /// First pass of rolling back: takes elements that entered a keyed map out of it, under the keys they have now.
    virtual void withdraw(Impl& element) noexcept;
    /// Last pass: puts back the elements that a keyed map held, under the keys that they have again.
    virtual void reinstate(Impl& element) noexcept;
    /// Forgets all old values and becomes free for another element of the class.
    virtual void recycle() noexcept;

private:
    friend class ModelElement::Impl;
    friend class detail::Journal;

    ModelElement m_element;
    std::uint64_t toldBits() const noexcept { return changedBits() & ~m_untold; }

    detail::StoragePool* m_pool = nullptr;   // where it belongs
    Storage* m_previous = nullptr;           // the same element's storage of an outer level
    Impl* m_displaced = nullptr;   // the dead element or placeholder whose place in the index a created one took
    std::uint64_t m_untold = 0;    // of the changed bits: remembered for a roll back, and not to be reported
    std::uint32_t m_level = 0;
    bool m_created = false;
    bool m_destroyed = false;
    bool m_madeProxy = false;
};

}   // namespace tarn::zero

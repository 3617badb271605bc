#pragma once

#include "foundation/PositionIndex.h"
#include "tarn/zero/ModelElementImpl.h"

#include <unordered_set>
#include <vector>

namespace tarn::zero::detail {

/// The elements of one model, one reference on each: a dense vector with a hash index by UUID (`PositionIndex`). All
/// operations take constant expected time. Not a library's table, because `remove` and `erase` run in rollback and must
/// not fail, and for the size: about 20 bytes per element; the figures stand at `PositionIndex`.
/// It indexes the first element of each UUID: a later one with the same UUID is owned but not indexed, and never
/// promoted. Dead elements and proxies give up their slot.
class ElementTable {
public:
    using Impl = ModelElement::Impl;

    ElementTable() = default;
    ElementTable(ElementTable const&) = delete;
    ElementTable& operator=(ElementTable const&) = delete;
    ~ElementTable();

    /// The indexed element of that UUID, borrowed; null if there is none, or it is dead or a proxy.
    Impl* find(boost::uuids::uuid const& uuid) const noexcept;

    /// Inserts a new element. Returns the dead element or proxy of the same UUID that it replaced in the index, which
    /// stays owned; null if there was none. *Throws* `std::bad_alloc` and changes nothing.
    Impl* insert(Impl& element);
    /// Inserts a new element without indexing it.
    void insertSilently(Impl& element);
    /// Indexes an element that was inserted silently; otherwise as `insert`.
    Impl* announce(Impl& element);
    /// Undoes `insert` and `announce`: indexes `displaced` again and releases `element`.
    void remove(Impl& element, Impl* displaced) noexcept;
    /// Releases an element whose death is final.
    void erase(Impl& element) noexcept;

    /// Calls `visit(Impl&)` for each element, in no particular order. The table must not change meanwhile.
    template <class Visit>
    void forEach(Visit const& visit) const
    {
        for (Impl* const element : m_indexed)
            visit(*element);
        for (Impl* const element : m_unindexed)
            visit(*element);
    }
    std::size_t size() const noexcept { return m_indexed.size() + m_unindexed.size(); }
    /// Releases all elements.
    void clear() noexcept;

private:
    friend class tarn::zero::Invariants;

    using Index = foundation::PositionIndex;

    static Index::Hash hashOf(boost::uuids::uuid const& uuid) noexcept;
    std::uint32_t positionOf(boost::uuids::uuid const& uuid) const noexcept;

    std::vector<Impl*> m_indexed;   // dense, unordered; looked up through `m_index`
    Index m_index;
    std::unordered_set<Impl*> m_unindexed;
};

}   // namespace tarn::zero::detail

#pragma once

#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/services/PositionIndex.h"

#include <unordered_set>
#include <vector>

namespace tarn::zero::detail {

/// The elements of one model. It holds one reference on each and finds the first of each UUID: a later element with a
/// UUID that is taken lives unindexed and is never promoted. Placeholders of elements of other models are not found.
class ElementTable {
public:
    using Impl = ModelElement::Impl;

    ElementTable() = default;
    ElementTable(ElementTable const&) = delete;
    ElementTable& operator=(ElementTable const&) = delete;
    ~ElementTable();

    /// The indexed element of that UUID, borrowed, if it is alive and no placeholder.
    Impl* find(boost::uuids::uuid const& uuid) const noexcept;

    /// Enters a new element. Answers the dead element or the placeholder of the same UUID whose place it took, if there
    /// was one; that one stays owned. Throws `std::bad_alloc` and leaves all as it was.
    Impl* insert(Impl& element);
    /// Enters a new element that is not found.
    void insertSilently(Impl& element);
    /// Has such an element found from now on; otherwise as `insert`.
    Impl* announce(Impl& element);
    /// Undoes `insert` and `announce`: gives the place back to `displaced` and lets go of `element`.
    void remove(Impl& element, Impl* displaced) noexcept;
    /// Lets go of an element whose death is final.
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
    /// Lets go of everything.
    void clear() noexcept;

private:
    friend class tarn::zero::Invariants;

    using Index = services::PositionIndex;

    static Index::Hash hashOf(boost::uuids::uuid const& uuid) noexcept;
    std::uint32_t placeOf(boost::uuids::uuid const& uuid) const noexcept;

    std::vector<Impl*> m_indexed;   // dense, in no order; `m_index` finds them
    Index m_index;
    std::unordered_set<Impl*> m_unindexed;
};

}   // namespace tarn::zero::detail

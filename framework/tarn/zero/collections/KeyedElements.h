#pragma once

#include "foundation/PositionIndex.h"
#include "tarn/zero/services/Hashers.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tarn::zero::detail {

/// The lookup type of a key: a view for texts, so that no lookup builds a key.
template <class Key>
using KeyView = std::conditional_t<std::is_same_v<Key, std::string>, std::string_view, Key>;

/// Elements by key: an array of handles with a hash index (`PositionIndex`), sorted lazily by the first iteration after
/// an insertion. Lookup, insertion and erasure take constant expected time, the sort O(n log n). About 24 bytes per
/// element, where `std::map` takes 56 and a hashed and ordered `multi_index_container` 68 to 106. Both allocate to put
/// an erased element back; rollback must not. `PositionIndex` has the other figures.
///
/// A key is read from its element and not copied: it must not change while the element is in the table. After
/// `keepKeys` the table copies the key of each element on insertion, and elements may change theirs.
///
/// Erasing leaves a gap, a null handle, in the array. The array has three ranges:
///
///     0 ... m_first ... m_sorted ... size
///
/// The first holds only gaps. The second is sorted. The third is in order of insertion, and its last handle is not a
/// gap. *Cost*: gaps are closed when they outnumber the elements, so an erasure reads an amortised constant number of
/// keys. An iteration after insertions sorts the inserted elements and those behind the least of them.
template <class Key, class E, class KeyOf>
class KeyedElements {
    using List = std::vector<E>;
    using Index = foundation::PositionIndex;
    using Kept = std::unordered_map<void const*, Key>;

public:
    using View = KeyView<Key>;

    /// Iterates over the elements and skips gaps. Any change of the table invalidates it.
    class const_iterator {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = E;
        using difference_type = std::ptrdiff_t;
        using pointer = E const*;
        using reference = E const&;

        const_iterator() noexcept = default;
        const_iterator(E const* at, E const* end) noexcept : m_at{at}, m_end{end} {}

        reference operator*() const noexcept { return *m_at; }
        pointer operator->() const noexcept { return m_at; }
        const_iterator& operator++() noexcept
        {
            do
                ++m_at;
            while (m_at != m_end && !m_at->get());
            return *this;
        }
        const_iterator& operator--() noexcept
        {
            do
                --m_at;
            while (!m_at->get());
            return *this;
        }
        const_iterator operator++(int) noexcept
        {
            const_iterator const before = *this;
            ++*this;
            return before;
        }
        const_iterator operator--(int) noexcept
        {
            const_iterator const before = *this;
            --*this;
            return before;
        }
        friend bool operator==(const_iterator const& left, const_iterator const& right) noexcept
        {
            return left.m_at == right.m_at;
        }

    private:
        E const* m_at = nullptr;
        E const* m_end = nullptr;
    };

    /// The present key of the element.
    static View keyOf(E const& element) { return KeyOf{}(*element.operator->()); }

    /// Copies keys from now on. *Requires* an empty table.
    void keepKeys() { m_kept = std::make_unique<Kept>(); }
    bool keepsKeys() const noexcept { return m_kept != nullptr; }

    std::size_t size() const noexcept { return m_list.size() - m_gaps; }
    bool empty() const noexcept { return m_list.empty(); }
    /// True if a key is a path, by `KeyOf::isPath`.
    bool hasPaths() const noexcept { return m_paths != 0; }
    /// Iterates in key order. *Cost*: see the class.
    const_iterator begin() const noexcept
    {
        sort();
        return {m_list.data() + m_first, m_list.data() + m_list.size()};
    }
    const_iterator end() const noexcept
    {
        sort();
        return {m_list.data() + m_list.size(), m_list.data() + m_list.size()};
    }

    /// The element with that key; null if there is none.
    E const* find(View const& key) const noexcept
    {
        std::uint32_t const position = positionOf(hashOf(key), key);
        return position == Index::NOWHERE ? nullptr : &m_list[position];
    }
    /// True if the table contains that element.
    bool contains(E const& element) const noexcept
    {
        if (m_kept && m_kept->count(element.get()) == 0)
            return false;
        E const* const found = find(keyIn(element));
        return found && *found == element;
    }

    /// Reserves capacity for `count` elements in all. *Throws* `std::bad_alloc` and changes nothing.
    void reserve(std::size_t count)
    {
        m_list.reserve(count + m_gaps);
        m_index.reserve(count);
    }
    /// Reserves capacity for one more element. Grows geometrically, or closes the gaps if there are enough of them.
    /// *Requires* an element that is not in the table. *Throws* `std::bad_alloc` and changes nothing.
    void reserveFor(E const& element)
    {
        m_index.reserve(size() + 1);
        if (m_list.size() == m_list.capacity()) {
            if (m_gaps > size() / 4)
                closeGaps();
            else
                m_list.reserve(std::max<std::size_t>(4, m_list.size() + m_list.size() / 2));
        }
        if (m_kept)
            m_kept->insert_or_assign(element.get(), Key{keyOf(element)});
    }
    /// Inserts an element. *Requires* a free key and capacity: reserved, or left by an erased element.
    void insert(E element) noexcept
    {
        if (m_list.size() == m_list.capacity())
            closeGaps();
        View const key = keyIn(element);
        m_index.insert(hashOf(key), static_cast<std::uint32_t>(m_list.size()));
        if (m_sorted == m_list.size() && (m_list.empty() || keyIn(m_list.back()) < key))
            ++m_sorted;
        m_paths += KeyOf::isPath(key);
        m_list.push_back(std::move(element));
    }
    /// Erases that element; false if it is not in the table. The order of the others stays.
    bool erase(E const& element) noexcept
    {
        if (m_kept && m_kept->count(element.get()) == 0)
            return false;
        View const key = keyIn(element);
        Index::Hash const hash = hashOf(key);
        std::uint32_t const position = positionOf(hash, key);
        if (position == Index::NOWHERE || !(m_list[position] == element))
            return false;
        m_index.erase(hash, position);
        m_paths -= KeyOf::isPath(key);
        E const gone = std::move(m_list[position]);   // may be the argument; released last
        ++m_gaps;
        if (m_kept)
            m_kept->erase(gone.get());
        trim();
        if (m_gaps > size() + 16)
            closeGaps();
        return true;
    }
    void clear() noexcept
    {
        m_index.clear();
        m_first = m_sorted = m_gaps = 0;
        m_paths = 0;
        if (m_kept)
            m_kept->clear();
        List gone;
        gone.swap(m_list);   // released elements may look up here
        gone.clear();
        if (m_list.empty())
            m_list.swap(gone);   // keep its capacity
    }

private:
    static Index::Hash hashOf(View const& key) noexcept
    {
        return Index::fold(services::hashers::TARN0Hasher<View>{}(key));
    }
    /// The key of an element of the table.
    View keyIn(E const& element) const noexcept
    {
        if (m_kept)
            return m_kept->find(element.get())->second;
        return keyOf(element);
    }
    Index::Hash hashAt(std::size_t position) const noexcept { return hashOf(keyIn(m_list[position])); }
    std::uint32_t positionOf(Index::Hash hash, View const& key) const noexcept
    {
        return m_index.find(hash, [&](std::uint32_t position) { return keyIn(m_list[position]) == key; });
    }
    bool isGap(std::size_t position) const noexcept { return m_list[position].get() == nullptr; }

    /// Drops the gaps at the end and skips those at the front.
    void trim() noexcept
    {
        for (; !m_list.empty() && !m_list.back().get(); m_list.pop_back())
            --m_gaps;
        if (m_list.empty())
            m_first = 0;
        while (m_first != m_list.size() && isGap(m_first))
            ++m_first;
        m_sorted = std::clamp(m_sorted, m_first, m_list.size());
    }
    void closeGaps() noexcept
    {
        std::size_t to = 0;
        std::size_t sorted = 0;
        for (std::size_t position = m_first; position != m_list.size(); ++position) {
            if (isGap(position))
                continue;
            if (position != to) {
                m_index.move(hashAt(position), static_cast<std::uint32_t>(position), static_cast<std::uint32_t>(to));
                m_list[to] = std::move(m_list[position]);
            }
            ++to;
            if (position < m_sorted)
                sorted = to;
        }
        m_list.erase(m_list.begin() + static_cast<std::ptrdiff_t>(to), m_list.end());
        m_first = m_gaps = 0;
        m_sorted = sorted;
    }

    void sort() const noexcept
    {
        if (m_sorted != m_list.size())
            sortInserted();
    }
    /// Sorts the third range and merges it with the elements of the second that are not less than its least.
    void sortInserted() const noexcept
    {
        auto const earlier = [this](E const& left, E const& right) { return keyIn(left) < keyIn(right); };
        auto const at = [this](std::size_t position) { return m_list.begin() + static_cast<std::ptrdiff_t>(position); };
        E const* least = &m_list.back();
        for (std::size_t position = m_sorted; position != m_list.size(); ++position)
            if (!isGap(position) && earlier(m_list[position], *least))
                least = &m_list[position];
        std::size_t first = m_sorted;   // of the elements that move
        std::size_t behind = 0;         // the number of sorted elements among them
        for (std::size_t position = m_sorted; position != m_first; --position)
            if (!isGap(position - 1)) {
                if (earlier(m_list[position - 1], *least))
                    break;
                first = position - 1;
                ++behind;
            }
        bool const areMost = m_list.size() - first > size() / 2;
        if (areMost)
            m_index.clear();
        for (std::size_t position = first; position != m_list.size() && !areMost; ++position)
            if (!isGap(position))
                m_index.erase(hashAt(position), static_cast<std::uint32_t>(position));
        auto const last = std::remove_if(at(first), m_list.end(), [](E const& element) { return !element.get(); });
        m_gaps -= static_cast<std::size_t>(m_list.end() - last);
        m_list.erase(last, m_list.end());
        auto const middle = at(first + behind);
        std::sort(middle, m_list.end(), earlier);
        std::inplace_merge(at(first), middle, m_list.end(), earlier);
        m_sorted = m_list.size();
        for (std::size_t position = areMost ? m_first : first; position != m_list.size(); ++position)
            if (!isGap(position))
                m_index.insert(hashAt(position), static_cast<std::uint32_t>(position));
    }

    // Mutable: the order is not part of the observable state.
    mutable List m_list;
    mutable Index m_index;
    mutable std::size_t m_first = 0;
    mutable std::size_t m_sorted = 0;
    mutable std::size_t m_gaps = 0;
    std::size_t m_paths = 0;
    std::unique_ptr<Kept> m_kept;   // by element; null while keys are read from the elements
};

}   // namespace tarn::zero::detail

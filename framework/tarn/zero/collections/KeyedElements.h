#pragma once

#include "tarn/zero/services/Hashers.h"
#include "tarn/zero/services/PositionIndex.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace tarn::zero::detail {

/// Text is looked up by view, so that no look-up builds a key.
template <class Key>
using KeyView = std::conditional_t<std::is_same_v<Key, std::string>, std::string_view, Key>;

/// Handles of elements by the key that each of them carries, every key once. A look-up hashes the key; the order is
/// made when somebody walks, and kept until the next change. A key is read from its element and kept nowhere else: it
/// must not change while the element is in here. About 24 bytes an element.
template <class Key, class E, class KeyOf>
class KeyedElements {
    using List = std::vector<E>;
    using Index = services::PositionIndex;

public:
    using View = KeyView<Key>;
    using const_iterator = typename List::const_iterator;

    static View keyOf(E const& element) { return KeyOf{}(*element.operator->()); }

    std::size_t size() const noexcept { return m_list.size(); }
    bool empty() const noexcept { return m_list.empty(); }
    /// True if one of the keys is a path, by `KeyOf::isPath`.
    bool hasPaths() const noexcept { return m_paths != 0; }
    /// In order of the keys. *Cost*: after changes they are sorted first. The next change ends the walk.
    const_iterator begin() const noexcept
    {
        if (m_sorted != m_list.size())
            sort();
        return m_list.begin();
    }
    const_iterator end() const noexcept
    {
        if (m_sorted != m_list.size())
            sort();
        return m_list.end();
    }

    /// The element under that key; null if there is none.
    E const* find(View const& key) const noexcept
    {
        std::uint32_t const place = placeOf(hashOf(key), key);
        return place == Index::NOWHERE ? nullptr : &m_list[place];
    }

    /// Room for that many in all. *Throws* `std::bad_alloc` and changes nothing.
    void reserve(std::size_t count)
    {
        m_list.reserve(count);
        m_index.reserve(count);
    }
    /// The same for one more than now, growing geometrically.
    void reserveOne()
    {
        if (m_list.size() == m_list.capacity())
            m_list.reserve(std::max<std::size_t>(4, m_list.size() + m_list.size() / 2));
        m_index.reserve(m_list.size() + 1);
    }
    /// Enters an element under a key that is free. There is room for it: what was erased has left its own behind.
    void insert(E element) noexcept
    {
        View const key = keyOf(element);
        m_index.insert(hashOf(key), static_cast<std::uint32_t>(m_list.size()));
        if (m_sorted == m_list.size() && (m_list.empty() || keyOf(m_list.back()) < key))
            ++m_sorted;
        m_paths += KeyOf::isPath(key);
        m_list.push_back(std::move(element));
    }
    /// Takes out just that element; false if it is not here.
    bool erase(E const& element) noexcept
    {
        View const key = keyOf(element);
        Index::Hash const hash = hashOf(key);
        std::uint32_t const place = placeOf(hash, key);
        if (place == Index::NOWHERE || !(m_list[place] == element))
            return false;
        m_index.erase(hash, place);
        m_paths -= KeyOf::isPath(key);
        auto const last = static_cast<std::uint32_t>(m_list.size() - 1);
        E const gone = std::move(m_list[place]);   // it may be the argument, and be let go of last
        if (place != last) {
            m_index.move(hashOf(keyOf(m_list[last])), last, place);
            m_list[place] = std::move(m_list[last]);
        }
        m_list.pop_back();
        m_sorted = std::min(m_sorted, place == last ? last : place);
        return true;
    }
    void clear() noexcept
    {
        m_index.clear();
        m_sorted = 0;
        m_paths = 0;
        List gone;
        gone.swap(m_list);   // elements that are let go of may look here
        gone.clear();
        if (m_list.empty())
            m_list.swap(gone);   // its room
    }

private:
    static Index::Hash hashOf(View const& key) noexcept
    {
        return Index::fold(services::hashers::TARN0Hasher<View>{}(key));
    }
    std::uint32_t placeOf(Index::Hash hash, View const& key) const noexcept
    {
        return m_index.find(hash, [&](std::uint32_t place) { return keyOf(m_list[place]) == key; });
    }
    void sort() const noexcept
    {
        auto const earlier = [](E const& left, E const& right) { return keyOf(left) < keyOf(right); };
        auto const middle = m_list.begin() + static_cast<std::ptrdiff_t>(m_sorted);
        std::sort(middle, m_list.end(), earlier);
        std::inplace_merge(m_list.begin(), middle, m_list.end(), earlier);
        m_index.clear();
        for (std::size_t place = 0; place != m_list.size(); ++place)
            m_index.insert(hashOf(keyOf(m_list[place])), static_cast<std::uint32_t>(place));
        m_sorted = static_cast<std::uint32_t>(m_list.size());
    }

    // Mutable: their order is not part of what the table holds.
    mutable List m_list;
    mutable Index m_index;
    mutable std::uint32_t m_sorted = 0;   // so many at the front are in order
    std::uint32_t m_paths = 0;
};

}   // namespace tarn::zero::detail

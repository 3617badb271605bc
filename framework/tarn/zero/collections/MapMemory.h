#pragma once

#include <algorithm>
#include <cstddef>
#include <list>
#include <set>
#include <utility>
#include <vector>

namespace tarn::zero::detail {

/// What a keyed map held when a transaction first touched it, kept as the list of the steps since: adding n elements
/// one by one costs n steps and not n copies. The memories of one map that are still wanted (of open savepoints, of
/// reports that somebody reads) form a chain, the newest of which takes the steps.
template <class E, class Set>
class MapMemory {
public:
    /// The end of a map's chain.
    struct Chain {
        MapMemory* newest = nullptr;
    };

    MapMemory() = default;
    MapMemory(MapMemory const&) = delete;
    MapMemory& operator=(MapMemory const&) = delete;
    ~MapMemory() { forget(); }

    /// Begins to remember a map that holds `size` elements now.
    void begin(Chain& chain, Set const& set)
    {
        forget();
        m_steps.clear();
        m_set = &set;
        m_size = set.size();
        link(chain);
    }

    std::size_t size() const noexcept { return m_size; }

    /// Records a step that is about to be made.
    void inserting(E const& element) { m_steps.push_back({element, true}); }
    void erasing(E const& element) { m_steps.push_back({element, false}); }

    /// Hands the steps to the memory of the outer level, which begins here if it `has` none.
    void mergeInto(MapMemory& outer, bool has) noexcept
    {
        if (!has) {
            outer.m_steps.clear();
            outer.m_set = m_set;
            outer.m_size = m_size;
            outer.m_chain = m_chain;
            outer.m_older = m_older;
            outer.m_newer = this;
            if (m_older)
                m_older->m_newer = &outer;
            m_older = &outer;
        }
        forget();
    }

    /// Ends remembering; an older memory of the same map takes the steps over.
    void forget() noexcept
    {
        if (!m_chain)
            return;
        if (m_older)
            m_older->m_steps.splice(m_older->m_steps.end(), m_steps);
        unlink();
        m_steps.clear();
    }

    /// The elements that the map held: those that left it or moved in it, in order of their first step, then the others
    /// in order of their keys.
    std::vector<E> elements() const
    {
        std::vector<E> list;
        std::set<void const*> moved;
        for (MapMemory const* memory = this; memory; memory = memory->m_newer)
            for (Step const& step : memory->m_steps)
                if (moved.insert(step.element.get()).second && !step.inserted)   // the first step tells
                    list.push_back(step.element);
        for (E const& element : *m_set)
            if (moved.count(element.get()) == 0)
                list.push_back(element);
        return list;
    }

    /// Of a map that held one element: that one, if it left the map or moved in it; else null. Needs no memory.
    E const* movedOne() const noexcept
    {
        auto const left = std::find_if(m_steps.begin(), m_steps.end(), [](Step const& step) {
            bool const isFirst = !step.element->marked();
            step.element->mark(true);
            return isFirst && !step.inserted;
        });
        for (Step const& step : m_steps)
            step.element->mark(false);
        return left == m_steps.end() ? nullptr : &left->element;
    }

    /// Empties `set` for good and takes it down for who still asks what the map held.
    void clearing(Set& set)
    {
        for (E const& element : set)
            erasing(element);
        set.clear();
    }

    /// First pass of a roll back: what entered `set` leaves it, under the keys that the elements have now.
    void withdraw(Set& set) noexcept
    {
        for (Step const& step : m_steps)
            set.erase(step.element);
    }

    /// Last pass: what `set` held comes back, under the keys that the elements have again, into the room that it left;
    /// remembering ends.
    void reinstate(Set& set) noexcept
    {
        // The first step of an element tells whether it was there.
        for (Step& step : m_steps) {
            if (!step.element->marked() && !step.inserted)
                set.insert(step.element);
            step.element->mark(true);
        }
        for (Step const& step : m_steps)
            step.element->mark(false);
        unlink();
        m_steps.clear();
    }

private:
    struct Step {
        E element;
        bool inserted;
    };

    void link(Chain& chain) noexcept
    {
        m_chain = &chain;
        m_older = chain.newest;
        m_newer = nullptr;
        if (m_older)
            m_older->m_newer = this;
        chain.newest = this;
    }
    void unlink() noexcept
    {
        (m_newer ? m_newer->m_older : m_chain->newest) = m_older;
        if (m_older)
            m_older->m_newer = m_newer;
        m_chain = nullptr;
        m_older = m_newer = nullptr;
    }

    std::list<Step> m_steps;
    Set const* m_set = nullptr;
    std::size_t m_size = 0;
    Chain* m_chain = nullptr;   // null: not remembering
    MapMemory* m_older = nullptr;
    MapMemory* m_newer = nullptr;
};

}   // namespace tarn::zero::detail

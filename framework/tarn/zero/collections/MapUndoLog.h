#pragma once

#include <algorithm>
#include <cstddef>
#include <list>
#include <set>
#include <utility>
#include <vector>

namespace tarn::zero::detail {

/// Undo log of a keyed map: its insertions and erasures since a transaction level first touched it. Recording an entry
/// takes constant time, so n insertions cost n entries and not n copies; undoing is linear in the entries. All logs of
/// one map that are still needed, by open savepoints or kept reports, form a list; only the newest records.
///
/// The links are two pointers and not a `boost::intrusive::list`: that header would add 6,000 lines, a tenth, to every
/// header of an element class.
template <class E, class Set>
class MapUndoLog {
public:
    /// The newest log of a map's list.
    struct Chain {
        MapUndoLog* newest = nullptr;
    };

    MapUndoLog() = default;
    MapUndoLog(MapUndoLog const&) = delete;
    MapUndoLog& operator=(MapUndoLog const&) = delete;
    ~MapUndoLog() { discard(); }

    /// Starts a log of `set` in its present state.
    void begin(Chain& chain, Set const& set)
    {
        discard();
        m_steps.clear();
        m_set = &set;
        m_size = set.size();
        link(chain);
    }

    std::size_t size() const noexcept { return m_size; }

    /// Records an insertion that is about to be made.
    void recordInsertion(E const& element) { m_steps.push_back({element, true}); }
    void recordErasure(E const& element) { m_steps.push_back({element, false}); }

    /// Moves the log into that of the outer level, which starts here unless it `has` one.
    void mergeInto(MapUndoLog& outer, bool has) noexcept
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
        discard();
    }

    /// Ends the log; an older log of the same map takes over its entries.
    void discard() noexcept
    {
        if (!m_chain)
            return;
        if (m_older)
            m_older->m_steps.splice(m_older->m_steps.end(), m_steps);
        unlink();
        m_steps.clear();
    }

    /// The old elements: those that were erased since, in order of their first entry, then the others in key order.
    std::vector<E> elements() const
    {
        std::vector<E> list;
        std::set<void const*> recorded;
        for (MapUndoLog const* log = this; log; log = log->m_newer)
            for (Step const& step : log->m_steps)
                if (recorded.insert(step.element.get()).second && !step.inserted)   // the first entry decides
                    list.push_back(step.element);
        for (E const& element : *m_set)
            if (recorded.count(element.get()) == 0)
                list.push_back(element);
        return list;
    }

    /// The old element of a map that held one, if it was erased since; else null. Does not allocate.
    E const* onlyErased() const noexcept
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

    /// Clears `set`, logging every element as erased so that a kept report can still list the old contents.
    void clear(Set& set)
    {
        for (E const& element : set)
            recordErasure(element);
        set.clear();
    }

    /// Rollback, first pass: erases inserted elements, under their present keys.
    void undoInsertions(Set& set) noexcept
    {
        for (Step const& step : m_steps)
            set.erase(step.element);
    }

    /// Rollback, last pass: re-inserts erased elements, under their restored keys, into the capacity that they left;
    /// ends the log.
    void undoErasures(Set& set) noexcept
    {
        // The first entry of an element says whether it was in the map.
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
    Chain* m_chain = nullptr;   // null: no log
    MapUndoLog* m_older = nullptr;
    MapUndoLog* m_newer = nullptr;
};

}   // namespace tarn::zero::detail

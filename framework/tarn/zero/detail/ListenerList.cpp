#include "tarn/zero/detail/ListenerList.h"

#include <algorithm>
#include <utility>

namespace tarn::zero::detail {

bool ListenerList::contains(Listener const* listener) const noexcept
{
    return m_holders && std::any_of(m_holders->begin(), m_holders->end(),
                                    [&](auto const& holder) { return holder->listener() == listener; });
}

void ListenerList::add(std::shared_ptr<ListenerHolderBase> holder)
{
    auto changed = std::make_shared<Holders>();
    changed->reserve(m_holders ? m_holders->size() + 1 : 1);
    if (m_holders)
        for (auto const& present : *m_holders)
            if (present->listener())   // one whose removal found no memory
                changed->push_back(present);
    changed->push_back(std::move(holder));
    m_holders = std::move(changed);
}

void ListenerList::remove(Listener const* listener) noexcept
{
    if (!m_holders)
        return;
    auto const found = std::find_if(m_holders->begin(), m_holders->end(),
                                    [&](auto const& holder) { return holder->listener() == listener; });
    if (found == m_holders->end())
        return;
    std::shared_ptr<ListenerHolderBase> const holder = *found;
    try {
        auto changed = std::make_shared<Holders>(*m_holders);
        changed->erase(changed->begin() + (found - m_holders->begin()));
        m_holders = std::move(changed);
    } catch (...) {
        // Without memory for a new list the invalidated holder stays in it, to be skipped.
    }
    holder->invalidate();
}

void ListenerList::clear() noexcept
{
    if (Snapshot const holders = std::exchange(m_holders, nullptr))
        for (auto const& holder : *holders)
            holder->invalidate();
}

}   // namespace tarn::zero::detail

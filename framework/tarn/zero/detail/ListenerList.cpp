#include "tarn/zero/detail/ListenerList.h"

namespace tarn::zero::detail {

bool ListenerList::isConcerned(ModelElement::Impl const& element, std::uint64_t changed) const noexcept
{
    for (std::size_t at = 0; at != m_present.size(); ++at) {
        Listener const* const listener = m_present[at].listener();
        if (listener && listener->concerns(element, changed))
            return true;
    }
    return false;
}

void ListenerList::add(std::shared_ptr<ListenerHolderBase> holder)
{
    auto changed = std::make_unique<Holders>();
    changed->list.reserve(m_present.size() + 1);
    if (m_present.m_holders)
        for (auto const& present : m_present.m_holders->list)
            if (present->listener())   // skips those whose removal ran out of memory
                changed->list.push_back(present);
    changed->list.push_back(std::move(holder));
    m_present = Snapshot{std::move(changed)};
}

void ListenerList::remove(Listener const* listener) noexcept
{
    std::size_t const at = find(listener);
    if (at == m_present.size())
        return;
    auto const& list = m_present.m_holders->list;
    std::shared_ptr<ListenerHolderBase> const holder = list[at];
    try {
        auto changed = std::make_unique<Holders>();
        changed->list.reserve(list.size() - 1);
        for (auto const& present : list)
            if (present != holder)
                changed->list.push_back(present);
        m_present = Snapshot{std::move(changed)};
    } catch (...) {
        // Out of memory for a new list: the invalidated holder stays in it and is skipped.
    }
    holder->invalidate();
}

void ListenerList::clear() noexcept
{
    Snapshot const last = std::exchange(m_present, Snapshot{});
    for (std::size_t at = 0; at != last.size(); ++at)
        last[at].invalidate();
}

std::size_t ListenerList::find(Listener const* listener) const noexcept
{
    std::size_t at = 0;
    while (at != m_present.size() && m_present[at].listener() != listener)
        ++at;
    return at;
}

}   // namespace tarn::zero::detail

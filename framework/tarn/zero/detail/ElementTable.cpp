#include "tarn/zero/detail/ElementTable.h"

#include <utility>
#include <vector>

namespace tarn::zero::detail {

namespace {

/// Dead elements and placeholders give way to who really has their UUID.
bool isTaken(ModelElement::Impl const& holder) noexcept
{
    return holder.isAlive() && !holder.isProxy();
}

}   // namespace

ElementTable::~ElementTable()
{
    clear();
}

ModelElement::Impl* ElementTable::find(boost::uuids::uuid const& uuid) const noexcept
{
    auto const found = m_index.find(uuid);
    return found != m_index.end() && isTaken(*found->second) ? found->second : nullptr;
}

ModelElement::Impl* ElementTable::insert(Impl& element)
{
    Impl* displaced = nullptr;
    auto const [entry, isNew] = m_index.try_emplace(element.identifier(), &element);
    if (!isNew && isTaken(*entry->second)) {
        m_unindexed.insert(&element);
    } else {
        if (!isNew) {
            m_unindexed.insert(entry->second);
            displaced = std::exchange(entry->second, &element);
            displaced->m_indexed = false;
        }
        element.m_indexed = true;
    }
    element.addRef();
    return displaced;
}

void ElementTable::remove(Impl& element, Impl* displaced) noexcept
{
    if (displaced) {
        m_index.find(element.identifier())->second = displaced;
        displaced->m_indexed = true;
        m_unindexed.erase(displaced);
        element.removeRef();
    } else {
        erase(element);
    }
}

void ElementTable::erase(Impl& element) noexcept
{
    if (element.m_indexed)
        m_index.erase(element.identifier());
    else
        m_unindexed.erase(&element);
    element.removeRef();
}

void ElementTable::clear() noexcept
{
    auto const index = std::exchange(m_index, {});
    auto const unindexed = std::exchange(m_unindexed, {});
    for (auto const& entry : index)
        entry.second->removeRef();
    for (Impl* const element : unindexed)
        element->removeRef();
}

}   // namespace tarn::zero::detail

#include "tarn/zero/detail/ElementTable.h"

#include "tarn/zero/services/Hashers.h"

#include <utility>

namespace tarn::zero::detail {

namespace {

/// False if the holder of a UUID is dead or a proxy and so gives up its slot.
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
    std::uint32_t const position = positionOf(uuid);
    return position != Index::NOWHERE && isTaken(*m_indexed[position]) ? m_indexed[position] : nullptr;
}

ModelElement::Impl* ElementTable::insert(Impl& element)
{
    Impl* displaced = nullptr;
    std::uint32_t const position = positionOf(element.identifier());
    if (position == Index::NOWHERE) {
        m_index.reserve(m_indexed.size() + 1);
        if (m_indexed.size() == m_indexed.capacity())
            m_indexed.reserve(m_indexed.size() + m_indexed.size() / 4 + 16);
        m_indexed.push_back(&element);
        m_index.insert(hashOf(element.identifier()), static_cast<std::uint32_t>(m_indexed.size() - 1));
        element.m_indexed = true;
    } else if (isTaken(*m_indexed[position])) {
        m_unindexed.insert(&element);
    } else {
        m_unindexed.insert(m_indexed[position]);
        displaced = std::exchange(m_indexed[position], &element);
        displaced->m_indexed = false;
        element.m_indexed = true;
    }
    element.addRef();
    return displaced;
}

void ElementTable::insertSilently(Impl& element)
{
    m_unindexed.insert(&element);
    element.addRef();
}

ModelElement::Impl* ElementTable::announce(Impl& element)
{
    Impl* const displaced = insert(element);
    if (element.m_indexed)
        m_unindexed.erase(&element);
    element.removeRef();   // of the silent insertion
    return displaced;
}

void ElementTable::remove(Impl& element, Impl* displaced) noexcept
{
    if (displaced) {
        m_indexed[positionOf(element.identifier())] = displaced;
        displaced->m_indexed = true;
        m_unindexed.erase(displaced);
        element.removeRef();
    } else {
        erase(element);
    }
}

void ElementTable::erase(Impl& element) noexcept
{
    if (element.m_indexed) {
        std::uint32_t const position = positionOf(element.identifier());
        auto const last = static_cast<std::uint32_t>(m_indexed.size() - 1);
        m_index.erase(hashOf(element.identifier()), position);
        if (position != last) {
            m_index.move(hashOf(m_indexed[last]->identifier()), last, position);
            m_indexed[position] = m_indexed[last];
        }
        m_indexed.pop_back();
    } else {
        m_unindexed.erase(&element);
    }
    element.removeRef();
}

void ElementTable::clear() noexcept
{
    auto const indexed = std::exchange(m_indexed, {});
    auto const unindexed = std::exchange(m_unindexed, {});
    m_index.clear();
    for (Impl* const element : indexed)
        element->removeRef();
    for (Impl* const element : unindexed)
        element->removeRef();
}

ElementTable::Index::Hash ElementTable::hashOf(boost::uuids::uuid const& uuid) noexcept
{
    return Index::fold(services::hashers::TARN0Hasher<boost::uuids::uuid>{}(uuid));
}

std::uint32_t ElementTable::positionOf(boost::uuids::uuid const& uuid) const noexcept
{
    return m_index.find(hashOf(uuid),
                        [&](std::uint32_t position) { return m_indexed[position]->identifier() == uuid; });
}

}   // namespace tarn::zero::detail

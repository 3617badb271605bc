#include "tarn/zero/detail/Journal.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tarn::zero::detail {

namespace {

/// Room for `count` more, growing geometrically.
template <class T>
void makeRoom(std::vector<T>& list, std::size_t count)
{
    if (list.capacity() - list.size() < count)
        list.reserve(std::max(list.size() + count, list.capacity() * 2));
}

}   // namespace

Journal::~Journal()
{
    for (Pool const& pool : m_pools)
        for (Storage* const storage : pool.free)
            delete storage;
}

bool Journal::isOpen(std::uint64_t serial) const noexcept
{
    return std::any_of(m_levels.begin(), m_levels.end(), [&](Level const& level) { return level.serial == serial; });
}

bool Journal::isInnermost(std::uint64_t serial) const noexcept
{
    return isOpen() && m_levels.back().serial == serial;
}

std::uint64_t Journal::begin()
{
    m_levels.push_back({m_lastSerial + 1, m_touched.size()});
    return ++m_lastSerial;
}

void Journal::touch(Impl& element, unsigned long index)
{
    if (!isOpen())
        throw std::logic_error{"a change needs an open transaction: " + element.describe()};
    Storage& storage = enter(element);
    if (!storage.m_created && !storage.isChanged(index))
        element.copyValue(&storage, index);
}

void Journal::created(Impl& element)
{
    if (!isOpen())
        throw std::logic_error{"a creation needs an open transaction: " + element.describe()};
    Storage& storage = enter(element);
    storage.m_displaced = m_table.insert(element);   // if it throws, an empty storage stays: nothing changed
    storage.m_created = true;
}

void Journal::destroyed(Impl& element)
{
    if (!isOpen())
        throw std::logic_error{"a destruction needs an open transaction: " + element.describe()};
    enter(element).m_destroyed = true;
}

void Journal::becomingProxy(Impl& element)
{
    if (!isOpen())
        throw std::logic_error{"a change needs an open transaction: " + element.describe()};
    enter(element).m_madeProxy = true;
}

void Journal::mergeIntoOuter() noexcept
{
    auto const level = static_cast<std::uint32_t>(m_levels.size());
    auto const outerOf = [&](Storage const& storage) -> Storage* {
        Storage* const previous = storage.m_previous;
        return previous && previous->m_level + 1 == level ? previous : nullptr;
    };
    std::size_t const first = m_levels.back().first;
    std::size_t kept = first;
    for (std::size_t i = first; i != m_touched.size(); ++i) {
        Storage& storage = *m_touched[i];
        Storage* const outer = outerOf(storage);
        if (!outer) {
            storage.m_level = level - 1;
            m_touched[kept++] = &storage;
            continue;
        }
        if (!outer->m_created)
            storage.mergeInto(*outer);
        outer->m_destroyed |= storage.m_destroyed;
        outer->m_madeProxy |= storage.m_madeProxy;
        storage.m_element->m_storage = outer;
        give(&storage);
    }
    m_touched.resize(kept);
    m_levels.pop_back();
}

void Journal::revertUnchanged()
{
    for (Storage* const storage : m_touched)
        if (storage->changedBits() != 0 && !storage->m_created && !storage->m_destroyed)
            storage->revertUnchanged(storage->m_element);
}

void Journal::seal(Storages& changes) noexcept
{
    for (Storage* const storage : m_touched) {
        Impl& element = *storage->m_element.get();
        element.m_storage = nullptr;
        if (storage->m_destroyed)
            finishDeath(element);
        if (storage->m_created ? !storage->m_destroyed : storage->m_destroyed || storage->changedBits() != 0)
            changes.push_back(storage);
        else
            give(storage);
    }
    m_touched.clear();
    m_levels.pop_back();
}

void Journal::rollBack() noexcept
{
    std::size_t const first = m_levels.back().first;
    auto const eachBackwards = [&](auto const& visit) {
        for (std::size_t i = m_touched.size(); i != first; --i)
            visit(*m_touched[i - 1], *m_touched[i - 1]->m_element.get());
    };
    eachBackwards([](Storage& storage, Impl& element) { storage.withdraw(element); });
    eachBackwards([](Storage& storage, Impl& element) {
        if (storage.m_created)
            return;
        if (storage.m_destroyed)
            element.revive();
        if (storage.m_madeProxy)
            element.m_proxy = false;
        element.copyStateFromStorage(&storage);
        if (storage.isChanged(Storage::OFFSET_CONTAINMENT))
            element.basicSetContainer(storage.oldContainer().get(), storage.oldContainerFeature());
    });
    eachBackwards([](Storage& storage, Impl& element) { storage.reinstate(element); });
    eachBackwards([&](Storage& storage, Impl& element) {
        element.m_storage = storage.m_previous;
        if (!storage.m_created)
            return;
        if (element.m_alive)
            element.invalidate();
        element.m_model = nullptr;
        m_table.remove(element, storage.m_displaced);
    });
    // Created elements may hold each other: only now can they let go.
    eachBackwards([&](Storage& storage, Impl& element) {
        if (storage.m_created)
            element.dropReferences();
    });
    for (std::size_t i = first; i != m_touched.size(); ++i)
        give(m_touched[i]);
    m_touched.resize(first);
    m_levels.pop_back();
}

void Journal::rollBackTo(std::uint64_t serial) noexcept
{
    while (isOpen(serial))
        rollBack();
}

void Journal::recycle(Storages& storages) noexcept
{
    for (Storage* const storage : storages)
        give(storage);
    storages.clear();
}

void Journal::lose(Storages const& storages) noexcept
{
    for (Storage const* const storage : storages)
        if (Pool* const pool = poolOf(*storage->element().get()))
            --pool->made;
}

ModelElement::Impl::Storage& Journal::enter(Impl& element)
{
    auto const level = static_cast<std::uint32_t>(m_levels.size());
    if (Storage* const present = element.m_storage; present && present->m_level == level)
        return *present;
    makeRoom(m_touched, 1);
    Storage* const storage = take(element);
    storage->m_uuid = element.m_uuid;
    storage->m_element = ModelElement{&element};
    storage->m_previous = element.m_storage;
    storage->m_level = level;
    element.m_storage = storage;
    m_touched.push_back(storage);
    return *storage;
}

Journal::Storage* Journal::take(Impl& element)
{
    Pool* pool = poolOf(element);
    if (!pool)
        pool = &m_pools.emplace_back(Pool{&typeid(element), {}, 0});
    if (pool->free.empty()) {
        std::unique_ptr<Storage> storage = element.createStorage();
        makeRoom(pool->free, pool->made + 1);   // giving it back must not need memory
        ++pool->made;
        return storage.release();
    }
    Storage* const storage = pool->free.back();
    pool->free.pop_back();
    return storage;
}

void Journal::give(Storage* storage) noexcept
{
    Pool* const pool = poolOf(*storage->m_element.get());
    storage->recycle();
    if (pool && pool->free.size() < pool->free.capacity())
        pool->free.push_back(storage);
    else
        delete storage;
}

Journal::Pool* Journal::poolOf(Impl const& element) noexcept
{
    std::type_info const* const type = &typeid(element);
    for (Pool& pool : m_pools)
        if (pool.type == type)
            return &pool;
    return nullptr;
}

void Journal::finishDeath(Impl& element) noexcept
{
    element.m_model = nullptr;
    element.dropReferences();
    m_table.erase(element);
}

}   // namespace tarn::zero::detail

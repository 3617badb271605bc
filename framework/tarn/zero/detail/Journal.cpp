#include "tarn/zero/detail/Journal.h"

#include "foundation/SameType.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tarn::zero::detail {

namespace {

/// Reserves capacity for `count` more, growing geometrically.
template <class T>
void grow(std::vector<T>& list, std::size_t count)
{
    if (list.capacity() - list.size() < count)
        list.reserve(std::max(list.size() + count, list.capacity() * 2));
}

/// The bits set by touching property `index`: the container has its own bit and that of the property that names it.
std::uint64_t bitsOf(ModelElement::Impl const& element, unsigned long index) noexcept
{
    std::uint64_t const bit = index < 64 ? std::uint64_t{1} << index : 0;
    unsigned long const owner = element.containerIndex();
    if (index != ModelElement::Impl::Changes::OFFSET_CONTAINMENT && index != owner)
        return bit;
    return bit | 1u | (owner == ModelElement::Impl::NO_INDEX ? 0 : std::uint64_t{1} << owner);
}

}   // namespace

Journal::~Journal()
{
    for (auto const& pool : m_pools)
        for (Storage* const storage : pool->free)
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
    Storage& storage = storageFor(element);
    if (!storage.m_created && !storage.isChanged(index))
        element.copyValue(&storage, index);
    if (storage.m_silentBits != 0)
        storage.m_silentBits &= ~bitsOf(element, index);
}

void Journal::touchSilently(Impl& element, unsigned long index)
{
    if (!isOpen())
        throw std::logic_error{"a change needs an open transaction: " + element.describe()};
    Storage& storage = storageFor(element);
    if (storage.m_created || storage.isChanged(index))
        return;
    std::uint64_t const before = storage.changedBits();
    element.copyValue(&storage, index);
    storage.m_silentBits |= storage.changedBits() & ~before;
}

void Journal::created(Impl& element, bool announced)
{
    if (!isOpen())
        throw std::logic_error{"a creation needs an open transaction: " + element.describe()};
    if (element.m_announced || (element.m_entered && !announced) ||
        (element.m_storage && element.m_storage->m_level != m_levels.size()))
        throw std::logic_error{"an element is created once, on one level: " + element.describe()};
    Storage& storage = storageFor(element);
    // If this throws, an empty storage remains: no change recorded.
    if (!announced)
        m_table.insertSilently(element);
    else if (element.m_entered)
        storage.m_displaced = m_table.announce(element);
    else
        storage.m_displaced = m_table.insert(element);
    element.m_entered = true;
    element.m_announced = announced;
    storage.m_created = true;
    bumpStructureVersion();
}

void Journal::destroyed(Impl& element)
{
    if (!isOpen())
        throw std::logic_error{"a destruction needs an open transaction: " + element.describe()};
    storageFor(element).m_destroyed = true;
    bumpStructureVersion();
}

void Journal::becomingProxy(Impl& element)
{
    if (!isOpen())
        throw std::logic_error{"a change needs an open transaction: " + element.describe()};
    storageFor(element).m_madeProxy = true;
    bumpStructureVersionNow();
}

void Journal::undoCreation(Impl& element) noexcept
{
    Storage* const storage = element.m_storage;
    if (!storage || !storage->m_created || storage->m_level != m_levels.size())
        return;
    element.m_storage = nullptr;
    m_touched.erase(std::find(m_touched.begin(), m_touched.end(), storage));
    undoCreation(*storage, element);
    element.dropReferences();
    release(storage);
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
        if (!outer->m_created) {
            std::uint64_t const told = outer->reportedBits() | storage.reportedBits();
            storage.mergeInto(*outer);
            outer->m_silentBits = outer->changedBits() & ~told;
        }
        outer->m_destroyed |= storage.m_destroyed;
        outer->m_madeProxy |= storage.m_madeProxy;
        storage.m_element->m_storage = outer;
        release(&storage);
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

ModelElement::Impl::Storage const* Journal::onlyChange() const noexcept
{
    if (m_touched.size() != 1 || m_pendingStructureChanges != 0)
        return nullptr;
    Storage const* const only = m_touched.front();
    return only->m_created || only->m_destroyed || only->m_madeProxy ? nullptr : only;
}

void Journal::makeRoom(Storages& changes, std::vector<Impl const*>& classes) const
{
    if (changes.capacity() < m_touched.size())
        changes.reserve(m_touched.size());
    if (classes.capacity() < m_pools.size())
        classes.reserve(m_pools.size());
}

/// Ends the outermost level; `keep` returns true if it takes over a storage to report.
template <class Keep>
void Journal::sealEach(Keep const& keep) noexcept
{
    for (Storage* const storage : m_touched) {
        Impl& element = *storage->m_element.get();
        element.m_storage = nullptr;
        if (storage->m_destroyed)
            finishDeath(element);
        storage->m_bits = storage->reportedBits();
        bool const counts =
            storage->m_created ? !storage->m_destroyed : storage->m_destroyed || storage->changedBits() != 0;
        if (!counts || !element.m_announced || !keep(*storage))
            release(storage);
    }
    m_touched.clear();
    m_levels.pop_back();
    m_structureVersion += std::exchange(m_pendingStructureChanges, 0);
}

void Journal::seal(Storages& changes, std::vector<Impl const*>& classes) noexcept
{
    std::uint64_t const report = m_levels.back().serial;
    sealEach([&](Storage& storage) {
        changes.push_back(&storage);
        if (std::exchange(storage.m_pool->lastReport, report) != report)
            classes.push_back(storage.m_element->classPointer());
        return true;
    });
}

void Journal::seal() noexcept
{
    sealEach([](Storage&) { return false; });
}

void Journal::rollBack() noexcept
{
    std::size_t const first = m_levels.back().first;
    auto const eachBackwards = [&](auto const& visit) {
        for (std::size_t i = m_touched.size(); i != first; --i)
            visit(*m_touched[i - 1], *m_touched[i - 1]->m_element.get());
    };
    eachBackwards([](Storage& storage, Impl& element) { storage.undoInsertions(element); });
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
    eachBackwards([](Storage& storage, Impl& element) { storage.undoErasures(element); });
    eachBackwards([&](Storage& storage, Impl& element) {
        element.m_storage = storage.m_previous;
        if (storage.m_created)
            undoCreation(storage, element);
    });
    // Created elements may reference each other: release the references only now.
    eachBackwards([&](Storage& storage, Impl& element) {
        if (storage.m_created)
            element.dropReferences();
    });
    for (std::size_t i = first; i != m_touched.size(); ++i)
        release(m_touched[i]);
    m_touched.resize(first);
    m_levels.pop_back();
    if (!isOpen())
        m_structureVersion += std::exchange(m_pendingStructureChanges, 0);
}

void Journal::rollBackTo(std::uint64_t serial) noexcept
{
    while (isOpen(serial))
        rollBack();
}

void Journal::recycle(Storages& storages) noexcept
{
    for (Storage* const storage : storages)
        release(storage);
    storages.clear();
}

void Journal::abandon(Storages const& storages) noexcept
{
    for (Storage const* const storage : storages)
        --storage->m_pool->made;
}

ModelElement::Impl::Storage& Journal::storageFor(Impl& element)
{
    auto const level = static_cast<std::uint32_t>(m_levels.size());
    if (Storage* const present = element.m_storage; present && present->m_level == level)
        return *present;
    grow(m_touched, 1);
    Storage* const storage = acquire(element);
    storage->m_uuid = element.m_uuid;
    ModelElement{&element}.swap(storage->m_element);
    storage->m_previous = element.m_storage;
    storage->m_level = level;
    element.m_storage = storage;
    m_touched.push_back(storage);
    return *storage;
}

Journal::Storage* Journal::acquire(Impl& element)
{
    StoragePool& pool = poolOf(element);
    if (pool.free.empty()) {
        std::unique_ptr<Storage> storage = element.createStorage();
        storage->m_pool = &pool;
        grow(pool.free, pool.made + 1);   // so that returning it never allocates
        ++pool.made;
        return storage.release();
    }
    Storage* const storage = pool.free.back();
    pool.free.pop_back();
    return storage;
}

void Journal::release(Storage* storage) noexcept
{
    StoragePool& pool = *storage->m_pool;
    storage->recycle();
    if (pool.free.size() < pool.free.capacity())
        pool.free.push_back(storage);
    else
        delete storage;
}

StoragePool& Journal::poolOf(Impl const& element)
{
    std::type_info const& type = typeid(element);
    for (auto const& pool : m_pools)
        if (&pool->type == &type)
            return *pool;
    for (auto const& pool : m_pools)
        if (foundation::isSameType(pool->type, type))   // same class, type_info of another shared library
            return *pool;
    m_pools.push_back(std::unique_ptr<StoragePool>{new StoragePool{type, {}}});   // owned before the vector grows
    return *m_pools.back();
}

void Journal::undoCreation(Storage& storage, Impl& element) noexcept
{
    if (element.m_alive)
        element.invalidate();
    element.m_model = nullptr;
    m_table.remove(element, storage.m_displaced);
}

void Journal::finishDeath(Impl& element) noexcept
{
    element.m_model = nullptr;
    element.dropReferences();
    if (element.m_entered)
        m_table.erase(element);
}

}   // namespace tarn::zero::detail

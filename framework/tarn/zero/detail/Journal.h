#pragma once

#include "tarn/zero/ElementStorage.h"
#include "tarn/zero/detail/ElementTable.h"
#include "tarn/zero/detail/StoragePool.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace tarn::zero::detail {

/// Undo log of one model's open transaction: a storage for each element and level that touched it, in order of first
/// touch. Levels are savepoints. Kept between transactions, with its storages in free lists, so that a steady stream of
/// writes allocates nothing.
class Journal {
public:
    using Impl = ModelElement::Impl;
    using Storage = ModelElement::Impl::Storage;
    using Storages = std::vector<Storage*>;

    explicit Journal(ElementTable& table) : m_table{table} {}
    Journal(Journal const&) = delete;
    Journal& operator=(Journal const&) = delete;
    ~Journal();

    bool isOpen() const noexcept { return !m_levels.empty(); }
    bool isNested() const noexcept { return m_levels.size() > 1; }
    /// True if level `serial` is open; `isInnermost`: and is the innermost one.
    bool isOpen(std::uint64_t serial) const noexcept;
    bool isInnermost(std::uint64_t serial) const noexcept;
    /// Opens a level and returns its number.
    std::uint64_t begin();

    /// Saves property `index` of an element before its first change. If it throws, nothing is recorded.
    void touch(Impl& element, unsigned long index);
    /// Saves property `index` for rollback only: the change is not reported.
    void touchSilently(Impl& element, unsigned long index);
    /// Records that an element was created, announced or silently.
    void created(Impl& element, bool announced);
    void destroyed(Impl& element);
    void becomingProxy(Impl& element);

    /// Marks the structure as changed: at once if no transaction is open, else when the outermost one ends.
    void bumpStructureVersion() noexcept { ++(isOpen() ? m_pendingStructureChanges : m_structureVersion); }
    /// Advances the structure version at once, also inside a transaction, for a change that no report mentions.
    void bumpStructureVersionNow() noexcept
    {
        bumpStructureVersion();
        ++m_structureVersion;   // at once, so that the next report's `structureVersionBefore` shows the gap
    }
    std::uint64_t structureVersion() const noexcept { return m_structureVersion; }
    /// The number of the level opened last.
    std::uint64_t lastSerial() const noexcept { return m_lastSerial; }

    /// Allocates the element's storage now, so that `destroyed` cannot throw.
    void reserveFor(Impl& element) { storageFor(element); }
    /// Undoes a creation on the innermost level. *Requires* that nothing refers to the element.
    void undoCreation(Impl& element) noexcept;

    /// Commits the innermost level into the one around it.
    void mergeIntoOuter() noexcept;
    /// Clears the changed bits of values that equal their old ones. For the outermost level; may throw.
    void revertUnchanged();
    /// The one storage of the outermost level, if it modified exactly one element and no structure; else null.
    Storage const* onlyChange() const noexcept;
    /// Reserves capacity for all that `seal` may move.
    void makeRoom(Storages& changes, std::vector<Impl const*>& classes) const;
    /// Makes the outermost level final. Moves the storages to report into `changes` and the class of each, once, into
    /// `classes`; both are empty and have capacity.
    void seal(Storages& changes, std::vector<Impl const*>& classes) noexcept;
    /// Makes the outermost level final without a report.
    void seal() noexcept;
    /// Restores the state at the beginning of the innermost level and ends that level.
    void rollBack() noexcept;
    /// Rolls back all levels from the innermost one to `serial`, inclusive.
    void rollBackTo(std::uint64_t serial) noexcept;

    /// Returns used storages to their free lists.
    void recycle(Storages& storages) noexcept;
    /// Drops storages that a kept report still owns from the pool's count; they are not recycled.
    void abandon(Storages const& storages) noexcept;

private:
    friend class tarn::zero::Invariants;

    struct Level {
        std::uint64_t serial;
        std::size_t first;   // index of its first storage
    };
    Storage& storageFor(Impl& element);
    Storage* acquire(Impl& element);
    void release(Storage* storage) noexcept;
    StoragePool& poolOf(Impl const& element);
    void undoCreation(Storage& storage, Impl& element) noexcept;
    void finishDeath(Impl& element) noexcept;
    template <class Keep>
    void sealEach(Keep const& keep) noexcept;

    ElementTable& m_table;
    Storages m_touched;
    std::vector<Level> m_levels;
    std::vector<std::unique_ptr<StoragePool>> m_pools;
    std::uint64_t m_lastSerial = 0;
    std::uint64_t m_structureVersion = 1;
    std::uint64_t m_pendingStructureChanges = 0;   // in the open transaction
};

}   // namespace tarn::zero::detail

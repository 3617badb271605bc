#pragma once

#include "tarn/zero/ElementStorage.h"
#include "tarn/zero/detail/ElementTable.h"
#include "tarn/zero/detail/StoragePool.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace tarn::zero::detail {

/// All that the open transaction of one model remembers: a storage for each element and level that touched it, in order
/// of first touch. Kept between transactions, with its storages, so that a steady stream of writes allocates nothing.
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
    /// True if the level named `serial` is open (and the innermost one).
    bool isOpen(std::uint64_t serial) const noexcept;
    bool isInnermost(std::uint64_t serial) const noexcept;
    /// Opens a level and answers the number that names it.
    std::uint64_t begin();

    /// An element is about to change, is being destroyed, is about to become a placeholder. Whatever throws, nothing is
    /// recorded.
    void touch(Impl& element, unsigned long index);
    /// As `touch`, for a change that a roll back undoes and no report tells.
    void touchUntold(Impl& element, unsigned long index);
    /// An element was created, `announced` or silently.
    void created(Impl& element, bool announced);
    void destroyed(Impl& element);
    void becomingProxy(Impl& element);

    /// What paths through the model lead to may differ from now on, or once the open transaction ends.
    void noteRestructuring() noexcept { ++(isOpen() ? m_restructurings : m_structure); }
    /// The same of what a roll back does not undo, and no report tells.
    void noteUntoldRestructuring() noexcept
    {
        noteRestructuring();
        ++m_structure;   // at once: the next report does not follow the one before
    }
    std::uint64_t structure() const noexcept { return m_structure; }
    /// The number of the level that was opened last.
    std::uint64_t lastSerial() const noexcept { return m_lastSerial; }

    /// Has what it takes to destroy an element, so that `destroyed` does not throw.
    void prepare(Impl& element) { enter(element); }
    /// Takes back a creation on the innermost level: of an element that nothing refers to.
    void uncreate(Impl& element) noexcept;

    /// Ends the innermost level into the one around it.
    void mergeIntoOuter() noexcept;
    /// Clears what ended up as it was. For the outermost level; may throw.
    void revertUnchanged();
    /// What the outermost level did, if that was no more than to modify one element, and not what leads where; else
    /// null.
    Storage const* onlyChange() const noexcept;
    /// Room for all that `seal` may move.
    void makeRoom(Storages& changes, std::vector<Impl const*>& classes) const;
    /// Makes the outermost level's changes final and moves the storages that still count into `changes`, which is empty
    /// like `classes` and has room; the latter gets the class of each of them, once.
    void seal(Storages& changes, std::vector<Impl const*>& classes) noexcept;
    /// The same when there is nobody to tell.
    void seal() noexcept;
    /// Restores the state at the beginning of the innermost level, and ends it.
    void rollBack() noexcept;
    /// Rolls back from the innermost level to the one named `serial`, that one included.
    void rollBackTo(std::uint64_t serial) noexcept;

    /// Takes used storages back for the next transactions.
    void recycle(Storages& storages) noexcept;
    /// Those will not come back.
    void lose(Storages const& storages) noexcept;

private:
    friend class tarn::zero::Invariants;

    struct Level {
        std::uint64_t serial;
        std::size_t first;   // where its storages begin
    };
    Storage& enter(Impl& element);
    Storage* take(Impl& element);
    void give(Storage* storage) noexcept;
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
    std::uint64_t m_structure = 1;
    std::uint64_t m_restructurings = 0;   // by the open transaction
};

}   // namespace tarn::zero::detail

#pragma once

#include "tarn/zero/ElementStorage.h"
#include "tarn/zero/detail/ElementTable.h"

#include <cstdint>
#include <memory>
#include <typeinfo>
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

    /// An element is about to change, was created, is being destroyed, is about to become a placeholder. Whatever
    /// throws, nothing is recorded.
    void touch(Impl& element, unsigned long index);
    void created(Impl& element);
    void destroyed(Impl& element);
    void becomingProxy(Impl& element);

    /// Ends the innermost level into the one around it.
    void mergeIntoOuter() noexcept;
    /// Clears what ended up as it was. For the outermost level; may throw.
    void revertUnchanged();
    /// Makes the outermost level's changes final and moves the storages that still count into `changes`, which is empty
    /// and has the room that `touchedCount` tells.
    void seal(Storages& changes) noexcept;
    std::size_t touchedCount() const noexcept { return m_touched.size(); }
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
    struct Pool {
        std::type_info const* type;   // of the elements; the storages of one class fit each other
        std::vector<Storage*> free;
        std::size_t made = 0;   // and not lost: `free` has room for them
    };

    Storage& enter(Impl& element);
    Storage* take(Impl& element);
    void give(Storage* storage) noexcept;
    Pool* poolOf(Impl const& element) noexcept;
    void finishDeath(Impl& element) noexcept;

    ElementTable& m_table;
    Storages m_touched;
    std::vector<Level> m_levels;
    std::vector<Pool> m_pools;
    std::uint64_t m_lastSerial = 0;
};

}   // namespace tarn::zero::detail

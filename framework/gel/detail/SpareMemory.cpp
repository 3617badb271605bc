#include "gel/detail/SpareMemory.h"

#include "gel/detail/OfThread.h"

#include <algorithm>
#include <new>
#include <utility>

namespace gel::detail {

namespace {

constexpr std::size_t MOST_BYTES = 262'144;   // larger blocks, and those beyond the limit, are not kept
constexpr std::size_t MOST_SPARES = 4;

}   // namespace

/// Header of a block.
struct alignas(std::max_align_t) SpareMemory::Block {
    std::size_t size;
    Block* next;   // in the free list
};

/// The free list of a thread.
struct SpareMemory::Spares {
    /// Trivially destructible, hence readable at the end of the thread.
    struct Slot {
        Spares* spares = nullptr;
        bool hadSpares = false;
    };

    Spares() noexcept { slot() = {this, true}; }
    ~Spares()
    {
        slot() = {nullptr, true};
        while (first)
            ::operator delete(std::exchange(first, first->next));
    }

    static Slot& slot() noexcept
    {
        thread_local constinit Slot s_slot;
        return s_slot;
    }

    Block* first = nullptr;
    std::size_t count = 0;
};

SpareMemory::SpareMemory(std::size_t size)
{
    Spares::Slot& slot = Spares::slot();
    if (!slot.spares && !slot.hadSpares)
        makeForThread<Spares>();
    Spares* const spares = slot.spares;
    if (Block* const spare = spares ? spares->first : nullptr) {
        spares->first = spare->next;
        --spares->count;
        if (spare->size >= size) {
            m_block = spare;
            return;
        }
        ::operator delete(spare);   // its replacement is larger
    }
    m_block = ::new (::operator new(sizeof(Block) + size)) Block{size, nullptr};
}

SpareMemory::~SpareMemory()
{
    Spares* const spares = Spares::slot().spares;
    if (!spares || spares->count == MOST_SPARES || m_block->size > MOST_BYTES) {
        ::operator delete(m_block);
        return;
    }
    m_block->next = std::exchange(spares->first, m_block);
    ++spares->count;
}

void* SpareMemory::data() const noexcept
{
    return m_block + 1;
}

}   // namespace gel::detail

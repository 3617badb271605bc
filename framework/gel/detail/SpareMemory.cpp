#include "gel/detail/SpareMemory.h"

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

/// Trivially destructible, hence readable at the end of the thread.
struct SpareMemory::Spares {
    Block* first = nullptr;
    std::size_t count = 0;
    bool areKept = false;   // while their owner lives

    static Spares& ofThread() noexcept
    {
        thread_local constinit Spares s_spares;
        return s_spares;
    }
};

/// Frees the spares when the thread ends.
struct SpareMemory::Owner {
    Owner() { Spares::ofThread().areKept = true; }
    ~Owner()
    {
        Spares& spares = Spares::ofThread();
        spares.areKept = false;
        while (spares.first)
            ::operator delete(std::exchange(spares.first, spares.first->next));
    }
};

SpareMemory::SpareMemory(std::size_t size)
{
    thread_local Owner s_owner;
    static_cast<void>(s_owner);
    Spares& spares = Spares::ofThread();
    if (Block* const spare = spares.first) {
        spares.first = spare->next;
        --spares.count;
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
    Spares& spares = Spares::ofThread();
    if (!spares.areKept || spares.count == MOST_SPARES || m_block->size > MOST_BYTES) {
        ::operator delete(m_block);
        return;
    }
    m_block->next = std::exchange(spares.first, m_block);
    ++spares.count;
}

void* SpareMemory::data() const noexcept
{
    return m_block + 1;
}

}   // namespace gel::detail

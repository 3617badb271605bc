#pragma once

#include <cstddef>

namespace gel::detail {

/// Memory for one evaluation that exceeds the stack. The thread keeps it in a free list, so that evaluating large
/// programs repeatedly allocates nothing; each nested evaluation has its own block.
/// After the end of the thread's free list, in the destructors of static objects, it is allocated and freed each time.
class SpareMemory {
public:
    /// A block of at least `size` bytes, aligned for any type. *Throws* `std::bad_alloc`.
    explicit SpareMemory(std::size_t size);
    ~SpareMemory();
    SpareMemory(SpareMemory const&) = delete;
    SpareMemory& operator=(SpareMemory const&) = delete;

    void* data() const noexcept;

private:
    struct Block;
    struct Spares;

    Block* m_block;
};

}   // namespace gel::detail

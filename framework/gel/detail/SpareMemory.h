#pragma once

#include <cstddef>

namespace gel::detail {

/// Memory for the time of one evaluation that the stack has no room for. The thread keeps it for the next one, so that
/// evaluating large programs again and again allocates nothing; nested evaluations have one each.
/// After the end of the thread's spares, in the destructors of static objects, it is allocated and freed each time.
class SpareMemory {
public:
    /// At least `size` bytes, aligned for any type. Throws `std::bad_alloc`.
    explicit SpareMemory(std::size_t size);
    ~SpareMemory();
    SpareMemory(SpareMemory const&) = delete;
    SpareMemory& operator=(SpareMemory const&) = delete;

    void* data() const noexcept;

private:
    struct Block;
    struct Spares;
    struct Owner;

    Block* m_block;
};

}   // namespace gel::detail

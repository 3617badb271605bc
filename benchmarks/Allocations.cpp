#include "benchmarks/Allocations.h"

#include <malloc.h>

#include <cstddef>
#include <limits>

namespace {

std::uint64_t s_count = 0;

}   // namespace

// The GNU C library's functions, under the names that remain when malloc is replaced.
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

void* malloc(std::size_t size)
{
    ++s_count;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    ++s_count;
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size)
{
    ++s_count;
    return __libc_realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    ++s_count;
    return __libc_memalign(alignment, size);
}

}   // extern "C"

namespace benchmarks {

std::uint64_t allocationCount() noexcept
{
    return s_count;
}

std::uint64_t heapBytes() noexcept
{
    struct mallinfo2 const info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void keepMemory() noexcept
{
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
}

}   // namespace benchmarks

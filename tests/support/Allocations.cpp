#include "support/Allocations.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t NEVER = std::numeric_limits<std::size_t>::max();

thread_local std::size_t s_count = 0;
thread_local std::size_t s_bytes = 0;
thread_local std::size_t s_freed = 0;
thread_local std::size_t s_failingOne = NEVER;

}   // namespace

void* operator new(std::size_t size)
{
    if (s_count++ == s_failingOne)
        throw std::bad_alloc{};
    s_bytes += size;
    if (void* const memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc{};
}

void operator delete(void* memory) noexcept
{
    s_freed += memory ? 1 : 0;
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

namespace support {

std::size_t allocationCount() noexcept
{
    return s_count;
}

std::size_t allocatedBytes() noexcept
{
    return s_bytes;
}

std::size_t liveAllocations() noexcept
{
    return s_count - s_freed;
}

FailingAllocation::FailingAllocation(std::size_t skipped) noexcept
{
    s_failingOne = s_count + skipped;
}

FailingAllocation::~FailingAllocation()
{
    s_failingOne = NEVER;
}

bool FailingAllocation::happened() const noexcept
{
    return s_count > s_failingOne;
}

}   // namespace support

#include "support/Allocations.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t NEVER = std::numeric_limits<std::size_t>::max();

thread_local std::size_t s_count = 0;
thread_local std::size_t s_failingOne = NEVER;

}   // namespace

void* operator new(std::size_t size)
{
    if (s_count++ == s_failingOne)
        throw std::bad_alloc{};
    if (void* const memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc{};
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace support {

std::size_t allocationCount() noexcept
{
    return s_count;
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

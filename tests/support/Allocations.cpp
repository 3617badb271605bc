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
thread_local bool s_isSticky = false;
thread_local std::size_t s_happened = 0;
thread_local bool s_exempt = false;

}   // namespace

void* operator new(std::size_t size)
{
    if (!s_exempt) {
        std::size_t const number = s_count++;
        if (number == s_failingOne || (s_isSticky && number > s_failingOne)) {
            ++s_happened;
            throw std::bad_alloc{};
        }
        s_bytes += size;
    }
    if (void* const memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc{};
}

void* operator new(std::size_t size, std::nothrow_t const&) noexcept
{
    try {
        return operator new(size);
    } catch (std::bad_alloc const&) {
        return nullptr;
    }
}

void operator delete(void* memory) noexcept
{
    s_freed += memory && !s_exempt ? 1 : 0;
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

FailingAllocation::FailingAllocation(std::size_t skipped, Sticky sticky) noexcept
{
    s_failingOne = s_count + skipped;
    s_isSticky = sticky == Sticky::Yes;
    s_happened = 0;
}

FailingAllocation::~FailingAllocation()
{
    s_failingOne = NEVER;
    s_isSticky = false;
}

bool FailingAllocation::happened() const noexcept
{
    return s_happened != 0;
}

Exempt::Exempt(bool exempt) noexcept : m_before{s_exempt}
{
    s_exempt = exempt;
}

Exempt::~Exempt()
{
    s_exempt = m_before;
}

bool Exempt::isOn() noexcept
{
    return s_exempt;
}

}   // namespace support

#pragma once

#include <cstdint>

namespace benchmarks {

// The program replaces malloc with one that counts.

/// Returns the number of allocations so far, including the library's.
std::uint64_t allocationCount() noexcept;
/// Returns the bytes allocated now, including the allocator's header of each block.
std::uint64_t heapBytes() noexcept;
/// Makes large blocks come from the heap as well, permanently, so that allocating and freeing them costs no system
/// call.
void keepMemory() noexcept;

}   // namespace benchmarks

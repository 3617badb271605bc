#pragma once

#include <cstdint>

namespace benchmarks {

// The program's own malloc counts.

/// How many allocations there have been, in the library too.
std::uint64_t allocationCount() noexcept;
/// The bytes that are allocated now, with what the allocator puts in front of each piece.
std::uint64_t heapBytes() noexcept;
/// Has large pieces come from the heap as well, for good, so that getting and giving them back costs no system call.
void keepMemory() noexcept;

}   // namespace benchmarks

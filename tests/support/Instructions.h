#pragma once

#include <cstddef>
#include <functional>

// Only where it is defined are instructions counted: elsewhere they are others, or no trap counts them.
#if defined(__x86_64__) && defined(__linux__)
#define STUDIO_DATA_COUNTS_INSTRUCTIONS
#endif

namespace support {

/// Returns the number of instructions that `work` executes: a cost that is the same on every machine and at every load.
/// The processor traps after each one, so measure little: a million may take half a minute.
std::size_t instructionsOf(std::function<void()> const& work);

}   // namespace support

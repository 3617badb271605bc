#pragma once

#include <cstddef>
#include <functional>

namespace support {

/// Returns the number of instructions that `work` executes: a cost that is the same on every machine and at every load.
/// The processor traps after each one, so measure little: a million may take half a minute.
std::size_t instructionsOf(std::function<void()> const& work);

}   // namespace support

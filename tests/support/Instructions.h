#pragma once

#include <cstddef>
#include <functional>

namespace support {

/// How many instructions `work` executes: a cost that is the same on every machine and at every load. The processor
/// traps after each, so count little: a million may take half a minute.
std::size_t instructionsOf(std::function<void()> const& work);

}   // namespace support

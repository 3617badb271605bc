#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

namespace support {

/// Returns true if an emulator runs this program, which then cannot start itself, or only slowly.
inline bool isEmulated()
{
    return std::getenv("STUDIO_DATA_EMULATED") != nullptr;
}

/// Lets each death test of the calling test begin in a process in which nothing has been used. Under an emulator of
/// another processor that is so only if the program runs no other test.
inline void useFreshProcesses()
{
    GTEST_FLAG_SET(death_test_style, isEmulated() ? "fast" : "threadsafe");
}

}   // namespace support

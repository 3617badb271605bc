#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

/// Ends the process if a promise is broken.
inline void require(bool holds, char const* what)
{
    if (!holds) {
        std::fprintf(stderr, "broken promise: %s\n", what);
        std::abort();
    }
}

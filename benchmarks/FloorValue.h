#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

namespace benchmarks::floor {

/// What names a context: 128 bits.
struct Identity {
    std::uint64_t high = 0;
    std::uint64_t low = 0;

    friend bool operator==(Identity const&, Identity const&) = default;
};

struct IdentityHash {
    std::size_t operator()(Identity const& identity) const noexcept
    {
        return (identity.high + identity.low * 0xD6E8FEB86659FD93U) * 0xA0761D6478BD642FU >> 8U;
    }
};

/// The kinds of the library's own values, in the same order.
using Value = std::variant<std::monostate, Identity, double, bool, std::string>;

}   // namespace benchmarks::floor

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

namespace benchmarks::baseline {

/// The 128-bit identity of a context.
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

/// A value of the same kinds as the library's, in the same order.
using Value = std::variant<std::monostate, Identity, double, bool, std::string>;

}   // namespace benchmarks::baseline

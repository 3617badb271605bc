#pragma once

#include "foundation/Hash.h"
#include "foundation/UuidLayout.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string_view>

namespace tarn::zero::services::hashers {

/// Hash of the framework's own tables; `std::hash` unless specialised.
template <class Key>
struct TARN0Hasher {
    /// The hash of `key`.
    std::size_t operator()(Key const& key) const noexcept { return std::hash<Key>{}(key); }
};

/// Mixes all 16 bytes, so that consecutive UUIDs spread as well as random ones.
template <>
struct TARN0Hasher<boost::uuids::uuid> {
    std::size_t operator()(boost::uuids::uuid const& key) const noexcept
    {
        std::uint64_t low;
        std::uint64_t high;
        std::memcpy(&low, key.begin(), sizeof low);
        std::memcpy(&high, key.begin() + sizeof low, sizeof high);
        std::uint64_t mixed = low * 0x9e3779b97f4a7c15u ^ (high + 0x7f4a7c159e3779b9u) * 0xd6e8feb86659fd93u;
        mixed ^= mixed >> 32;
        mixed *= 0xd6e8feb86659fd93u;
        return static_cast<std::size_t>(mixed ^ (mixed >> 29));
    }
};

/// `foundation::hashOf` of the text.
template <>
struct TARN0Hasher<std::string_view> {
    std::size_t operator()(std::string_view key) const noexcept
    {
        return static_cast<std::size_t>(foundation::hashOf(key));
    }
};

}   // namespace tarn::zero::services::hashers

#pragma once

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

/// Reads eight bytes per step; a few nanoseconds for a name.
template <>
struct TARN0Hasher<std::string_view> {
    std::size_t operator()(std::string_view key) const noexcept
    {
        char const* const bytes = key.data();
        std::size_t const size = key.size();
        std::uint64_t hash = 0x9e3779b97f4a7c15u ^ size;
        if (size >= 8) {
            for (std::size_t at = 0; at + 8 < size; at += 8)
                hash = mix(hash, word<std::uint64_t>(bytes + at));
            hash = mix(hash, word<std::uint64_t>(bytes + size - 8));   // may overlap the previous word
        } else if (size >= 4) {
            hash = mix(hash, std::uint64_t{word<std::uint32_t>(bytes)} << 32 | word<std::uint32_t>(bytes + size - 4));
        } else if (size != 0) {
            hash = mix(hash, std::uint64_t{word<std::uint8_t>(bytes)} << 16 |
                                 std::uint64_t{word<std::uint8_t>(bytes + size / 2)} << 8 |
                                 word<std::uint8_t>(bytes + size - 1));
        }
        return static_cast<std::size_t>(hash);
    }

private:
    template <class Word>
    static Word word(char const* bytes) noexcept
    {
        Word read;
        std::memcpy(&read, bytes, sizeof read);
        return read;
    }
    /// Folds both halves of the product: each input bit affects each bit of the result.
    static std::uint64_t mix(std::uint64_t hash, std::uint64_t read) noexcept
    {
        __extension__ using Product = unsigned __int128;
        Product const product = static_cast<Product>(hash ^ read) * 0xd6e8feb86659fd93u;
        return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
    }
};

}   // namespace tarn::zero::services::hashers

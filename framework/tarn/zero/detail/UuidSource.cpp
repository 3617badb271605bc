#include "tarn/zero/detail/UuidSource.h"

#include <array>
#include <cstring>
#include <random>

namespace tarn::zero::detail {

namespace {

std::mt19937_64& generator()
{
    thread_local std::mt19937_64 engine = [] {
        std::random_device system;
        std::seed_seq seed{system(), system(), system(), system(), system(), system(), system(), system()};
        return std::mt19937_64{seed};
    }();
    return engine;
}

}   // namespace

boost::uuids::uuid freshUuid()
{
    std::mt19937_64& engine = generator();
    std::array<std::uint64_t, 2> const words{engine(), engine()};
    boost::uuids::uuid uuid;
    std::memcpy(uuid.begin(), words.data(), sizeof words);
    std::uint8_t* const bytes = uuid.begin();
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0f) | 0x40);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3f) | 0x80);
    return uuid;
}

void seedUuids(std::uint64_t seed)
{
    generator().seed(seed);
}

}   // namespace tarn::zero::detail

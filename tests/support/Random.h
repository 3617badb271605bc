#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

namespace support {

/// Pseudo-random numbers, the same for a seed on every platform.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_engine{seed} {}

    /// Returns one of 0 ... `count` - 1.
    std::size_t below(std::size_t count) { return static_cast<std::size_t>(m_engine() % count); }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <class List>
    auto const& pick(List const& list)
    {
        return list[below(list.size())];
    }

private:
    std::mt19937_64 m_engine;
};

/// Returns the seeds of a generated test: 1 ... `fixed` and a random one. If STUDIO_DATA_SEED is in the environment,
/// only that one, to repeat a failure.
inline std::vector<std::uint64_t> seeds(std::uint64_t fixed)
{
    if (char const* const wanted = std::getenv("STUDIO_DATA_SEED"))
        return {std::strtoull(wanted, nullptr, 10)};
    std::vector<std::uint64_t> list;
    for (std::uint64_t seed = 1; seed <= fixed; ++seed)
        list.push_back(seed);
    list.push_back(std::random_device{}());
    return list;
}

}   // namespace support

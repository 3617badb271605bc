#pragma once

#include "benchmarks/BaselinePeer.h"
#include "benchmarks/LibraryPeer.h"
#include "benchmarks/Workload.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace benchmarks {

/// Makes a workload written once, as `make(peer)`, for both peers.
template <class Make>
Workload both(std::string id, Workload::Kind kind, double units, Make const& make)
{
    return {std::move(id), kind, units, [=] { return make(std::make_shared<BaselinePeer>()); },
            [=] { return make(std::make_shared<LibraryPeer>()); }};
}

/// The context type of a peer, given the shared pointer that holds it.
template <class Peer>
using ContextOf = typename Peer::element_type::Context;

/// Returns the name of a property: "property07".
inline std::string propertyName(int number)
{
    char text[24];
    std::snprintf(text, sizeof text, "property%02d", number);
    return text;
}

inline std::vector<std::string> propertyNames(int count)
{
    std::vector<std::string> names;
    for (int number = 0; number < count; ++number)
        names.push_back(propertyName(number));
    return names;
}

/// Returns distinct expressions over a thousand properties: "property07 + 1007".
std::vector<std::string> manyExpressions(int count);

/// Makes a context with that many properties, all 0.
template <class Peer>
ContextOf<Peer> makeContext(Peer const& peer, int properties)
{
    ContextOf<Peer> context = peer->makeContext();
    for (int number = 0; number < properties; ++number)
        peer->add(context, propertyName(number), 0.0);
    return context;
}

/// Visits the numbers below `count`, each once before the first repeats, far from the one before.
class FarJumps {
public:
    explicit FarJumps(std::size_t count) : count{count}, step{count * 618 / 1000}
    {
        while (std::gcd(step, count) != 1)
            ++step;
    }

    std::size_t last() const noexcept { return place; }
    std::size_t next() noexcept
    {
        place += step;
        if (place >= count)
            place -= count;
        return place;
    }

private:
    std::size_t count;
    std::size_t step;
    std::size_t place = 0;
};

}   // namespace benchmarks

#include "benchmarks/Peers.h"

namespace benchmarks {

namespace {

constexpr int PROPERTIES = 20;
constexpr int SUMMANDS = 1'000;
std::string const s_name = propertyName(7);

/// Writes one property that no expression reads.
template <class Peer>
Task writeOne(Peer const& peer)
{
    auto const context = makeContext(peer, PROPERTIES);
    return {[=](std::uint64_t times) {
                for (; times != 0; --times)
                    peer->set(context, s_name, peer->written += 1);
            },
            [=] { return peer->value(context, s_name) == peer->written; }};
}

/// Writes one property that no expression reads, while many expressions read properties of another context.
template <class Peer>
Task writeOneOfMany(Peer const& peer, int expressions)
{
    auto const other = makeContext(peer, expressions);
    peer->listen(other);
    for (std::string const& name : propertyNames(expressions))
        peer->subscribe(name + " + 1");
    return writeOne(peer);
}

/// Writes many properties in one transaction; one expression per thousand sums them up.
template <class Peer>
Task writeAll(Peer const& peer, int properties)
{
    auto const context = makeContext(peer, properties);
    std::vector<std::string> const names = propertyNames(properties);
    peer->listen(context);
    for (std::size_t first = 0; first < names.size(); first += SUMMANDS) {
        std::string sum = names[first];
        for (std::size_t i = first + 1; i < first + SUMMANDS; ++i)
            sum += " + " + names[i];
        peer->subscribe(sum);
    }
    return {[=](std::uint64_t times) {
                for (; times != 0; --times) {
                    peer->written += 1;
                    peer->inTransaction([&] {
                        for (std::string const& name : names)
                            peer->set(context, name, peer->written);
                    });
                }
            },
            [=] { return peer->received == SUMMANDS * peer->written; }};
}

}   // namespace

void addWrites(std::vector<Workload>& list, Sizes const& sizes)
{
    using enum Workload::Kind;
    list.push_back(both("W1", steady, 1, [](auto const& peer) { return writeOne(peer); }));
    list.push_back(
        both("W1-elsewhere", steady, 1, [=](auto const& peer) { return writeOneOfMany(peer, sizes.expressions); }));
    list.push_back(both("W5", steady, 1'000, [](auto const& peer) { return writeAll(peer, 1'000); }));
    list.push_back(both("W5-10000", steady, 10'000, [](auto const& peer) { return writeAll(peer, 10'000); }));
}

}   // namespace benchmarks

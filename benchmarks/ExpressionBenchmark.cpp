#include "benchmarks/Peers.h"

#include <cstddef>

namespace benchmarks {

namespace {

constexpr int PROPERTIES = 20;
std::string const s_name = propertyName(7);

/// Writes a property that the given number of expressions read.
template <class Peer>
Task writeHeard(Peer const& peer, int expressions)
{
    auto const context = makeContext(peer, PROPERTIES);
    peer->listen(context);
    for (int i = 1; i <= expressions; ++i)
        peer->subscribe(s_name + " + " + std::to_string(i));
    return {[=](std::uint64_t times) {
                for (; times != 0; --times)
                    peer->set(context, s_name, peer->written += 1);
            },
            [=] { return peer->received == peer->written + expressions; }};
}

/// Writes properties that are read by one expression each, in the order that `places` gives.
template <class Peer, class Places>
Task writeSpread(Peer const& peer, int properties, Places const& places)
{
    auto const context = makeContext(peer, properties);
    std::vector<std::string> const names = propertyNames(properties);
    peer->listen(context);
    for (std::string const& name : names)
        peer->subscribe(name + " + 1");
    auto const place = std::make_shared<Places>(places);
    return {[=](std::uint64_t times) {
                for (; times != 0; --times)
                    peer->set(context, names[place->next()], peer->written += 1);
            },
            [=] { return peer->received == peer->written + 1; }};
}

/// 64 places, spread evenly, in turn.
class FewPlaces {
public:
    explicit FewPlaces(int count) : distance{static_cast<std::size_t>(count) / FEW} {}
    std::size_t next() noexcept { return (number++ % FEW) * distance; }

private:
    static constexpr std::size_t FEW = 64;
    std::size_t distance;
    std::size_t number = 0;
};

/// Makes five contexts, each the child of the one before: `a.b.c.d.e` leads from the first to a number of the last.
template <class Peer>
std::vector<ContextOf<Peer>> makeChain(Peer const& peer, double leaf)
{
    std::vector<ContextOf<Peer>> chain;
    for (int i = 0; i < 5; ++i)
        chain.push_back(makeContext(peer, PROPERTIES));
    for (std::size_t i = 0; i < 4; ++i) {
        std::string const name(1, static_cast<char>('a' + i));
        peer->add(chain[i], name);
        peer->refer(chain[i], name, chain[i + 1]);
    }
    peer->add(chain[4], "e", leaf);
    return chain;
}

template <class Peer>
Task writeLeaf(Peer const& peer)
{
    auto const chain = makeChain(peer, 0.0);
    peer->listen(chain[0]);
    peer->subscribe("a.b.c.d.e + 1");
    std::string const name = "e";
    return {[=](std::uint64_t times) {
                for (; times != 0; --times)
                    peer->set(chain[4], name, peer->written += 1);
            },
            [=] { return peer->received == peer->written + 1; }};
}

/// Switches the path through one half of another chain and back. `crowd` other symbols have leaves in each of the two
/// contexts that `b` refers to, along other paths.
template <class Peer>
Task repoint(Peer const& peer, int crowd)
{
    auto const chain = makeChain(peer, 1.0);
    auto const other = makeChain(peer, 2.0);
    peer->listen(chain[0]);
    for (auto const& [name, third] : {std::pair{"near", chain[2]}, std::pair{"far", other[2]}}) {
        peer->add(chain[0], name);
        peer->refer(chain[0], name, third);
        for (int i = PROPERTIES; i < PROPERTIES + crowd; ++i) {
            peer->add(third, propertyName(i), 0.0);
            peer->subscribe(name + ("." + propertyName(i)) + " + 1");
        }
    }
    peer->subscribe("a.b.c.d.e + 1");
    auto const isOther = std::make_shared<bool>(false);
    std::string const name = "b";
    return {[=](std::uint64_t times) {
                for (; times != 0; --times)
                    peer->refer(chain[1], name, (*isOther = !*isOther) ? other[2] : chain[2]);
            },
            [=] { return peer->received == (*isOther ? 3.0 : 2.0); }};
}

/// Acquires all texts over a thousand properties, or releases them.
template <class Peer>
Task acquire(Peer const& peer, std::vector<std::string> const& texts, bool isReleased)
{
    auto const context = makeContext(peer, 1'000);
    auto const prepare = [=] {
        peer->handles.clear();
        peer->handles.reserve(texts.size());
        peer->listen(context);
    };
    auto const acquireAll = [=] {
        for (std::string const& text : texts)
            peer->subscribe(text);
    };
    if (!isReleased)
        return {[=](std::uint64_t) { acquireAll(); },
                [=] { return texts.back() == propertyName(999) + " + " + std::to_string(std::size_t(peer->received)); },
                prepare};
    return {[=](std::uint64_t) {
                for (auto& handle : peer->handles)
                    handle.reset();
            },
            [=] {
                peer->received = 0;
                peer->set(context, propertyName(999), peer->written += 1);
                return peer->received == 0;
            },
            [=] {
                prepare();
                acquireAll();
            }};
}

}   // namespace

std::vector<std::string> manyExpressions(int count)
{
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i)
        texts.push_back(propertyName(i % 1'000) + " + " + std::to_string(i));
    return texts;
}

void addExpressions(std::vector<Workload>& list, Sizes const& sizes)
{
    using enum Workload::Kind;
    list.push_back(both("W2", steady, 1, [](auto const& peer) { return writeHeard(peer, 1); }));
    list.push_back(both("W3", steady, 1'000, [](auto const& peer) { return writeHeard(peer, 1'000); }));
    for (int const count : sizes.spread) {
        list.push_back(both("W4-hot-" + std::to_string(count), steady, 1,
                            [=](auto const& peer) { return writeSpread(peer, count, FewPlaces(count)); }));
        list.push_back(both("W4-cold-" + std::to_string(count), steady, 1, [=](auto const& peer) {
            return writeSpread(peer, count, FarJumps(static_cast<std::size_t>(count)));
        }));
    }
    list.push_back(both("W6-leaf", steady, 1, [](auto const& peer) { return writeLeaf(peer); }));
    list.push_back(both("W6-repoint", steady, 1, [](auto const& peer) { return repoint(peer, 0); }));
    list.push_back(both("W6-repoint-crowded", steady, 1, [](auto const& peer) { return repoint(peer, 1'000); }));

    std::vector<std::string> const distinct = manyExpressions(sizes.expressions);
    std::vector<std::string> const same(distinct.size(), distinct[999]);
    auto const addBoth = [&](std::string const& id, std::vector<std::string> const& texts) {
        for (bool const isReleased : {false, true})
            list.push_back(both(id + (isReleased ? "release" : "acquire"), once, sizes.expressions,
                                [=](auto const& peer) { return acquire(peer, texts, isReleased); }));
    };
    addBoth("W7-", distinct);
    addBoth("W7-handle-", same);
}

}   // namespace benchmarks

#include "benchmarks/Peers.h"

namespace benchmarks {

namespace {

std::string const s_name = propertyName(7);

/// Makes a mirrored root with a property for each of the others, to refer to it.
template <class Peer>
struct Crowd {
    Crowd(Peer const& madeBy, int count) : peer{madeBy}, root{peer->makeContext()}
    {
        for (int i = 0; i < count; ++i) {
            contexts.push_back(makeContext(peer, 10));
            names.push_back("ref" + std::to_string(i));
            peer->add(root, names.back());
        }
        peer->mirror(root);
    }

    void addAll()
    {
        for (std::size_t i = 0; i < contexts.size(); ++i)
            peer->refer(root, names[i], contexts[i]);
    }
    void removeAll()
    {
        for (std::string const& name : names)
            peer->clear(root, name);
    }
    bool isMirrored(std::size_t context) const { return peer->mirrored(contexts[context], s_name).has_value(); }

    Peer peer;
    ContextOf<Peer> root;
    std::vector<ContextOf<Peer>> contexts;
    std::vector<std::string> names;
};

template <class Peer>
Task change(Peer const& peer, int count)
{
    auto const crowd = std::make_shared<Crowd<Peer>>(peer, count);
    crowd->addAll();
    auto const place = std::make_shared<FarJumps>(crowd->contexts.size());
    return {[=](std::uint64_t times) {
                for (; times != 0; --times)
                    peer->set(crowd->contexts[place->next()], s_name, peer->written += 1);
            },
            [=] { return peer->mirrored(crowd->contexts[place->last()], s_name) == peer->written; }};
}

template <class Peer>
Task add(Peer const& peer, int count)
{
    auto const crowd = std::make_shared<Crowd<Peer>>(peer, count);
    return {[=](std::uint64_t) { crowd->addAll(); },
            [=] { return crowd->isMirrored(0) && crowd->isMirrored(crowd->contexts.size() - 1); },
            [=] { crowd->removeAll(); }};
}

template <class Peer>
Task remove(Peer const& peer, int count)
{
    auto const crowd = std::make_shared<Crowd<Peer>>(peer, count);
    return {[=](std::uint64_t) { crowd->removeAll(); },
            [=] { return !crowd->isMirrored(0) && !crowd->isMirrored(crowd->contexts.size() - 1); },
            [=] { crowd->addAll(); }};
}

}   // namespace

void addViews(std::vector<Workload>& list, Sizes const& sizes)
{
    using enum Workload::Kind;
    for (int const count : sizes.mirrors) {
        std::string const size = count == sizes.mirrors.back() ? "" : "-" + std::to_string(count);
        list.push_back(both("W8-change" + size, steady, 1, [=](auto const& peer) { return change(peer, count); }));
        list.push_back(both("W8-add" + size, once, count, [=](auto const& peer) { return add(peer, count); }));
        list.push_back(both("W8-remove" + size, once, count, [=](auto const& peer) { return remove(peer, count); }));
    }
}

}   // namespace benchmarks

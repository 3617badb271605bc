#include "benchmarks/Peers.h"

#include "studio/host/Put.h"
#include "studio/host/Subscriptions.h"

namespace benchmarks {

namespace {

constexpr int PROPERTIES = 20;

/// Does what W1 does, by `put`.
Task putOne()
{
    auto const peer = std::make_shared<LibraryPeer>();
    auto const context = makeContext(peer, PROPERTIES);
    std::string const name = propertyName(7);
    return {[=](std::uint64_t times) {
                for (; times != 0; --times)
                    studio::host::put(context, name, peer->written += 1);
            },
            [=] { return peer->value(context, name) == peer->written; }};
}

/// Does what W2 does, with a subscription of the host layer.
Task writeSubscribed()
{
    struct Watching {
        explicit Watching(LibraryPeer::Context const& root) : subscriptions{root} {}
        studio::host::Subscriptions subscriptions;
        studio::host::Subscription subscription;
    };
    auto const peer = std::make_shared<LibraryPeer>();
    auto const context = makeContext(peer, PROPERTIES);
    auto const watching = std::make_shared<Watching>(context);
    std::string const name = propertyName(7);
    watching->subscription = watching->subscriptions.watch(
        name + " + 1", [peer](studio::data::PropertyValue const& value) { peer->received = value.getDouble(); });
    return {[=](std::uint64_t times) {
                for (; times != 0; --times)
                    peer->set(context, name, peer->written += 1);
            },
            [=, kept = watching] { return peer->received == peer->written + 1; }};
}

}   // namespace

void addHost(std::vector<Workload>& list)
{
    using enum Workload::Kind;
    list.push_back({"W1-put", steady, 1, {}, putOne});
    list.push_back({"W2-subscription", steady, 1, {}, writeSubscribed});
}

}   // namespace benchmarks

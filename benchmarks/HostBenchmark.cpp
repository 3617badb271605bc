#include "benchmarks/Peers.h"

#include "studio/host/Put.h"
#include "studio/host/Subscriptions.h"
#include "studio/inspect/Watcher.h"

#include <optional>

namespace benchmarks {

namespace {

constexpr int PROPERTIES = 20;
constexpr std::size_t COMMITS = 1'000;

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

/// Does what W2 does, with a subscription of the host layer; also with a watcher on its engine.
Task writeSubscribed(bool isWatched)
{
    struct Watching {
        explicit Watching(LibraryPeer::Context const& root) : subscriptions{root} {}
        studio::host::Subscriptions subscriptions;
        studio::host::Subscription subscription;
        std::optional<studio::inspect::Watcher> watcher;
    };
    auto const peer = std::make_shared<LibraryPeer>();
    auto const context = makeContext(peer, PROPERTIES);
    auto const watching = std::make_shared<Watching>(context);
    std::string const name = propertyName(7);
    watching->subscription = watching->subscriptions.watch(
        name + " + 1", [peer](studio::data::PropertyValue const& value) { peer->received = value.getDouble(); });
    return {[=](std::uint64_t times) {
                if (isWatched)   // only now: every commit of the process is reported to it, of other workloads too
                    watching->watcher.emplace(watching->subscriptions.engine());
                for (; times != 0; --times)
                    peer->set(context, name, peer->written += 1);
                watching->watcher.reset();
            },
            [=, kept = watching] { return peer->received == peer->written + 1; }};
}

/// The bytes of the commits of W2 that a watcher keeps.
Task keepCommits()
{
    struct Watching {
        explicit Watching(LibraryPeer::Context const& root) : subscriptions{root} {}
        studio::host::Subscriptions subscriptions;
        studio::host::Subscription subscription;
        studio::inspect::Watcher watcher{subscriptions.engine(), {COMMITS, std::size_t{1} << 30}};
    };
    auto const peer = std::make_shared<LibraryPeer>();
    auto const context = makeContext(peer, PROPERTIES);
    auto const watching = std::make_shared<Watching>(context);
    std::string const name = propertyName(7);
    watching->subscription = watching->subscriptions.watch(name + " + 1", [](auto&&...) {});
    return {[=](std::uint64_t) {
                for (std::size_t i = 0; i != COMMITS; ++i)
                    peer->set(context, name, peer->written += 1);
            },
            [=] { return watching->watcher.commits().size() == COMMITS; }};
}

}   // namespace

void addHost(std::vector<Workload>& list)
{
    using enum Workload::Kind;
    list.push_back({"W1-put", steady, 1, {}, putOne});
    list.push_back({"W2-subscription", steady, 1, {}, [] { return writeSubscribed(false); }});
    list.push_back({"W2-watched", steady, 1, {}, [] { return writeSubscribed(true); }});
    list.push_back({"W2-commit", memory, COMMITS, {}, keepCommits});
}

}   // namespace benchmarks

#include "benchmarks/Peers.h"

namespace benchmarks {

namespace {

/// Makes contexts with properties.
template <class Peer>
Task weighContexts(Peer const& peer, int count, int properties)
{
    auto const contexts = std::make_shared<std::vector<ContextOf<Peer>>>();
    contexts->reserve(static_cast<std::size_t>(count));
    return {[=](std::uint64_t) {
                for (int i = 0; i < count; ++i)
                    contexts->push_back(makeContext(peer, properties));
            },
            [=] { return properties == 0 || peer->value(contexts->back(), propertyName(properties - 1)) == 0.0; }};
}

/// Acquires distinct expressions over a thousand properties.
template <class Peer>
Task weighExpressions(Peer const& peer, int count)
{
    auto const context = makeContext(peer, 1'000);
    std::vector<std::string> const texts = manyExpressions(count);
    peer->handles.reserve(texts.size());
    peer->listen(context);
    return {[=](std::uint64_t) {
                for (std::string const& text : texts)
                    peer->subscribe(text);
            },
            [=] { return peer->received == count - 1; }};
}

}   // namespace

void addMemory(std::vector<Workload>& list, Sizes const& sizes)
{
    using enum Workload::Kind;
    int const contexts = sizes.contexts;
    list.push_back(
        both("W9-context", memory, contexts, [=](auto const& peer) { return weighContexts(peer, contexts, 0); }));
    list.push_back(both("W9-property", memory, contexts,
                        [=](auto const& peer) { return weighContexts(peer, contexts / 20, 20); }));
    list.push_back(both("W9-expression", memory, sizes.expressions,
                        [=](auto const& peer) { return weighExpressions(peer, sizes.expressions); }));
}

}   // namespace benchmarks

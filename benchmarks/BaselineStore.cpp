#include "benchmarks/BaselineStore.h"

namespace benchmarks::baseline {

std::uint32_t Store::addContext()
{
    auto const number = static_cast<std::uint32_t>(contexts.size());
    Identity const identity{(number + 1) * 0x9FB21C651E98DF25U, (number + 1) * 0xA0761D6478BD642FU};
    contexts.push_back({identity, {}, 0});
    byIdentity.emplace(identity, number);
    return number;
}

std::uint32_t Store::addSlot(std::uint32_t number, std::string_view name, Value value)
{
    Context& context = contexts[number];
    if (++context.used * 2 > context.entries.size()) {
        std::vector<Entry> const before = std::move(context.entries);
        context.entries.assign(before.empty() ? 4 : before.size() * 2, {});
        for (Entry const& entry : before)
            if (entry.name != 0)
                enter(context, entry);
    }
    Entry const entry{names.intern(name), static_cast<std::uint32_t>(slots.size())};
    slots.push_back({std::move(value), number, entry.name});
    enter(context, entry);
    return entry.slot;
}

void Store::enter(Context& context, Entry const& entry)
{
    std::size_t const mask = context.entries.size() - 1;
    std::size_t place = hash(entry.name) & mask;
    while (context.entries[place].name != 0)
        place = (place + 1) & mask;
    context.entries[place] = entry;
}

}   // namespace benchmarks::baseline

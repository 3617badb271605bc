#include "machine/Steps.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <numeric>
#include <utility>

namespace machine {

namespace {

constexpr std::array NAMES{"r", "s", "a", "b"};
constexpr std::array ABSENT{"c", "d"};   // named in texts, rarely created
constexpr std::array LITERAL_PATHS{"r.a", "s.r.a", "r.s", ""};
constexpr int PLAIN_VALUES = 12;
constexpr std::uint8_t SPELT_OUT = 255;   // first byte of a step whose kind, slot, other and name are given

struct Share {
    char const* name;
    unsigned outer;   // of steps
    unsigned inner;   // of callbacks and batches
};
constexpr std::array<Share, KINDS + 1> SHARES{{{"set", 60, 60},
                                               {"add", 16, 12},
                                               {"remove", 5, 6},
                                               {"batch", 14, 6},
                                               {"batch, rolled back", 5, 4},
                                               {"create", 8, 3},
                                               {"drop", 3, 4},
                                               {"activate", 3, 2},
                                               {"write held", 3, 3},
                                               {"rename", 4, 4},
                                               {"move", 3, 3},
                                               {"lift", 3, 2},
                                               {"land", 4, 2},
                                               {"bounce", 2, 1},
                                               {"begin", 3, 1},
                                               {"commit", 9, 2},
                                               {"roll back", 3, 1},
                                               {"acquire", 24, 8},
                                               {"release", 4, 5},
                                               {"release self", 0, 5},
                                               {"make engine", 6, 2},
                                               {"end engine", 1, 1},
                                               {"make view", 6, 2},
                                               {"end view", 1, 1},
                                               {"watch", 12, 3},
                                               {"unwatch", 4, 3},
                                               {"detach", 3, 3},
                                               {"bind", 5, 2},
                                               {"add listener", 3, 2},
                                               {"remove listener", 1, 2},
                                               {"throw", 0, 4},
                                               {"restore", 6, 4},
                                               {"nothing", 0, 0}}};

std::uint64_t number(std::uint8_t const* bytes)
{
    std::uint64_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

}   // namespace

std::string Op::line() const
{
    return std::string{SHARES[static_cast<std::size_t>(kind)].name} + " slot " + std::to_string(slot) + " `" + name +
           "` value " + std::to_string(value) + " or `" + newName + "` other " + std::to_string(other) + " seed " +
           std::to_string(seed % 1000);
}

Script::Script(Bytes bytes) : m_bytes{std::move(bytes)}
{
    if (m_bytes.size() < HEADER)
        return;
    // Each run omits some kinds and prefers others: few kinds in many combinations find more than all at once.
    Dice dice{number(m_bytes.data())};
    m_manyReferences = !dice.oneIn(4);
    m_salt = dice.next() % 1000;
    for (std::size_t kind = 0; kind != KINDS; ++kind) {
        static constexpr std::array FACTORS{0u, 1u, 2u, 2u, 4u, 8u};
        static constexpr std::array NEEDED{Kind::Set, Kind::Add, Kind::Create, Kind::Acquire, Kind::Commit};
        bool const isNeeded = std::find(NEEDED.begin(), NEEDED.end(), static_cast<Kind>(kind)) != NEEDED.end();
        unsigned const factor = std::max(dice.pick(FACTORS), isNeeded ? 2u : 0u);
        m_outer[kind] = SHARES[kind].outer * factor;
        m_inner[kind] = SHARES[kind].inner * factor;
    }
}

Op Script::step(std::size_t at) const
{
    std::uint8_t const* const bytes = m_bytes.data() + HEADER + at * STEP;
    Dice dice{number(bytes)};
    if (bytes[0] != SPELT_OUT)
        return fill(choose(m_outer, bytes[0] * 256u + bytes[1]), dice);
    Op op = fill(static_cast<Kind>(bytes[1] % KINDS), dice);
    op.slot = bytes[2] % SLOTS;
    op.other = bytes[3];
    op.name = NAMES[bytes[4] % NAMES.size()];
    if (bytes[4] % NAMES.size() < 2 && m_manyReferences)
        op.value %= SLOTS;
    return op;
}

Op Script::inner(Dice& dice, bool inCallback) const
{
    Kind const kind = choose(m_inner, dice.next());
    bool const onlyInCallbacks =
        kind == Kind::ReleaseSelf || kind == Kind::Throw || (kind >= Kind::Begin && kind <= Kind::RollBack);
    return fill(onlyInCallbacks && !inCallback ? Kind::Set : kind, dice);
}

std::string Script::path(Dice& dice)
{
    std::string path;
    for (int parts = dice.below(3); parts != 0; --parts)
        path += dice.oneIn(30) ? "." : dice.oneIn(2) ? "r." : "s.";
    return path + (dice.oneIn(30) ? "" : dice.oneIn(4) ? dice.pick(ABSENT) : dice.pick(NAMES));
}

Op Script::fill(Kind kind, Dice& dice) const
{
    Op op = Op::of(kind);
    op.slot = dice.below(dice.oneIn(3) ? ENGINES : SLOTS);   // prefers the roots
    op.other = dice.below(SLOTS * static_cast<int>(MOST_HANDLES));
    op.value = dice.below(SLOTS + PLAIN_VALUES);
    op.name = dice.oneIn(14) ? dice.pick(LITERAL_PATHS) : dice.pick(NAMES);
    op.newName = dice.oneIn(14) ? dice.pick(LITERAL_PATHS) : dice.pick(NAMES);
    if (kind == Kind::Set && dice.oneIn(3))
        op.name = path(dice);
    bool const isReference = !op.name.empty() && (op.name.back() == 'r' || op.name.back() == 's');
    if (isReference && m_manyReferences && !dice.oneIn(8))
        op.value %= SLOTS;
    op.seed = dice.next();
    op.text = m_salt + op.seed % 16;   // few texts, so that some are shared
    return op;
}

Kind Script::choose(Weights const& weights, std::uint64_t choice)
{
    std::uint64_t at = choice % std::accumulate(weights.begin(), weights.end(), std::uint64_t{0});
    std::size_t kind = 0;
    for (; at >= weights[kind]; ++kind)
        at -= weights[kind];
    return static_cast<Kind>(kind);
}

/// Begins with contexts full of properties, an engine on each root and a view; in half of the runs with a listener
/// before them. Any steps may follow.
Bytes Script::generate(std::uint64_t seed, std::size_t steps)
{
    Dice dice{seed};
    Bytes bytes(HEADER + steps * STEP);
    for (std::size_t at = 0; at != bytes.size(); at += 8) {
        std::uint64_t const word = dice.next();
        std::memcpy(bytes.data() + at, &word, sizeof word);
    }
    std::size_t step = 0;
    auto const spell = [&](Kind kind, int slot, int other, int name) {
        if (step == steps)
            return;
        std::uint8_t* const record = bytes.data() + HEADER + step++ * STEP;
        std::uint8_t const spelt[] = {SPELT_OUT, static_cast<std::uint8_t>(kind), static_cast<std::uint8_t>(slot),
                                      static_cast<std::uint8_t>(other), static_cast<std::uint8_t>(name)};
        std::copy(std::begin(spelt), std::end(spelt), record);
    };
    for (int slot = 0; slot != SLOTS; ++slot)
        spell(Kind::Create, slot, 0, 0);
    for (int name = 0; name != static_cast<int>(NAMES.size()); ++name)
        for (int slot = 0; slot != SLOTS; ++slot)
            if (!dice.oneIn(5))
                spell(Kind::Add, slot, 0, name);
    if (dice.oneIn(2))
        spell(Kind::AddListener, 0, 0, 0);   // is called before engines and views
    for (int engine = 0; engine != ENGINES; ++engine)
        spell(Kind::MakeEngine, 0, engine, 0);
    spell(Kind::MakeView, 0, 0, 0);
    return bytes;
}

}   // namespace machine

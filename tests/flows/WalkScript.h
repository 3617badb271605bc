#pragma once

#include "studio/data/PropertyValue.h"
#include "support/Random.h"

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

/// What a random walk does, as plain data.
namespace walk {

using support::Random;
using Value = studio::data::PropertyValue;

constexpr int SLOTS = 5;   ///< places for contexts; the first two are roots of engines and never dropped
constexpr int ENGINES = 2;

/// One step. Which of the fields count follows from the kind.
struct Op {
    enum class Kind {
        Create,
        Drop,
        Add,
        Set,
        Remove,
        Rename,
        Move,
        Activate,
        Acquire,
        Release,
        ReleaseSelf,
        NewEngine,
        Throw,
        Commit,
        RollBack
    };
    Kind kind;
    int slot = 0;
    int other = 0;      ///< another slot, an engine, a number
    int value = 0;      ///< below SLOTS a reference to that slot, then a plain value
    std::string name;   ///< of a property, a path or an expression
    std::string newName;
    std::vector<Op> inner;   ///< of a transaction

    static Op create(int slot) { return {Kind::Create, slot, 0, 0, "", "", {}}; }
    static Op add(int slot, std::string name, int value)
    {
        return {Kind::Add, slot, 0, value, std::move(name), "", {}};
    }
};

inline std::string describe(Op const& op)
{
    constexpr std::array names{"create",       "drop",       "add",      "set",     "remove",
                               "rename",       "move",       "activate", "acquire", "release",
                               "release self", "new engine", "throw",    "commit",  "roll back"};
    std::string text = names[static_cast<std::size_t>(op.kind)] + std::string{" slot "} + std::to_string(op.slot) +
                       " `" + op.name + "` value " + std::to_string(op.value) + " or `" + op.newName + "` or " +
                       std::to_string(op.other);
    for (Op const& inner : op.inner)
        text += "\n    { " + describe(inner) + " }";
    return text;
}

/// Everything that chance decides, the same for both worlds.
class Script {
public:
    explicit Script(std::uint64_t seed) : m_seed{seed}, m_symbols{"a"}
    {
        Random random{seed};
        for (int i = 0; i != 14; ++i)
            m_texts.push_back(random.oneIn(40) ? "r.a +" : random.oneIn(3) ? randomText(random, 2) : list(random));
    }

    std::uint64_t seed() const { return m_seed; }

    /// A step from outside or in a callback. Inside a transaction there are fewer transactions.
    Op randomOp(Random& random, bool inCallback, bool inTransaction = false) const
    {
        using Kind = Op::Kind;
        static constexpr std::pair<Kind, std::size_t> weights[] = {
            {Kind::Set, 120},     {Kind::Add, 24},      {Kind::Remove, 6},   {Kind::Rename, 3},      {Kind::Move, 2},
            {Kind::Drop, 4},      {Kind::Create, 8},    {Kind::Acquire, 12}, {Kind::Activate, 2},    {Kind::Commit, 24},
            {Kind::RollBack, 10}, {Kind::NewEngine, 1}, {Kind::Release, 4},  {Kind::ReleaseSelf, 6}, {Kind::Throw, 4}};
        // A release unbinds what others read too: some walks go without, out of callbacks.
        std::size_t at = random.below(inCallback ? 230 : m_seed % 3 == 0 ? 216 : 220);
        Kind kind = Kind::Set;
        for (auto const& [candidate, weight] : weights) {
            if (at < weight) {
                kind = candidate;
                break;
            }
            at -= weight;
        }
        Op op{kind, slot(random), slot(random), static_cast<int>(random.below(SLOTS + plainValues().size())), "", "",
              {}};
        if (kind == Kind::Commit || kind == Kind::RollBack) {
            if (inTransaction && random.oneIn(2))
                return {Kind::Acquire, op.slot, 0, 0, random.pick(m_texts), "", {}};
            for (std::size_t i = 1 + random.below(6); i != 0; --i)
                op.inner.push_back(randomOp(random, inCallback, true));
        } else if (kind == Kind::Acquire) {
            op.name = random.pick(m_texts);
        } else {
            op.name = randomName(random);
            // What is moved away from the middle of a path is not followed there: the rest of the path stays bound.
            if (kind == Kind::Rename || kind == Kind::Move)
                op.name = random.pick(std::array{"a", "b", "c"});
            if (kind == Kind::Set && random.oneIn(2)) {
                op.slot %= ENGINES;
                op.name = random.pick(m_symbols);
            }
            op.newName = randomName(random);
            if (!op.name.empty() && (op.name.back() == 'r' || op.name.back() == 's') && !random.oneIn(8))
                op.value %= SLOTS;   // references are what makes paths
        }
        return op;
    }

    std::string randomPath(Random& random) const
    {
        std::string path;
        for (std::size_t parts = random.below(3); parts != 0; --parts)
            path += random.oneIn(20) ? "." : random.oneIn(2) ? "r." : "s.";
        return path + (random.oneIn(20) ? "" : random.pick(NAMES));
    }

    static std::vector<Value> const& plainValues()
    {
        static std::vector<Value> const s_values{
            {}, 0, 1, 2, 3, 4, 5, 6, 7, 8, true, false, "", "x", "y", std::numeric_limits<double>::quiet_NaN()};
        return s_values;
    }

    /// Contexts that refer to each other, to begin with.
    std::vector<Op> beginning() const
    {
        Random random{m_seed};
        std::vector<Op> steps;
        for (int slot = 0; slot != SLOTS; ++slot)
            steps.push_back(Op::create(slot));
        for (int slot = 0; slot != SLOTS; ++slot)
            for (char const* const name : NAMES)
                if (!random.oneIn(5))
                    steps.push_back(Op::add(slot, name, static_cast<int>(random.below(SLOTS))));
        for (int i = 0; i != 8; ++i)
            steps.push_back({Op::Kind::Acquire, i % ENGINES, 0, 0, random.pick(m_texts), "", {}});
        return steps;
    }

private:
    static constexpr std::array NAMES{"r", "s", "a", "b", "c"};

    static int slot(Random& random) { return static_cast<int>(random.below(SLOTS)); }
    static std::string randomName(Random& random)
    {
        static constexpr std::array odd{"r.a", "s.r.a", "r.r", "s.b", ""};
        return random.oneIn(10) ? random.pick(odd) : random.pick(NAMES);
    }
    /// A text that shows every change of what it names.
    std::string list(Random& random)
    {
        std::string text = '(' + randomSymbol(random) + " ?? '-')";
        for (std::size_t more = random.below(3); more != 0; --more)
            text += " + ',' + (" + randomSymbol(random) + " ?? '-')";
        return text;
    }
    std::string randomText(Random& random, int depth)
    {
        if (depth == 0 || random.oneIn(4))
            return random.oneIn(6) ? "1" : randomSymbol(random);
        auto const part = [&] { return randomText(random, depth - 1); };
        switch (random.below(5)) {
        case 0: return '(' + part() + " ? " + part() + " : " + part() + ')';
        case 1: return "(!" + part() + ')';
        case 2: return "defined(" + part() + ')';
        default:
            return '(' + part() + random.pick(std::array{" + ", " == ", " ?? ", " && ", " || ", " * ", " < "}) +
                   part() + ')';
        }
    }
    std::string randomSymbol(Random& random)
    {
        std::string const path = randomPath(random);
        m_symbols.push_back(path.empty() ? "a" : path);
        return '`' + m_symbols.back() + '`';
    }

    std::uint64_t m_seed;
    std::vector<std::string> m_texts;
    std::vector<std::string> m_symbols;   // of the texts
};

}   // namespace walk

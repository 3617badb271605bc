#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// The steps of the model-based test, as plain data decoded from bytes alone.
namespace machine {

constexpr int SLOTS = 4;   ///< places for contexts; the first two are the engines' roots
constexpr int ENGINES = 2;
constexpr int KEEPS_SHARED = 1;   ///< the engine whose releases keep shared symbols
constexpr int VIEWS = 2;
constexpr int LISTENERS = 2;   ///< listeners besides engines and views
constexpr std::size_t MOST_LIFTED = 3;
constexpr std::size_t MOST_HANDLES = 12;
constexpr std::size_t DEEPEST = 3;   ///< transactions open at once

using Bytes = std::vector<std::uint8_t>;

/// Random choices determined by a seed, where a step has too few bytes for them.
class Dice {
public:
    explicit Dice(std::uint64_t seed) noexcept : m_state{seed} {}

    std::uint64_t next() noexcept
    {
        std::uint64_t mixed = (m_state += 0x9e3779b97f4a7c15u);
        mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebu;
        return mixed ^ (mixed >> 31);
    }
    /// Returns one of 0 ... `count` - 1.
    int below(int count) noexcept { return static_cast<int>(next() % static_cast<std::uint64_t>(count)); }
    bool oneIn(int count) noexcept { return below(count) == 0; }
    template <class List>
    auto const& pick(List const& list)
    {
        return list[static_cast<std::size_t>(below(static_cast<int>(list.size())))];
    }

private:
    std::uint64_t m_state;
};

enum class Kind : std::uint8_t {
    Set,
    Add,
    Remove,
    Batch,
    BatchBack,   ///< rolled back
    Create,
    Drop,
    Activate,
    WriteHeld,   ///< a held property, wherever it is
    Rename,
    Move,
    Lift,     ///< takes a property out of its context and holds it
    Land,     ///< puts a held property into a context
    Bounce,   ///< takes a property out of its context and back, in one transaction
    Begin,
    Commit,
    RollBack,
    Acquire,
    Release,
    ReleaseSelf,   ///< in a callback: releases the handle that is called
    MakeEngine,
    EndEngine,
    MakeView,
    EndView,
    Watch,   ///< acquires a context from a view
    Unwatch,
    Detach,   ///< detaches a context handle directly; it stays held
    Bind,     ///< acquires or releases a symbol, or its leaves from a component on, as expressions do
    AddListener,
    RemoveListener,
    Throw,
    Restore,   ///< creates the last context of a slot under the identity that it had
    Nothing    ///< never chosen at random
};
constexpr std::size_t KINDS = static_cast<std::size_t>(Kind::Nothing);

/// One public operation. The kind determines which fields are used.
struct Op {
    Kind kind;
    int slot = 0;
    int other = 0;      ///< another slot, an engine, a view, a listener, or the index of a handle
    int value = 0;      // below SLOTS: a reference to the present or last context of that slot; else a plain value
    std::string name;   ///< of a property, or a path
    std::string newName;
    std::uint64_t seed = 0;   ///< for the contents of a batch and for a callback's actions
    std::uint64_t text = 0;   ///< selects an expression

    static Op of(Kind kind) { return {kind, 0, 0, 0, {}, {}, 0, 0}; }
    std::string line() const;
};

/// Everything that the bytes of a run determine: the frequency of each kind of step, and the steps.
class Script {
public:
    static constexpr std::size_t HEADER = 8;
    static constexpr std::size_t STEP = 8;   ///< in bytes

    explicit Script(Bytes bytes);

    std::size_t size() const noexcept { return m_bytes.size() < HEADER ? 0 : (m_bytes.size() - HEADER) / STEP; }
    Op step(std::size_t number) const;
    /// Returns the operation of a callback or of a step in a batch.
    Op inner(Dice& dice, bool inCallback) const;
    /// Returns a symbol that texts use, so that writes meet expressions.
    static std::string path(Dice& dice);

    /// Returns the bytes of a generated run.
    static Bytes generate(std::uint64_t seed, std::size_t steps);

private:
    using Weights = std::array<unsigned, KINDS>;

    Op fill(Kind kind, Dice& dice) const;
    static Kind choose(Weights const& weights, std::uint64_t choice);

    Bytes m_bytes;
    Weights m_outer{};
    Weights m_inner{};
    bool m_manyReferences = true;
    std::uint64_t m_salt = 0;   // varies the texts
};

}   // namespace machine

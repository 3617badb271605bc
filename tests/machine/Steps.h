#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What the machine may do, as plain data that follows from bytes alone.
namespace machine {

constexpr int SLOTS = 4;   ///< places for contexts; the first two are roots of engines
constexpr int ENGINES = 2;
constexpr int VIEWS = 2;
constexpr int LISTENERS = 2;   ///< foreign ones
constexpr std::size_t MOST_LIFTED = 3;
constexpr std::size_t MOST_HANDLES = 12;
constexpr std::size_t DEEPEST = 3;   ///< transactions open at once

using Bytes = std::vector<std::uint8_t>;

/// Choices that follow from a number, for whatever needs more of them than a step has bytes.
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
    /// One of 0 ... `count` - 1.
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
    WriteHeld,   ///< a property that is held, wherever it is
    Rename,
    Move,
    Lift,     ///< a property out of its context, to be held
    Land,     ///< a property that is held, into a context
    Bounce,   ///< a property out of its context and back, in one transaction
    Begin,
    Commit,
    RollBack,
    Acquire,
    Release,
    ReleaseSelf,   ///< in a callback, the handle that is called
    MakeEngine,
    EndEngine,
    MakeView,
    EndView,
    Watch,   ///< a context, through a view
    Unwatch,
    Detach,   ///< the handle of a context, by hand; it stays held
    Bind,     ///< a symbol by hand, as expressions do it: acquires or releases it, or its leaves from a component on
    AddListener,
    RemoveListener,
    Throw,
    Nothing   ///< is never drawn
};
constexpr std::size_t KINDS = static_cast<std::size_t>(Kind::Nothing);

/// One public operation. Which of the fields count follows from the kind.
struct Op {
    Kind kind;
    int slot = 0;
    int other = 0;      ///< another slot, an engine, a view, a listener, the how-manieth handle
    int value = 0;      ///< below SLOTS a reference to what is or was in that slot, then a plain value
    std::string name;   ///< of a property, or a path
    std::string newName;
    std::uint64_t seed = 0;   ///< of what is inside a batch, and of what a callback does
    std::uint64_t text = 0;   ///< of an expression

    static Op of(Kind kind) { return {kind, 0, 0, 0, {}, {}, 0, 0}; }
    std::string line() const;
};

/// Everything that the bytes of a run decide: how often each kind of step comes, and the steps.
class Script {
public:
    static constexpr std::size_t HEADER = 8;
    static constexpr std::size_t STEP = 8;   ///< bytes

    explicit Script(Bytes bytes);

    std::size_t size() const noexcept { return m_bytes.size() < HEADER ? 0 : (m_bytes.size() - HEADER) / STEP; }
    Op step(std::size_t number) const;
    /// What a callback does, or one of the steps of a batch.
    Op inner(Dice& dice, bool inCallback) const;
    /// The symbols that texts name, so that writes meet them.
    static std::string path(Dice& dice);

    /// The bytes of a generated run.
    static Bytes generate(std::uint64_t seed, std::size_t steps);

private:
    using Weights = std::array<unsigned, KINDS>;

    Op fill(Kind kind, Dice& dice) const;
    static Kind choose(Weights const& weights, std::uint64_t choice);

    Bytes m_bytes;
    Weights m_outer{};
    Weights m_inner{};
    bool m_manyReferences = true;
    std::uint64_t m_salt = 0;   // of the texts
};

}   // namespace machine

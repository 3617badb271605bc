#pragma once

#include "gel/Program.h"
#include "gel/detail/Operand.h"
#include "gel/detail/Pattern.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace gel::detail {

/// What one instruction does to the stack of operands. *Top* is the operand last pushed.
enum class Operation : std::uint8_t {
    Constant,   // pushes constants[index]
    Read,       // pushes the value of symbols[index]; `small` is 1 if there is another read of it
    Not,        // top becomes a logical
    Negate,
    Truth,
    Add,   // the two topmost become one; if `small` is 1, the right one is constants[index] instead
    Subtract,
    Multiply,
    Divide,
    Remainder,
    Equal,
    NotEqual,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    Match,           // top becomes: does patterns[index] match it?
    Call,            // the `small` topmost become the result of function `index`
    SkipIfFalse,     // &&: a false top becomes the result and jumps to `index`, any other is dropped
    SkipIfTrue,      // ||: the same for a true top
    SkipIfDefined,   // ??: a top that is not undefined stays and jumps to `index`, else it is dropped
    Choose,          // ?: drops top, jumps to `index` when it was false
    Jump,            // jumps to `index`
    SkipIfItem,      // in: drops top; if it equalled the operand below, that becomes `small` and jumps to `index`
    EndOfList        // in: top becomes `small`
};

struct Instruction {
    Operation operation;
    std::uint8_t small;
    std::uint32_t index;
};
static_assert(sizeof(Instruction) == 8);

/// A program as an evaluation reads it. Only looks: somebody else keeps what it points to.
struct Routine {
    std::span<Instruction const> code;
    Operand const* constants;
    std::unique_ptr<Pattern const> const* patterns;
    std::span<std::string const> symbols;   // in the order of first use
    std::size_t stackDepth;                 // operands on the stack at most
    bool rereads;                           // some symbol
};

/// All that a parse leaves behind, in one block of memory of the exact size: 140 bytes for `property07 + 12345`.
/// Counted by its handles and never changed once it is made, so that any thread may run it.
class Instructions {
public:
    /// What a program is made of. The texts of constants may lie anywhere until it is made.
    struct Parts {
        std::string text;
        std::span<Instruction const> code;
        std::span<Operand const> constants;
        std::span<std::string> symbols;                       // moved from
        std::span<std::uint32_t const> byName;                // their indexes, sorted by their bytes
        std::span<std::unique_ptr<Pattern const>> patterns;   // moved from
        std::size_t stackDepth;
        bool rereads;
    };
    static Program make(Parts parts);

    /// What a handle refers to, and one more handle.
    static Instructions const& of(Program const& program) noexcept { return *program.m_instructions; }
    Program handle() const noexcept;

    Instructions(Instructions const&) = delete;
    Instructions& operator=(Instructions const&) = delete;

    std::string const& text() const noexcept { return m_text; }
    std::span<std::string const> symbols() const noexcept { return {symbolsBegin(), m_symbols}; }
    std::span<std::uint32_t const> byName() const noexcept { return {byNameBegin(), m_symbols}; }
    Routine routine() const noexcept;

    void hold() const noexcept { m_handles.fetch_add(1, std::memory_order_relaxed); }
    void release() const noexcept;

private:
    explicit Instructions(Parts& parts) noexcept;
    ~Instructions();

    /// The place behind an array, where the next one begins.
    template <class Next, class T>
    static Next* behind(T* array, std::size_t count) noexcept
    {
        static_assert(sizeof(T) % alignof(Next) == 0);
        return reinterpret_cast<Next*>(array + count);
    }

    // What lies behind the object, in this order, what an evaluation reads first; then the bytes of the constants.
    Operand* constantsBegin() const noexcept { return behind<Operand>(const_cast<Instructions*>(this), 1); }
    Instruction* codeBegin() const noexcept { return behind<Instruction>(constantsBegin(), m_constants); }
    std::string* symbolsBegin() const noexcept { return behind<std::string>(codeBegin(), m_code); }
    std::unique_ptr<Pattern const>* patternsBegin() const noexcept
    {
        return behind<std::unique_ptr<Pattern const>>(symbolsBegin(), m_symbols);
    }
    std::uint32_t* byNameBegin() const noexcept { return behind<std::uint32_t>(patternsBegin(), m_patterns); }

    std::string m_text;
    mutable std::atomic<std::uint32_t> m_handles = 1;
    std::uint32_t m_symbols;
    std::uint32_t m_patterns;
    std::uint32_t m_constants;
    std::uint32_t m_code;
    std::uint32_t m_stackDepth : 31;
    std::uint32_t m_rereads : 1;
};

inline Routine Instructions::routine() const noexcept
{
    return {{codeBegin(), m_code}, constantsBegin(), patternsBegin(), symbols(), m_stackDepth, m_rereads != 0};
}

}   // namespace gel::detail

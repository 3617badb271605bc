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

/// Effect of an instruction on the operand stack. *Top* is the operand pushed last.
enum class Operation : std::uint8_t {
    Constant,   // pushes constants[index]
    Read,       // pushes the value of symbols[index]; `small` is 1 if it is read again
    Not,        // top becomes a logical
    Negate,
    Truth,
    Add,   // replace the two topmost by the result; if `small` is 1, the right one is constants[index] instead
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
    Match,           // replaces top by whether patterns[index] matches it
    Call,            // replaces the `small` topmost by the result of function `index`
    SkipIfFalse,     // &&: if top is false, makes it the result and jumps to `index`, else pops it
    SkipIfTrue,      // ||: if top is true, makes it the result and jumps to `index`, else pops it
    SkipIfDefined,   // ??: if top is not undefined, keeps it and jumps to `index`, else pops it
    Choose,          // ?: pops top; jumps to `index` if it was false
    Jump,            // jumps to `index`
    SkipIfItem,      // in: pops top; if it equals the new top, replaces that by `small` and jumps to `index`
    EndOfList        // in: replaces top by `small`
};

struct Instruction {
    Operation operation;
    std::uint8_t small;
    std::uint32_t index;
};
static_assert(sizeof(Instruction) == 8);

/// A program in the form that the evaluator reads. Borrows everything.
struct Routine {
    std::span<Instruction const> code;
    Operand const* constants;
    std::unique_ptr<Pattern const> const* patterns;
    std::span<std::string const> symbols;   // in order of first use
    std::size_t stackDepth;                 // maximum number of operands on the stack
    bool rereads;                           // some symbol is read more than once
};

/// The result of a parse, in one memory block of exact size: 140 bytes for `property07 + 12345`.
/// Reference-counted by its handles and immutable, so any thread may evaluate it.
class Instructions {
public:
    /// The parts of a program to create. The texts of constants may be anywhere until then.
    struct Parts {
        std::string text;
        std::span<Instruction const> code;
        std::span<Operand const> constants;
        std::span<std::string> symbols;                       // moved from
        std::span<std::uint32_t const> byName;                // symbol indexes, sorted by name
        std::span<std::unique_ptr<Pattern const>> patterns;   // moved from
        std::size_t stackDepth;
        bool rereads;
    };
    static Program make(Parts parts);

    /// The instructions of a handle.
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

    /// Address behind an array, aligned for the next one.
    template <class Next, class T>
    static Next* behind(T* array, std::size_t count) noexcept
    {
        static_assert(sizeof(T) % alignof(Next) == 0);
        return reinterpret_cast<Next*>(array + count);
    }

    // Arrays behind the object, in this order, those that the evaluator reads first; then the bytes of the constants.
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

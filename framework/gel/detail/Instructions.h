#pragma once

#include "gel/Value.h"
#include "gel/detail/Pattern.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace gel::detail {

/// What one instruction does to the stack of operands. *Top* is the operand last pushed.
enum class Operation : std::uint8_t {
    Constant,   // pushes constants[index]
    Read,       // pushes the value of slots[index]
    Not,        // top becomes a logical
    Negate,
    Truth,
    Add,   // the two topmost become one
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

/// All that a parse leaves behind: one flat program, never changed once it is made, so that any thread may run it.
struct Instructions {
    std::vector<Instruction> code;
    std::vector<Value> constants;
    std::map<std::string, std::uint32_t> symbols;   // to their slot
    std::vector<std::string const*> slots;          // the keys of `symbols`, in the order of first use
    std::vector<std::unique_ptr<Pattern const>> patterns;
    std::size_t stackDepth = 0;   // operands on the stack at most
};

}   // namespace gel::detail

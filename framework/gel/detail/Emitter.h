#pragma once

#include "gel/Value.h"
#include "gel/detail/Functions.h"
#include "gel/detail/Instructions.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace gel::detail {

/// Writes a program: appends instructions, keeps count of the stack, and replaces what is constant by its value.
class Emitter {
public:
    /// Where a sub-expression begins.
    struct Start {
        std::size_t code;
        std::size_t constants;
        std::size_t reads;
        std::size_t depth;
        std::size_t deepest;
    };

    /// Jumps that wait for their target: each names the one before it in its index.
    struct Jumps {
        std::uint32_t last = NO_JUMP;
    };

    Emitter();

    Start start() const noexcept;
    void constant(Value value);
    void read(std::string const& symbol);

    /// An operation on the one or two topmost operands.
    void apply(Operation operation);
    void match(std::unique_ptr<Pattern const> pattern);
    void call(Function const& function, std::size_t arguments);

    /// A jump that joins `jumps`. It leaves one operand less where it does not jump.
    void jump(Operation operation, Jumps& jumps, bool result = false);
    void endOfList(bool result);

    /// Lets the jumps go to the instruction that comes next.
    void land(Jumps const& jumps) noexcept;

    /// Computes all that was written since `start`, if it reads no symbol, with the evaluator itself, and puts the one
    /// constant in its place. Symbols of a part that can never be reached stay in the table.
    void fold(Start const& start);

    Instructions finish() && noexcept { return std::move(m_program); }

private:
    static constexpr std::uint32_t NO_JUMP = ~std::uint32_t{0};

    void append(Operation operation, std::size_t index = 0, std::size_t small = 0);
    void push() noexcept;

    Instructions m_program;
    std::size_t m_reads = 0;
    std::size_t m_depth = 0;
};

}   // namespace gel::detail

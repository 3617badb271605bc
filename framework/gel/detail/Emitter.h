#pragma once

#include "gel/detail/Functions.h"
#include "gel/detail/Instructions.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

namespace gel::detail {

/// Writes a program: appends instructions, keeps count of the stack, replaces what is constant by its value, and leaves
/// out what changes nothing.
/// Cost: most programs are written without an allocation, but for long names.
class Emitter {
public:
    /// Where a sub-expression begins.
    struct Start {
        std::size_t code;
        std::size_t constants;
        std::size_t texts;
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

    /// Lifetime: only looks at the text of a constant until the program is finished.
    void constant(Operand const& value);
    void read(std::string_view symbol);

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

    /// The program of `text`.
    Program finish(std::string text) &&;

private:
    static constexpr std::uint32_t NO_JUMP = ~std::uint32_t{0};

    void append(Operation operation, std::size_t index = 0, std::size_t small = 0);
    void push() noexcept;
    bool endsLogical() const noexcept;
    std::size_t indexOf(std::string_view symbol);

    alignas(std::max_align_t) std::array<std::byte, 2'048> m_near;   // all that most programs need
    std::pmr::monotonic_buffer_resource m_memory{m_near.data(), m_near.size()};
    std::pmr::vector<Instruction> m_code{&m_memory};
    std::pmr::vector<Operand> m_constants{&m_memory};
    std::pmr::vector<std::string> m_symbols{&m_memory};
    std::pmr::vector<std::uint32_t> m_byName{&m_memory};       // the indexes of the symbols, sorted
    std::pmr::vector<std::uint32_t> m_firstReads{&m_memory};   // of each symbol: no cut removes a read
    std::pmr::vector<std::unique_ptr<Pattern const>> m_patterns{&m_memory};
    std::forward_list<Value> m_texts;   // constants that were computed
    std::size_t m_textCount = 0;
    std::size_t m_landing = 0;     // where jumps went last
    bool m_landsLogical = false;   // and whether all that went there bring a logical
    bool m_rereads = false;
    std::size_t m_reads = 0;
    std::size_t m_depth = 0;
    std::size_t m_deepest = 0;
};

}   // namespace gel::detail

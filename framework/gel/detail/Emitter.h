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

/// Code generator: appends instructions, tracks the stack depth, folds constants and omits instructions without effect.
/// Unfolded code keeps an instruction for each operand, so that an evaluation has a value for each.
/// *Cost*: most programs need no allocation, except for long names.
class Emitter {
public:
    /// State at the beginning of a sub-expression.
    struct Start {
        std::size_t code;
        std::size_t constants;
        std::size_t texts;
        std::size_t reads;
        std::size_t depth;
        std::size_t deepest;
    };

    /// Pending jumps: a linked list through the instructions' `index`.
    struct Jumps {
        std::uint32_t last = NO_JUMP;
    };

    explicit Emitter(bool folds);

    Start start() const noexcept;
    /// The index of the next instruction.
    std::uint32_t position() const noexcept { return static_cast<std::uint32_t>(m_code.size()); }

    /// *Lifetime*: the text of a constant must last until the program is finished.
    void constant(Operand const& value);
    void read(std::string_view symbol);

    /// Emits an operation on the one or two topmost operands.
    void apply(Operation operation);
    void match(std::unique_ptr<Pattern const> pattern);
    void call(Function const& function, std::size_t arguments);

    /// Emits a jump and adds it to `jumps`. It pops one operand when not taken.
    void jump(Operation operation, Jumps& jumps, bool result = false);
    void endOfList(bool result);

    /// Sets the target of the jumps to the next instruction.
    void land(Jumps const& jumps) noexcept;

    /// Constant folding: if the code since `start` reads no symbol, evaluates it and replaces it by the constant.
    /// Symbols of unreachable parts stay in the table.
    void fold(Start const& start);

    /// Finishes the program of `text`.
    Program finish(std::string text) &&;

private:
    static constexpr std::uint32_t NO_JUMP = ~std::uint32_t{0};

    void append(Operation operation, std::size_t index = 0, std::size_t small = 0);
    void push() noexcept;
    bool endsLogical() const noexcept;
    std::size_t indexOf(std::string_view symbol);

    alignas(std::max_align_t) std::array<std::byte, 2'048> m_near;   // enough for most programs
    std::pmr::monotonic_buffer_resource m_memory{m_near.data(), m_near.size()};
    std::pmr::vector<Instruction> m_code{&m_memory};
    std::pmr::vector<Operand> m_constants{&m_memory};
    std::pmr::vector<std::string> m_symbols{&m_memory};
    std::pmr::vector<std::uint32_t> m_byName{&m_memory};       // the indexes of the symbols, sorted by name
    std::pmr::vector<std::uint32_t> m_firstReads{&m_memory};   // code index of each symbol's first Read; never cut
    std::pmr::vector<std::unique_ptr<Pattern const>> m_patterns{&m_memory};
    std::forward_list<Value> m_texts;   // computed constants
    std::size_t m_textCount = 0;
    bool const m_folds;
    std::size_t m_landing = 0;     // the last jump target
    bool m_landsLogical = false;   // and whether every jump to it yields a logical
    bool m_rereads = false;
    std::size_t m_reads = 0;
    std::size_t m_depth = 0;
    std::size_t m_deepest = 0;
};

}   // namespace gel::detail

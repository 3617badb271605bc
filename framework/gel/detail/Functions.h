#pragma once

#include "gel/detail/Operand.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace gel::detail {

/// The most arguments that a call may have: an instruction counts them in a byte.
inline constexpr std::size_t MAX_ARGUMENTS = 255;

/// One row of the table of built-in functions.
struct Function {
    std::string_view name;
    std::size_t fewest;   // arguments
    std::size_t most;
    Operand (*apply)(std::span<Operand const> arguments, Temporaries& temporaries);
};

/// The function of that name, null when there is none.
Function const* functionNamed(std::string_view name) noexcept;

/// The place of a function in the table, and back.
std::uint32_t indexOf(Function const& function) noexcept;
Function const& functionAt(std::uint32_t index) noexcept;

}   // namespace gel::detail

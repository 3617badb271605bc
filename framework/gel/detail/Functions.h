#pragma once

#include "gel/detail/Operand.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace gel::detail {

/// Maximum number of arguments: an instruction counts them in a byte.
inline constexpr std::size_t MAX_ARGUMENTS = 255;

/// One row of the table of built-in functions.
struct Function {
    std::string_view name;
    std::size_t fewest;   // arguments
    std::size_t most;
    Operand (*apply)(std::span<Operand const> arguments, Temporaries& temporaries);
};

/// The function with that name; null if there is none.
Function const* functionNamed(std::string_view name) noexcept;

/// The row number of a function in the table; `functionAt` is the inverse.
std::uint32_t indexOf(Function const& function) noexcept;
Function const& functionAt(std::uint32_t index) noexcept;

}   // namespace gel::detail

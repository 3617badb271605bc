#pragma once

#include "gel/DataSource.h"
#include "gel/Value.h"
#include "gel/detail/Instructions.h"

#include <cstddef>

namespace gel::detail {

/// The value of a program. Asks `source` once for each symbol that is needed, when it is first needed.
/// Throws what `source` throws, and `std::bad_alloc`.
/// Cost: no recursion; no allocation up to 16 symbols and 24 operands on the stack, but for the texts that are made.
Value evaluate(Instructions const& program, DataSource const& source);

/// The value of the instructions from `begin` on, none of which reads a symbol.
Value evaluateConstant(Instructions const& program, std::size_t begin);

}   // namespace gel::detail

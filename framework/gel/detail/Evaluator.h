#pragma once

#include "gel/DataSource.h"
#include "gel/Value.h"
#include "gel/detail/Instructions.h"

#include <cstddef>

namespace gel::detail {

/// The value of a program. Asks `source` once for each symbol that is needed, when it is first needed.
/// Throws what `source` throws, and `std::bad_alloc`.
/// Cost: no recursion; no allocation but for the texts that are made, and for what `SpareMemory` has not kept yet when
/// there are more than 16 symbols or 24 operands on the stack.
Value evaluate(Instructions const& program, DataSource const& source);

/// The value of the instructions from `begin` on.
Value evaluate(Routine const& routine, std::size_t begin, DataSource const& source);

}   // namespace gel::detail

#pragma once

#include "gel/DataSource.h"
#include "gel/Value.h"
#include "gel/detail/Instructions.h"

#include <cstddef>

namespace gel::detail {

/// Evaluates a program, calling `source` once for each symbol when it is first needed.
/// *Throws* what `source` throws, and `std::bad_alloc`.
/// *Cost*: no recursion; allocates only for the texts it creates, and for more than 16 symbols or 24 operands until
/// `SpareMemory` has the memory.
Value evaluate(Instructions const& program, DataSource const& source);

/// Evaluates the instructions from `begin` on.
Value evaluate(Routine const& routine, std::size_t begin, DataSource const& source);

}   // namespace gel::detail

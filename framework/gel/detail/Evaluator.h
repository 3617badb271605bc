#pragma once

#include "gel/DataSource.h"
#include "gel/Value.h"
#include "gel/detail/Instructions.h"
#include "gel/detail/TreeBuilder.h"

#include <cstddef>
#include <optional>
#include <span>

namespace gel::detail {

/// Evaluates a program, calling `source` once for each symbol when it is first needed.
/// *Throws* what `source` throws, and `std::bad_alloc`.
/// *Cost*: no recursion; allocates only for the texts it creates, and for more than 16 symbols or 24 operands until
/// `SpareMemory` has the memory.
Value evaluate(Instructions const& program, DataSource const& source);

/// Evaluates the instructions from `begin` on.
Value evaluate(Routine const& routine, std::size_t begin, DataSource const& source);

/// Evaluates unfolded code, and stores the value of each of its nodes that is evaluated in `values`. *Throws* as
/// `evaluate`. *Cost*: that of an evaluation, and of a copy of each value.
void trace(Instructions const& program, std::span<CodeExtent const> code, DataSource const& source,
           std::span<std::optional<Value>> values);

}   // namespace gel::detail

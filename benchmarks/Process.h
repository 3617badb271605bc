#pragma once

#include <functional>
#include <vector>

namespace benchmarks {

using Figures = std::vector<double>;

/// Returns the result of `measure`, run in a new process with an unused heap. If that process fails, this one ends as
/// it did.
Figures apart(std::function<Figures()> const& measure);

}   // namespace benchmarks

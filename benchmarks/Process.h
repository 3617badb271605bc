#pragma once

#include <functional>
#include <vector>

namespace benchmarks {

using Figures = std::vector<double>;

/// What `measure` answers in a process of its own, whose heap nobody has used before. If that process fails, this one
/// ends as it did.
Figures apart(std::function<Figures()> const& measure);

}   // namespace benchmarks

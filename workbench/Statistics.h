#pragma once

#include "workbench/Document.h"
#include "workbench/StepResult.h"

#include <chrono>
#include <cstddef>
#include <vector>

namespace workbench {

/// Totals over all steps of a session.
class Statistics {
public:
    explicit Statistics(std::size_t expressions) : changesOf(expressions) {}

    void add(Step const& step, StepResult const& result);

    std::size_t steps() const noexcept { return times.size(); }
    std::chrono::nanoseconds total() const;
    /// Returns the time within which `share` of the steps stay: 0.5 gives the median, 1 the slowest. Zero without
    /// steps.
    std::chrono::nanoseconds within(double share) const;
    /// Returns the expressions that changed most often, busiest first, without those that never changed.
    std::vector<std::size_t> busiest(std::size_t limit) const;

    std::size_t operations = 0;
    std::size_t notifications = 0;
    std::size_t silentSteps = 0;
    std::size_t mostChanges = 0;          ///< in one step
    std::size_t mostInStep = 0;           ///< number of that step, from 1; 0 if nothing ever changed
    std::vector<std::size_t> changesOf;   ///< per expression

private:
    std::vector<std::chrono::nanoseconds> times;
};

}   // namespace workbench

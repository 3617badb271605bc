#pragma once

#include "studio/data/PropertyValue.h"

#include <chrono>
#include <cstddef>
#include <vector>

namespace workbench {

/// The change of one expression in a step: its values before and after.
struct Change {
    std::size_t expression = 0;
    studio::data::PropertyValue from;
    studio::data::PropertyValue to;
};

struct StepResult {
    std::vector<Change> changes;          ///< only those whose value differs, in ascending order of expressions
    std::vector<std::size_t> toldAgain;   ///< expressions whose callback ran more than once
    std::size_t notifications = 0;        ///< callbacks that ran
    std::chrono::nanoseconds time{};      ///< from the first write until the commit returned, callbacks included
};

}   // namespace workbench

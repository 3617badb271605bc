#pragma once

#include "workbench/Document.h"
#include "workbench/StepResult.h"

#include <cstddef>
#include <string>
#include <vector>

namespace workbench {

/// Compares the values and callbacks of expressions with the expected ones, and keeps the first differences, a line
/// each.
class Check {
public:
    explicit Check(std::vector<Expression> const& expressions) : expressions{expressions} {}

    void initial(std::vector<studio::data::PropertyValue> const& expected,
                 std::vector<studio::data::PropertyValue> const& found);

    /// Compares one step. `expected` is in ascending order of expressions, as in the result; `number` counts steps from
    /// 1.
    void step(std::size_t number, std::vector<Answer> const& expected, StepResult const& result);

    std::size_t differences() const noexcept { return count; }

    // The number of comparisons.

    std::size_t initialValues() const noexcept { return valueCount; }
    std::size_t steps() const noexcept { return stepCount; }

    /// Returns the first differences.
    std::vector<std::string> const& first() const noexcept { return lines; }

private:
    void differs(std::string const& when, std::size_t expression, std::string const& how);

    static constexpr std::size_t KEPT = 10;

    std::vector<Expression> const& expressions;
    std::size_t count = 0;
    std::size_t valueCount = 0;
    std::size_t stepCount = 0;
    std::vector<std::string> lines;
};

}   // namespace workbench

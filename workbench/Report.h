#pragma once

#include "workbench/Check.h"
#include "workbench/Document.h"
#include "workbench/Mirror.h"
#include "workbench/Reference.h"
#include "workbench/Statistics.h"
#include "workbench/StepResult.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace workbench {

/// Tells a person what happened.
class Report {
public:
    Report(std::ostream& out, std::vector<Expression> const& expressions) : out{out}, expressions{expressions} {}

    void opening(std::string const& title, Recording const& recording);
    /// One step and what it changed; `number` counts from 1.
    void step(std::size_t number, Step const& step, StepResult const& result);
    void summary(Statistics const& statistics);
    /// What the host that evaluates everything needed for the same.
    void comparison(Reference const& reference, Statistics const& statistics);
    void verdict(std::string const& against, Check const& check, Statistics const& statistics);
    void verdict(Mirror const& mirror, bool everyStep);

private:
    void busiest(Statistics const& statistics);
    void differences(std::size_t count, std::vector<std::string> const& first);

    std::ostream& out;
    std::vector<Expression> const& expressions;
};

}   // namespace workbench

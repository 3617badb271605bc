#pragma once

#include "workbench/Check.h"
#include "workbench/Document.h"
#include "workbench/Mirror.h"
#include "workbench/Reference.h"
#include "workbench/Statistics.h"
#include "workbench/StepResult.h"
#include "workbench/Text.h"

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace workbench {

/// Writes a readable account of one session. Throws `std::runtime_error` when the output cannot be written.
class Report {
public:
    /// Writes about the session `title`; `width` is that of the terminal, if there is one.
    Report(std::ostream& out, std::string const& title, std::vector<Expression> const& expressions,
           std::optional<std::size_t> width)
        : out{out}, title{oneLine(title)}, expressions{expressions}, width{width}
    {}

    void opening(Recording const& recording);
    /// Writes a step and its changes, each line cut to the terminal's width; `number` counts from 1.
    void step(std::size_t number, Step const& step, StepResult const& result);
    void summary(Statistics const& statistics);
    /// Writes the cost of the host that evaluates everything, for comparison.
    void comparison(Reference const& reference, Statistics const& statistics);
    void verdict(std::string const& against, Check const& check, Statistics const& statistics);
    void verdict(Mirror const& mirror, bool everyStep);

private:
    void busiest(Statistics const& statistics);
    void differences(std::size_t count, std::vector<std::string> const& first);

    std::ostream& out;
    std::string title;
    std::vector<Expression> const& expressions;
    std::optional<std::size_t> width;
};

}   // namespace workbench

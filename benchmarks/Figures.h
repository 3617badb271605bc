#pragma once

#include <cstdint>
#include <string>

namespace benchmarks {

/// Prints one figure, a line of its own: workload, peer, metric and value between tabs.
void printFigure(std::string const& workload, std::string const& peer, std::string const& metric, double value);

/// Ends the program if the last run of a task did not leave what it should have.
void require(bool isRight, std::string const& workload, std::string const& peer);

}   // namespace benchmarks

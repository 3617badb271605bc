#pragma once

#include "benchmarks/Workload.h"

namespace benchmarks {

/// How long to measure.
struct Effort {
    int repetitions = 15;
    double seconds = 0.01;   ///< of one repetition, at least
};

// Each measures one workload, of whichever peers do it, and prints the figures.

/// Time, the least of all repetitions, and allocations per unit: Google Benchmark runs the peers in turns.
void measureTime(Workload const& workload, Effort const& effort);
/// Bytes per unit.
void measureMemory(Workload const& workload);
/// Under callgrind: a dump for each peer, with `workload TAB peer TAB units` as its reason. Prints nothing.
void countInstructions(Workload const& workload);
/// Whether callgrind is what runs this program.
bool canCountInstructions();

/// Prints one figure, a line of its own: workload, peer, metric and value between tabs.
void printFigure(Workload const& workload, Peer const& peer, char const* metric, double value);
/// Throws if the last run of a task did not leave what it should have.
void require(bool isRight, Workload const& workload, Peer const& peer);

}   // namespace benchmarks

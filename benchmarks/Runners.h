#pragma once

#include "benchmarks/Workload.h"

namespace benchmarks {

/// How long to measure.
struct Effort {
    int repetitions = 15;
    double seconds = 0.01;   ///< of one repetition, at least
};

// Each measures one workload for every peer that has it, and prints the figures.

/// Measures time, the least of all repetitions, and allocations per unit: Google Benchmark runs the peers in turns.
void measureTime(Workload const& workload, Effort const& effort);
/// Measures bytes per unit.
void measureMemory(Workload const& workload);
/// Counts instructions under callgrind: a dump for each peer, with `workload TAB peer TAB units` as its reason. Prints
/// nothing.
void countInstructions(Workload const& workload);
/// Returns true if the program runs under callgrind.
bool canCountInstructions();

/// Prints one figure on a line of its own: workload, peer, metric and value, separated by tabs.
void printFigure(Workload const& workload, Peer const& peer, char const* metric, double value);
/// Throws if the last run of a task did not have the expected result.
void require(bool isRight, Workload const& workload, Peer const& peer);

}   // namespace benchmarks

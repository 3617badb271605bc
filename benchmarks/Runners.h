#pragma once

#include "benchmarks/Workload.h"

namespace benchmarks {

/// How long to measure.
struct Effort {
    int repetitions = 15;
    double seconds = 0.01;   ///< of one repetition, at least
};

// Each prints the figures of one workload, of whichever peers do it.

/// Time, the least of all repetitions, and allocations per unit: Google Benchmark runs the peers in turns.
void measureTime(Workload const& workload, Effort const& effort);
/// Bytes per unit. Each peer runs in a process of its own, which starts out with what this one has allocated.
void measureMemory(Workload const& workload);
/// Under callgrind: a dump for each peer, with `workload TAB peer TAB units` as its reason. Prints nothing.
void countInstructions(Workload const& workload);
/// Whether callgrind is what runs this program.
bool canCountInstructions();

}   // namespace benchmarks

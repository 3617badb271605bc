#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace benchmarks {

/// A workload set up for one peer and ready to run.
struct Task {
    std::function<void(std::uint64_t times)> run;
    /// Returns true if the last run had the expected result: the value of the last callback or evaluation.
    std::function<bool()> isRight;
    /// Undoes the last run, unmeasured; empty if that is not needed.
    std::function<void()> prepare = {};
};

/// An implementation that runs workloads.
struct Peer {
    char const* name;
    std::function<Task()> make;
};

/// One thing to measure.
struct Workload {
    enum class Kind {
        steady,   ///< can be run any number of times: time and allocations
        once,     ///< has to be prepared for each run: time and allocations
        memory    ///< is run once in all: bytes that it allocates and keeps
    };

    std::string id;
    Kind kind = Kind::steady;
    double units = 1;                 ///< of one run: figures are per unit
    std::function<Task()> baseline;   ///< the baseline; may be empty
    std::function<Task()> library;    ///< the library through its public interface

    std::vector<Peer> peers() const
    {
        std::vector<Peer> list{{"baseline", baseline}, {"studio_data", library}};
        std::erase_if(list, [](Peer const& peer) { return !peer.make; });
        return list;
    }
};

/// The sizes of the large workloads: counting instructions takes fifty times as long as running them.
struct Sizes {
    std::vector<int> spread;    ///< numbers of properties with an expression each
    int expressions;            ///< for acquiring and releasing, and elsewhere
    std::vector<int> mirrors;   ///< numbers of contexts in a view; the last has no number in its workload's name
    int contexts;               ///< made to measure their memory

    static Sizes full() { return {{1'000, 10'000, 100'000}, 100'000, {1'000, 10'000}, 100'000}; }
    static Sizes small() { return {{1'000, 10'000}, 2'000, {1'000, 3'000}, 2'000}; }
};

// Each adds its workloads to the list.

void addWrites(std::vector<Workload>& list, Sizes const& sizes);        // W1, W5
void addExpressions(std::vector<Workload>& list, Sizes const& sizes);   // W2 to W4, W6, W7
void addViews(std::vector<Workload>& list, Sizes const& sizes);         // W8
void addMemory(std::vector<Workload>& list, Sizes const& sizes);        // W9
void addLanguage(std::vector<Workload>& list);                          // W10
void addHost(std::vector<Workload>& list);                              // the host layer beside W1 and W2
void addCommands(std::vector<Workload>& list, Sizes const& sizes);      // W12

}   // namespace benchmarks

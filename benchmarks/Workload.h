#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace benchmarks {

/// A workload as one peer does it, set up and ready to run.
struct Task {
    std::function<void(std::uint64_t times)> run;
    /// Whether the last run left what it should have: the value of the last callback, of the last evaluation.
    std::function<bool()> isRight;
    /// Undoes the last run, unmeasured; empty if that is not needed.
    std::function<void()> prepare = {};
};

/// Who does a workload.
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
    double units = 1;                ///< of one run: figures are per unit
    std::function<Task()> floor;     ///< by hand; may be empty
    std::function<Task()> library;   ///< through the public face

    std::vector<Peer> peers() const
    {
        std::vector<Peer> list{{"floor", floor}, {"studio_data", library}};
        std::erase_if(list, [](Peer const& peer) { return !peer.make; });
        return list;
    }
};

/// How large the large ones are: counting instructions takes fifty times as long as running them.
struct Sizes {
    std::vector<int> spread;    ///< properties with an expression each
    int expressions;            ///< acquired and released, and elsewhere
    std::vector<int> mirrors;   ///< contexts in a view; the last is the one that has no number in its name
    int contexts;               ///< made to weigh them

    static Sizes full() { return {{1'000, 10'000, 100'000}, 100'000, {1'000, 10'000}, 100'000}; }
    static Sizes small() { return {{1'000, 10'000}, 2'000, {1'000, 3'000}, 2'000}; }
};

// Each adds its own to the list.

void addWrites(std::vector<Workload>& list, Sizes const& sizes);        // W1, W5
void addExpressions(std::vector<Workload>& list, Sizes const& sizes);   // W2 to W4, W6, W7
void addViews(std::vector<Workload>& list, Sizes const& sizes);         // W8
void addMemory(std::vector<Workload>& list, Sizes const& sizes);        // W9
void addLanguage(std::vector<Workload>& list);                          // W10

}   // namespace benchmarks

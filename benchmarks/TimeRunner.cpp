#include "benchmarks/Allocations.h"
#include "benchmarks/Process.h"
#include "benchmarks/Runners.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace benchmarks {

namespace {

/// Keeps the best repetition of each peer.
class BestOfAll final : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(Context const&) override { return true; }
    void ReportRuns(std::vector<Run> const& report) override
    {
        for (Run const& run : report) {
            if (run.run_type != Run::RT_Iteration)
                continue;   // an average
            auto& [time, allocations] =
                best.try_emplace(run.run_name.function_name, std::numeric_limits<double>::infinity(), 0).first->second;
            time = std::min(time, run.cpu_accumulated_time * 1e9 / static_cast<double>(run.iterations));
            allocations = run.counters.at("alloc");
        }
    }

    std::map<std::string, std::pair<double, double>> best;   // by peer: nanoseconds and allocations of a run
};

void repeat(benchmark::State& state, Task const& task)
{
    auto const times = static_cast<std::uint64_t>(state.max_iterations);
    if (task.prepare)
        task.prepare();
    else
        task.run(times);   // refills the caches after the other peer's run
    std::uint64_t const before = allocationCount();
    std::uint64_t allocations = 0;
    while (state.KeepRunningBatch(state.max_iterations)) {
        task.run(times);
        allocations = allocationCount() - before;
    }
    state.counters["alloc"] = static_cast<double>(allocations) / static_cast<double>(times);
}

/// Measures nanoseconds and allocations per unit; the peers take turns.
Figures measured(Workload const& workload, std::vector<Peer> const& peers, Effort const& effort)
{
    std::vector<Task> tasks;
    for (Peer const& peer : peers)
        tasks.push_back(peer.make());
    for (std::size_t i = 0; i < peers.size(); ++i) {
        auto* const registered =
            benchmark::RegisterBenchmark(peers[i].name, [&, i](benchmark::State& state) { repeat(state, tasks[i]); });
        registered->Repetitions(effort.repetitions);
        if (workload.kind == Workload::Kind::steady)
            registered->MinTime(effort.seconds);
        else
            registered->Iterations(1);
    }
    BestOfAll reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    Figures figures;
    for (std::size_t i = 0; i < peers.size(); ++i) {
        require(tasks[i].isRight(), workload, peers[i]);
        auto const& [time, allocations] = reporter.best.at(peers[i].name);
        figures.insert(figures.end(), {time / workload.units, allocations / workload.units});
    }
    return figures;
}

void print(Workload const& workload, Peer const& peer, double nanoseconds, double allocations)
{
    printFigure(workload, peer, "ns", nanoseconds);
    printFigure(workload, peer, "alloc", allocations);
}

}   // namespace

void measureTime(Workload const& workload, Effort const& effort)
{
    std::vector<Peer> const peers = workload.peers();
    if (workload.kind == Workload::Kind::steady) {
        Figures const figures = apart([&] { return measured(workload, peers, effort); });
        for (std::size_t i = 0; i < peers.size(); ++i)
            print(workload, peers[i], figures[2 * i], figures[2 * i + 1]);
        return;
    }
    // A task that allocates a great deal must not find the holes that the other peer has left in the heap.
    constexpr int rounds = 3;
    Effort const less{std::max(1, effort.repetitions / rounds), effort.seconds};
    std::vector<Figures> best(peers.size());
    for (int round = 0; round < rounds; ++round)
        for (std::size_t i = 0; i < peers.size(); ++i)
            if (Figures const figures = apart([&] { return measured(workload, {peers[i]}, less); });
                best[i].empty() || figures[0] < best[i][0])
                best[i] = figures;
    for (std::size_t i = 0; i < peers.size(); ++i)
        print(workload, peers[i], best[i][0], best[i][1]);
}

}   // namespace benchmarks

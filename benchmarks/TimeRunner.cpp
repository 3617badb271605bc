#include "benchmarks/Allocations.h"
#include "benchmarks/Figures.h"
#include "benchmarks/Runners.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace benchmarks {

namespace {

/// Prints the best repetition of each peer.
class BestOfAll final : public benchmark::BenchmarkReporter {
public:
    explicit BestOfAll(Workload const& workload) : workload{workload} {}

    bool ReportContext(Context const&) override { return true; }
    void ReportRuns(std::vector<Run> const& report) override
    {
        if (report.empty() || report[0].run_type != Run::RT_Iteration)
            return;   // averages
        std::string const& peer = report[0].run_name.function_name;
        double best = std::numeric_limits<double>::infinity();
        double allocations = 0;
        for (Run const& run : report) {
            best = std::min(best, run.cpu_accumulated_time * 1e9 / static_cast<double>(run.iterations));
            allocations = run.counters.at("alloc");
        }
        printFigure(workload.id, peer, "ns", best / workload.units);
        printFigure(workload.id, peer, "alloc", allocations);
    }

private:
    Workload const& workload;
};

void run(benchmark::State& state, Workload const& workload, Task const& task)
{
    auto const times = static_cast<std::uint64_t>(state.max_iterations);
    if (task.prepare)
        task.prepare();
    if (workload.kind == Workload::Kind::steady)
        task.run(times);   // takes the caches back from the other peer
    std::uint64_t const before = allocationCount();
    std::uint64_t allocations = 0;
    while (state.KeepRunningBatch(state.max_iterations)) {
        task.run(times);
        allocations = allocationCount() - before;
    }
    state.counters["alloc"] = static_cast<double>(allocations) / (static_cast<double>(times) * workload.units);
}

}   // namespace

void measureTime(Workload const& workload, Effort const& effort)
{
    std::vector<std::pair<std::string, Task>> tasks;
    if (workload.floor)
        tasks.emplace_back("floor", workload.floor());
    if (workload.library)
        tasks.emplace_back("studio_data", workload.library());
    for (auto const& [peer, task] : tasks) {
        auto* const registered = benchmark::RegisterBenchmark(
            peer.c_str(), [&, &task = task](benchmark::State& state) { run(state, workload, task); });
        if (workload.kind == Workload::Kind::once)
            registered->Iterations(1)->Repetitions(std::max(1, effort.repetitions / 3));
        else
            registered->MinTime(effort.seconds)->Repetitions(effort.repetitions);
    }
    BestOfAll reporter(workload);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::ClearRegisteredBenchmarks();
    for (auto const& [peer, task] : tasks)
        require(task.isRight(), workload.id, peer);
}

}   // namespace benchmarks

#include "benchmarks/Figures.h"
#include "benchmarks/Runners.h"

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#endif

namespace benchmarks {

#ifdef CALLGRIND_START_INSTRUMENTATION

namespace {

void count(Workload const& workload, std::string const& peer, std::function<Task()> const& make)
{
    if (!make)
        return;
    Task const task = make();
    bool const isSteady = workload.kind == Workload::Kind::steady;
    std::uint64_t const times = !isSteady ? 1 : workload.units < 100 ? 2'000 : 20;
    if (isSteady)
        task.run(times);   // makes what is made once
    if (task.prepare)
        task.prepare();
    std::string const reason =
        workload.id + '\t' + peer + '\t' + std::to_string(static_cast<double>(times) * workload.units);
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    task.run(times);
    CALLGRIND_DUMP_STATS_AT(reason.c_str());
    CALLGRIND_STOP_INSTRUMENTATION;
    require(task.isRight(), workload.id, peer);
}

}   // namespace

void countInstructions(Workload const& workload)
{
    count(workload, "floor", workload.floor);
    count(workload, "studio_data", workload.library);
}

bool canCountInstructions()
{
    return RUNNING_ON_VALGRIND != 0;
}

#else

void countInstructions(Workload const&) {}

bool canCountInstructions()
{
    return false;
}

#endif

}   // namespace benchmarks

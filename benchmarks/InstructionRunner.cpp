#include "benchmarks/Runners.h"

#include <cstdint>
#include <string>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#endif

namespace benchmarks {

#ifdef CALLGRIND_START_INSTRUMENTATION

namespace {

void count(Workload const& workload, Peer const& peer)
{
    Task const task = peer.make();
    bool const isSteady = workload.kind == Workload::Kind::steady;
    std::uint64_t const times = !isSteady ? 1 : workload.units < 100 ? 2'000 : 20;
    if (task.prepare)
        task.prepare();
    else
        task.run(times);   // one-time work is done here
    std::string const reason =
        workload.id + '\t' + peer.name + '\t' + std::to_string(static_cast<double>(times) * workload.units);
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    task.run(times);
    CALLGRIND_DUMP_STATS_AT(reason.c_str());
    CALLGRIND_STOP_INSTRUMENTATION;
    require(task.isRight(), workload, peer);
}

}   // namespace

void countInstructions(Workload const& workload)
{
    for (Peer const& peer : workload.peers())
        count(workload, peer);
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

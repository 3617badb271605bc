#include "benchmarks/Allocations.h"
#include "benchmarks/Figures.h"
#include "benchmarks/Runners.h"

#include <cstdio>
#include <cstdlib>
#include <system_error>

#include <sys/wait.h>
#include <unistd.h>

namespace benchmarks {

namespace {

[[noreturn]] void weigh(Workload const& workload, char const* peer, Task const& task)
{
    std::uint64_t const before = heapBytes();
    task.run(1);
    double const bytes = static_cast<double>(heapBytes()) - static_cast<double>(before);
    require(task.isRight(), workload.id, peer);
    printFigure(workload.id, peer, "bytes", bytes / workload.units);
    std::fflush(nullptr);
    _exit(EXIT_SUCCESS);
}

void weighApart(Workload const& workload, char const* peer, std::function<Task()> const& make)
{
    if (!make)
        return;
    std::fflush(nullptr);
    pid_t const child = fork();
    if (child == 0)
        weigh(workload, peer, make());
    int status = 0;
    if (child == -1 || waitpid(child, &status, 0) != child)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (status != 0)
        std::exit(WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE);
}

}   // namespace

void measureMemory(Workload const& workload)
{
    weighApart(workload, "floor", workload.floor);
    weighApart(workload, "studio_data", workload.library);
}

}   // namespace benchmarks

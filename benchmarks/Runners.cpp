#include "benchmarks/Runners.h"

#include <cstdio>
#include <stdexcept>

namespace benchmarks {

void printFigure(Workload const& workload, Peer const& peer, char const* metric, double value)
{
    std::printf("%s\t%s\t%s\t%.5g\n", workload.id.c_str(), peer.name, metric, value);
    std::fflush(stdout);
}

void require(bool isRight, Workload const& workload, Peer const& peer)
{
    if (!isRight)
        throw std::runtime_error(workload.id + ": " + peer.name + " did not do what it is measured for");
}

}   // namespace benchmarks

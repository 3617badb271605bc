#include "benchmarks/Figures.h"

#include <cstdio>
#include <cstdlib>

namespace benchmarks {

void printFigure(std::string const& workload, std::string const& peer, std::string const& metric, double value)
{
    std::printf("%s\t%s\t%s\t%.5g\n", workload.c_str(), peer.c_str(), metric.c_str(), value);
    std::fflush(stdout);
}

void require(bool isRight, std::string const& workload, std::string const& peer)
{
    if (isRight)
        return;
    std::fprintf(stderr, "studio-bench: %s: %s did not do what it was measured for\n", workload.c_str(), peer.c_str());
    std::exit(3);
}

}   // namespace benchmarks

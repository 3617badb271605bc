#include "benchmarks/Allocations.h"
#include "benchmarks/Process.h"
#include "benchmarks/Runners.h"

#include <cstdint>

namespace benchmarks {

void measureMemory(Workload const& workload)
{
    for (Peer const& peer : workload.peers())
        printFigure(workload, peer, "bytes", apart([&] {
                        Task const task = peer.make();
                        std::uint64_t const before = heapBytes();
                        task.run(1);
                        double const bytes = static_cast<double>(heapBytes()) - static_cast<double>(before);
                        require(task.isRight(), workload, peer);
                        return Figures{bytes / workload.units};
                    })[0]);
}

}   // namespace benchmarks

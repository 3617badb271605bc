#include "benchmarks/Allocations.h"
#include "benchmarks/Runners.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

namespace benchmarks {

namespace {

constexpr char const* HELP = R"(Usage: studio-bench [OPTIONS] [WORKLOAD...]

Runs the workloads, each on the library and on the same steps by hand, and prints a line
for each figure: workload, peer (studio_data or baseline), metric, value. Metrics: ns, the
least time per operation of CPU time; alloc, allocations per operation; bytes per item.
`W4` names all workloads that begin with `W4-`, too.

  --instructions       under callgrind: a dump of counts for each, with smaller sizes
  --peer=NAME          only this one
  --repetitions=N      how often to measure, 15 times unless given
  --seconds=N          how long at least each time, 0.01 unless given
  --list               print the workloads
  --help               print this
)";

struct Arguments {
    bool instructions = false;
    bool list = false;
    bool help = false;
    std::string peer;   ///< empty for both
    Effort effort;
    std::vector<std::string> workloads;
};

Arguments read(std::vector<std::string> const& words)
{
    Arguments result;
    for (std::string const& word : words) {
        std::string const name = word.substr(0, word.find('='));
        std::string const value = word.substr(std::min(word.size(), name.size() + 1));
        if (word == "--instructions")
            result.instructions = true;
        else if (word == "--list")
            result.list = true;
        else if (word == "--help")
            result.help = true;
        else if (word == "--peer=baseline" || word == "--peer=studio_data")
            result.peer = value;
        else if (name == "--repetitions")
            result.effort.repetitions = std::max(1, std::stoi(value));
        else if (name == "--seconds")
            result.effort.seconds = std::stod(value);
        else if (word.starts_with('-'))
            throw std::invalid_argument("unknown option " + word);
        else
            result.workloads.push_back(word);
    }
    return result;
}

bool isNamed(std::string const& id, std::vector<std::string> const& names)
{
    return names.empty() || std::any_of(names.begin(), names.end(), [&](std::string const& name) {
               return id == name || id.starts_with(name + '-');
           });
}

std::vector<Workload> workloads(Arguments const& arguments)
{
    Sizes const sizes = arguments.instructions ? Sizes::small() : Sizes::full();
    std::vector<Workload> list;
    addWrites(list, sizes);
    addExpressions(list, sizes);
    addViews(list, sizes);
    addMemory(list, sizes);
    addLanguage(list);
    addHost(list);
    addCommands(list, sizes);
    std::erase_if(list, [&](Workload const& workload) { return !isNamed(workload.id, arguments.workloads); });
    for (Workload& workload : list) {
        if (arguments.peer == "baseline")
            workload.library = {};
        if (arguments.peer == "studio_data")
            workload.baseline = {};
    }
    if (list.empty())
        throw std::invalid_argument("no workload is called that; --list names them");
    return list;
}

/// Passes Google Benchmark a setting that it takes only from a command line.
void setUpGoogleBenchmark(char* program)
{
    std::string interleaved = "--benchmark_enable_random_interleaving=true";
    char* words[] = {program, interleaved.data(), nullptr};
    int count = 2;
    benchmark::Initialize(&count, words);
}

void run(Arguments const& arguments)
{
    if (arguments.instructions && !arguments.list && !canCountInstructions())
        throw std::runtime_error("--instructions needs callgrind to run this program, and its header to build it");
    for (Workload const& workload : workloads(arguments)) {
        if (arguments.list)
            std::puts(workload.id.c_str());
        else if (arguments.instructions && workload.kind != Workload::Kind::memory)
            countInstructions(workload);
        else if (!arguments.instructions && workload.kind == Workload::Kind::memory)
            measureMemory(workload);
        else if (!arguments.instructions)
            measureTime(workload, arguments.effort);
    }
}

}   // namespace

}   // namespace benchmarks

int main(int count, char** words)
{
    try {
        benchmarks::Arguments const arguments = benchmarks::read({words + 1, words + count});
        if (arguments.help) {
            std::fputs(benchmarks::HELP, stdout);
            return 0;
        }
        benchmarks::keepMemory();
        benchmarks::setUpGoogleBenchmark(words[0]);
        benchmarks::run(arguments);
        return 0;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "studio-bench: %s\n", error.what());
        return 2;
    }
}

#include "machine/Machine.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace machine {
namespace {

std::size_t fromEnvironment(char const* name, std::size_t otherwise)
{
    char const* const text = std::getenv(name);
    return text ? std::strtoul(text, nullptr, 10) : otherwise;
}

using Faults = std::map<Kind, std::size_t>;

/// Runs seeds. On a difference, reports the shortest sequence of steps that shows it.
Faults runSeeds(std::size_t count, std::size_t steps, Machine::Fault fault = Machine::Fault::None)
{
    Faults faults;
    steps = fromEnvironment("STUDIO_DATA_STEPS", steps);
    std::vector<std::uint64_t> const seeds = support::seeds(fromEnvironment("STUDIO_DATA_SEEDS", count));
    std::cout << "the seed of the day: STUDIO_DATA_SEED=" << seeds.back() << std::endl;
    for (std::uint64_t const seed : seeds) {
        Bytes const bytes = Script::generate(seed, steps);
        std::string difference;
        {
            Machine machine{bytes};
            difference = machine.run(fault);
            for (auto const& [kind, happened] : machine.faults())
                faults[kind] += happened;
        }
        if (difference.empty())
            continue;
        if (std::getenv("STUDIO_DATA_NO_SHRINKING")) {   // to skip the slow search for fewer steps
            ADD_FAILURE() << "STUDIO_DATA_SEED=" << seed << '\n' << difference;
            break;
        }
        Bytes const fewest = shrink(bytes, fault);
        ADD_FAILURE() << "STUDIO_DATA_SEED=" << seed << '\n'
                      << difference << "the fewest steps that show it:\n"
                      << describe(fewest) << Machine{fewest}.run(fault);
        break;
    }
    return faults;
}

TEST(Machine, AgreesWithTheModel)
{
    runSeeds(500, 250);
}

TEST(Machine, AgreesWhenCallOutsThrow)
{
    runSeeds(200, 250, Machine::Fault::Callback);
}

struct Sweep {
    char const* name;
    Machine::Fault fault;
    std::vector<Kind> kinds;   // kinds that must have met faults
};
class MachineSweep : public testing::TestWithParam<Sweep> {};

TEST_P(MachineSweep, LeavesTheStateOfBeforeOrOfAfter)
{
    Faults const faults = runSeeds(100, 150, GetParam().fault);
    bool const isWhole = !std::getenv("STUDIO_DATA_SEED") && !std::getenv("STUDIO_DATA_SEEDS");
    for (Kind const kind : GetParam().kinds)
        EXPECT_TRUE(faults.count(kind) != 0 || !isWhole) << Op::of(kind).line();
}
INSTANTIATE_TEST_SUITE_P(
    Machine, MachineSweep,
    testing::Values(Sweep{"OneAllocation",
                          Machine::Fault::Allocation,
                          {Kind::Set, Kind::Add, Kind::Remove, Kind::Create, Kind::Drop, Kind::Activate, Kind::Rename,
                           Kind::Move, Kind::Commit, Kind::Acquire, Kind::MakeEngine, Kind::MakeView, Kind::Watch,
                           Kind::AddListener}},
                    Sweep{"EveryAllocationFromOne",
                          Machine::Fault::Allocations,
                          {Kind::Set, Kind::Add, Kind::Remove, Kind::Create, Kind::Drop, Kind::Commit, Kind::Acquire}},
                    Sweep{"ALookUp", Machine::Fault::LookUp, {Kind::Set, Kind::Remove, Kind::Acquire, Kind::Commit}}),
    [](auto const& info) { return info.param.name; });

}   // namespace
}   // namespace machine

#include "Target.h"
#include "machine/Machine.h"

// The bytes are the steps of a run of the machine; the first one also chooses what goes wrong in them.

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using machine::Machine;
    constexpr std::size_t longest = machine::Script::HEADER + 250 * machine::Script::STEP;
    if (size == 0 || size > longest)
        return 0;
    // No allocations that fail: libFuzzer brings templates of the standard library that were compiled without
    // exceptions, and the linker takes those, which leak what an exception should have freed.
    static constexpr Machine::Fault faults[] = {Machine::Fault::None, Machine::Fault::None, Machine::Fault::Callback,
                                                Machine::Fault::LookUp};
    machine::Bytes const bytes{data, data + size};
    Machine machine{bytes};
    std::string const& difference = machine.run(faults[data[0] % 4]);
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\nthe steps:\n%s", difference.c_str(), machine::describe(bytes).c_str());
        std::abort();
    }
    return 0;
}

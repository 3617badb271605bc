#include "machine/Machine.h"

#include "tarn/zero/ModelImpl.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <optional>

// machine_log SEEDS STEPS [--beside]: prints a line per run, with a checksum of all its callbacks. The lines of two
// builds must be equal, also with an unused engine and view beside.

int main(int count, char** arguments)
{
    if (count < 3) {
        std::cerr << "machine_log SEEDS STEPS [--beside]\n";
        return 2;
    }
    std::optional<studio::data::ExpressionEngine> engine;
    std::optional<studio::data::ContextView> view;
    std::unique_ptr<studio::data::ExpressionHandle> handle;
    if (count > 3 && std::strcmp(arguments[3], "--beside") == 0) {
        engine.emplace(std::shared_ptr<studio::data::ContextProvider>{});
        handle = engine->acquireExpression("1 + a", [](auto const&, auto const&) {});
        view.emplace(tarn::zero::Model{});
    }
    for (std::uint64_t seed = 1; seed <= std::strtoull(arguments[1], nullptr, 10); ++seed) {
        machine::Machine machine{machine::Script::generate(seed, std::strtoul(arguments[2], nullptr, 10))};
        std::string const& difference = machine.run();
        if (!difference.empty()) {
            std::cout << "seed " << seed << ' ' << difference;
            return 1;
        }
        std::uint64_t sum = 0xcbf29ce484222325u;
        for (char const each : machine.log())
            sum = (sum ^ static_cast<unsigned char>(each)) * 0x100000001b3u;
        std::cout << seed << ' ' << machine.log().size() << ' ' << std::hex << sum << std::dec << '\n';
    }
    return 0;
}

#include "flows/Worlds.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr std::size_t STEPS = 300;

// Two worlds take the same steps, and the callbacks of each take the same steps inside them. They must say the same
// words in the same order, and hold the same values after every step.
TEST(RandomWalk, SystemSaysWhatTheReferenceSays)
{
    for (std::uint64_t const seed : support::seeds(120)) {
        std::cout << "STUDIO_DATA_SEED=" << seed << (seed % 8 == 0 ? "\n" : " ");
        SCOPED_TRACE("STUDIO_DATA_SEED=" + std::to_string(seed));
        support::Random random{seed};
        walk::Script const script{seed};
        walk::SharedIds ids;
        walk::RealWorld real{script, ids};
        walk::ReferenceWorld reference{script, ids};
        std::vector<walk::Op> const beginning = script.beginning();
        std::vector<std::string> taken;
        for (std::size_t step = 0; step != STEPS; ++step) {
            walk::Op const op = step < beginning.size() ? beginning[step] : script.randomOp(random, false);
            taken.push_back(describe(op));
            real.take(op);
            reference.take(op);
            std::string last;
            for (std::size_t i = taken.size() - std::min<std::size_t>(taken.size(), 12); i != taken.size(); ++i)
                last += "\n  " + taken[i];
            ASSERT_EQ(real.takeLog(), reference.takeLog()) << "step " << step << last;
            ASSERT_EQ(real.values(), reference.values()) << "step " << step << last;
            for (int i = 0; i != 4; ++i) {
                int const slot = static_cast<int>(random.below(walk::SLOTS));
                std::string const path = script.randomPath(random);
                ASSERT_EQ(real.read(slot, path), reference.read(slot, path)) << path << " step " << step << last;
            }
        }
    }
    std::cout << '\n';
}

}   // namespace

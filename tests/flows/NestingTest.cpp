#include "support/Elements.h"
#include "support/Printers.h"
#include "support/ReportRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

// Transactions one to three deep. Each level does something to an element, before or after the level inside it, and
// then commits or is left by an exception: every combination, beside a stack of copies.

namespace {

using support::ContextData;
using support::Property;

struct Refusal {};

/// One of the 20 kinds of level. What it does, it does to the last element that lives, so that the levels meet in it:
/// c creates another, d destroys it, r renames it, m moves it, D destroys its context.
struct Level {
    explicit Level(int number) : step{"cdrmD"[number % 5]}, isLate{number / 5 % 2 == 1}, throws{number / 10 == 1} {}

    char step;
    bool isLate;   // after the inner level
    bool throws;
};

/// The expected state of the elements.
struct State {
    struct Known {
        bool isAlive = false;
        std::size_t owner = 0;
        std::string name{};
    };
    std::vector<Known> elements{{true, 0, "a"}, {true, 0, "b"}, {true, 1, "c"}};
    std::vector<bool> contexts{true, true};
};

struct World {
    World()
    {
        for (State::Known const& known : now.elements)
            create(known.owner, known.name);
    }
    void create(std::size_t owner, std::string const& name)
    {
        elements.push_back(support::add(contexts[owner], name, static_cast<int>(elements.size())));
    }

    void run(std::size_t depth)
    {
        State const before = now;
        Level const& level = levels[depth];
        try {
            support::commit(model, [&] {
                if (!level.isLate)
                    take(level.step);
                if (depth + 1 != levels.size())
                    run(depth + 1);
                if (level.isLate)
                    take(level.step);
                if (level.throws)
                    throw Refusal{};
            });
        } catch (Refusal const&) {
            now = before;
            now.elements.resize(elements.size());   // what was made is dead
        }
        expectKnown();
    }
    void take(char step)
    {
        auto const last = std::find_if(now.elements.rbegin(), now.elements.rend(), [](auto& it) { return it.isAlive; });
        if (last == now.elements.rend())
            return;
        Property const& element = elements[static_cast<std::size_t>(now.elements.rend() - last - 1)];
        std::size_t const owner = last->owner;
        if (step == 'c') {
            std::string const name = "new" + std::to_string(elements.size());
            create(owner, name);
            now.elements.push_back({true, owner, name});
        } else if (step == 'd') {
            element->destroy();
            last->isAlive = false;
        } else if (step == 'r') {
            element->setName(last->name += '\'');
        } else if (step == 'm' && now.contexts[1 - owner]) {
            element->setOwner(contexts[last->owner = 1 - owner]);
        } else if (step == 'D') {
            contexts[owner]->destroy();
            now.contexts[owner] = false;
            for (State::Known& other : now.elements)
                other.isAlive &= other.owner != owner;
        }
    }

    void expectKnown() const
    {
        std::vector<std::size_t> counts(contexts.size());
        for (std::size_t i = 0; i != elements.size(); ++i) {
            State::Known const& known = now.elements[i];
            ASSERT_EQ(static_cast<bool>(elements[i]), known.isAlive) << i;
            // What came back is the very same: its handle is the one that is found.
            ASSERT_EQ(model->findElement(elements[i].Uuid(), 1).get(), known.isAlive ? elements[i].get() : nullptr);
            if (!known.isAlive)
                continue;
            ++counts[known.owner];
            EXPECT_EQ(elements[i]->getValue(), support::PropertyValue(static_cast<int>(i)));
            EXPECT_EQ(elements[i].owner(), contexts[known.owner]);
            EXPECT_EQ(contexts[known.owner].properties()->find(known.name), elements[i]);
        }
        for (std::size_t i = 0; i != contexts.size(); ++i) {
            EXPECT_EQ(static_cast<bool>(contexts[i]), now.contexts[i]);
            EXPECT_EQ(contexts[i].properties()->size(), counts[i]);
        }
    }

    tarn::zero::Model model = support::newModel();
    std::vector<ContextData> contexts{support::newContext(model), support::newContext(model)};
    std::vector<Property> elements;
    std::vector<Level> levels;
    State now;
};

class Nesting : public testing::TestWithParam<int> {};

TEST_P(Nesting, CommitsOutwardOrLeavesNothing)
{
    for (int number = 0; number != GetParam(); ++number) {
        World world;
        std::string name;
        for (int rest = number, kinds = 1; kinds != GetParam(); rest /= 20, kinds *= 20) {
            Level const& level = world.levels.emplace_back(rest % 20);
            name += {level.step, level.isLate ? '>' : '<', level.throws ? '!' : ' '};
        }
        SCOPED_TRACE(name);
        support::ReportRecorder recorder{world.model};
        std::set<support::ReportRecorder::Data> reports;
        recorder.onProperties = recorder.onContexts = [&](auto const& data) { reports.insert(data); };
        world.run(0);
        std::string const heard = recorder.take();   // with a sign for each element that came or went
        std::ptrdiff_t came = 0;
        std::ptrdiff_t went = std::count(world.now.contexts.begin(), world.now.contexts.end(), false);
        for (std::size_t i = 0; i != world.elements.size(); ++i)
            i < State{}.elements.size() ? went += !world.now.elements[i].isAlive
                                        : came += world.now.elements[i].isAlive;
        EXPECT_EQ(std::count(heard.begin(), heard.end(), '+'), came) << heard;
        EXPECT_EQ(std::count(heard.begin(), heard.end(), '-'), went) << heard;
        EXPECT_LE(reports.size(), world.levels[0].throws ? 0u : 1u) << heard;
        EXPECT_TRUE(came + went == 0 || reports.size() == 1) << heard;
        ASSERT_FALSE(world.model->isInTransaction() || HasFailure());
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, Nesting, testing::Values(20, 20 * 20, 20 * 20 * 20));

}   // namespace

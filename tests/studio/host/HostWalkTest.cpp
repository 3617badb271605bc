#include "studio/host/Batch.h"
#include "studio/host/ContextTree.h"
#include "studio/host/Put.h"
#include "studio/host/Subscriptions.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <iterator>
#include <list>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// Random steps over a tree and subscriptions, whose callbacks write, release and throw. After each step every
// subscription was handed what an evaluation gives now, nothing has left a write, and a restored snapshot is equal.
namespace studio::host {
namespace {

using data::PropertyValue;

std::vector<std::string> const PATHS{"a", "b", "a.c", "b.c", "a.c.d", "b.c.d.e"};
std::vector<std::string> const NAMES{"x", "y", "a.x", "b.y", "a.c.x", "b.c.x", "a.c.d.y", "q.x"};
std::vector<std::string> const TEXTS{"x",       "x && a.x",   "a.c.x + b.c.x",  "a ? a.x : y", "(a.c.d.y ?? 0) + 1",
                                     "b.c.d.e", "x > 1 || y", "b.c ? 'c' : ''", "a.x == b.y",  "!a.c"};

class Walk {
public:
    explicit Walk(unsigned seed) : random{seed}
    {
        subscriptions.onError([this](Failure const& failure) { failures += failure.reason == "planned" ? 1 : 1000; });
    }

    void run(int steps)
    {
        for (int step = 0; step != steps; ++step) {
            ASSERT_NO_THROW(take(0)) << "step " << step;
            check();
            if (testing::Test::HasFailure())
                return;
        }
        EXPECT_LT(failures, 1000) << "only what is planned fails";
    }

private:
    struct Held {
        std::string text;
        int kind;
        std::optional<PropertyValue> told;   // as text or truth, by its kind
        Subscription subscription;
    };
    struct Planned : std::runtime_error {
        Planned() : runtime_error{"planned"} {}
    };

    std::string const& pick(std::vector<std::string> const& list) { return list[below(list.size())]; }
    std::size_t below(std::size_t count) { return random.below(count); }
    PropertyValue value()
    {
        switch (below(6)) {
        case 0: return {};
        case 1: return below(2) == 0;
        case 2: return std::string(below(3) * 20, 'v');
        default: return static_cast<double>(below(4));
        }
    }

    void take(int depth)
    {
        switch (below(depth == 0 ? 10 : 7)) {
        case 0: refused([&] { tree.make(pick(PATHS)); }); break;
        case 1: tree.drop(pick(PATHS)); break;
        case 2: refused([&] { tree.move(pick(PATHS), pick(PATHS)); }); break;
        case 3: batchOf(depth); break;
        case 4:
        case 5:
        case 6: put(tree.root(), pick(NAMES), value()); break;
        case 7: subscribe(); break;
        case 8:
            if (!held.empty())
                held.erase(std::next(held.begin(), static_cast<std::ptrdiff_t>(below(held.size()))));
            break;
        default: restore();
        }
    }
    static void refused(std::function<void()> const& step)
    {
        try {
            step();
        } catch (std::invalid_argument const&) {
            // A property is in the way, or there is nothing to move.
        }
    }
    void batchOf(int depth)
    {
        if (depth == 3)
            return;
        bool const fails = below(3) == 0;
        try {
            batch([&] {
                for (std::size_t count = below(4); count != 0; --count)
                    take(depth + 1);
                if (fails)
                    throw Planned{};
            });
        } catch (Planned const&) {
            EXPECT_TRUE(fails);
        }
    }
    void restore()
    {
        std::string const saved = tree.save();
        take(0);
        actions = 0;   // a callback may change what is restored
        tree.restore(saved, Identities::Kept);
        EXPECT_EQ(tree.save(), saved);
    }
    void subscribe()
    {
        Held& own = held.emplace_back(Held{pick(TEXTS), static_cast<int>(below(3)), {}, {}});
        auto const hear = [this, &own](PropertyValue const& told) {
            EXPECT_FALSE(own.told == told) << own.text << " was handed the same twice";
            own.told = told;
            act();
        };
        own.subscription = own.kind == 0 ? subscriptions.when(own.text, hear)
                           : own.kind == 1
                               ? subscriptions.show(own.text, [hear](std::string const& text) { hear(text); })
                               : subscriptions.watch(own.text, hear);
    }
    /// What a callback does.
    void act()
    {
        if (actions == 0)
            return;
        --actions;
        switch (below(8)) {
        case 0: put(tree.root(), pick(NAMES), value()); break;
        case 1: throw Planned{};
        default: break;
        }
    }
    void check()
    {
        actions = 6;
        Subscriptions fresh{tree.root()};
        for (Held const& each : held) {
            Subscription const again = fresh.watch(each.text, [&](PropertyValue const& now) {
                PropertyValue const expected = each.kind == 0   ? PropertyValue{truth(now)}
                                               : each.kind == 1 ? PropertyValue{shown(now)}
                                                                : now;
                EXPECT_EQ(each.told, expected) << each.text;
            });
        }
    }
    static bool truth(PropertyValue const& value)
    {
        return value.isLogical() ? value.getBool() : value.isDouble() ? value.getDouble() != 0 : shown(value) != "";
    }

    support::Random random;
    ContextTree tree;
    Subscriptions subscriptions{tree.root()};
    std::list<Held> held;
    int actions = 6;   // left to callbacks in this step
    int failures = 0;
};

TEST(HostWalk, EverySubscriptionShowsWhatAnEvaluationGives)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Walk{seed}.run(150);
        ASSERT_FALSE(HasFailure());
    }
}

}   // namespace
}   // namespace studio::host

#include "studio/host/Batch.h"
#include "studio/host/ContextTree.h"
#include "studio/host/Put.h"
#include "studio/host/Subscriptions.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// Random steps over a tree and subscriptions, whose callbacks write, throw and end subscriptions, beside a map of what
// the tree holds. After each step the tree holds that, every subscription was handed what an evaluation gives now, and
// no exception has left a write.
namespace studio::host {
namespace {

using data::PropertyValue;

std::vector<std::string> const PATHS{"a", "b", "a.b", "a.c", "b.c", "a.c.d", "b.c.d.e"};
std::vector<std::string> const NAMES{"x", "y", "a.x", "b.y", "a.c.x", "b.c.x", "a.c.d.y", "q.x"};
std::vector<std::string> const TEXTS{"x",       "x && a.x",   "a.c.x + b.c.x",  "a ? a.x : y", "(a.c.d.y ?? 0) + 1",
                                     "b.c.d.e", "x > 1 || y", "b.c ? 'c' : ''", "a.x == b.y",  "!a.c"};

std::string ownerOf(std::string const& path)
{
    std::size_t const dot = path.rfind('.');
    return path.substr(0, dot == std::string::npos ? 0 : dot);
}
std::string lastName(std::string const& path)
{
    return path.substr(path.rfind('.') + 1);
}
bool isAt(std::string const& path, std::string const& top)
{
    return (path + '.').starts_with(top + '.');
}

class Walk {
public:
    explicit Walk(std::uint64_t seed) : random{seed}
    {
        begin();
        saved[tree.save()] = model;
    }

    void run(int steps)
    {
        for (int step = 0; step != steps && !testing::Test::HasFailure(); ++step) {
            ASSERT_NO_THROW(take(0)) << "step " << step;
            check();
        }
        EXPECT_LT(failures, 1000) << "only what is planned fails";
    }

private:
    struct Held {
        std::string text;
        int kind = 0;
        std::optional<PropertyValue> told;   // as text or truth, by its kind
        Subscription subscription;
    };
    struct Planned : std::runtime_error {
        Planned() : runtime_error{"planned"} {}
    };

    PropertyValue value()
    {
        switch (random.below(6)) {
        case 0: return {};
        case 1: return random.oneIn(2);
        case 2: return std::string(random.below(3) * 20, 'v');
        default: return random.below(4);
        }
    }

    void take(int depth)
    {
        std::string const at = random.pick(PATHS), to = random.pick(PATHS);
        switch (random.below(depth == 0 ? 12 : 10)) {
        case 0:
        case 1:
            for (std::string above = at; !above.empty(); above = ownerOf(above))
                model.try_emplace(above);
            tree.make(at);
            break;
        case 2: drop(at); break;
        case 3: move(at, to); break;
        case 4: saved[tree.save()] = model; break;
        case 5: restore(); break;
        case 6: batchOf(depth); break;
        case 7:
        case 8:
        case 9: write(); break;
        case 10: subscribe(); break;
        default: release();
        }
    }
    void drop(std::string const& at)
    {
        bool const isThere = std::erase_if(model, [&](auto const& node) { return isAt(node.first, at); }) != 0;
        EXPECT_EQ(tree.drop(at), isThere) << at;
    }
    void write()
    {
        std::string const name = random.pick(NAMES);
        PropertyValue const written = value();
        auto const owner = model.find(ownerOf(name));
        bool const isThere = owner != model.end();
        if (isThere)
            owner->second[lastName(name)] = written;
        EXPECT_EQ(put(tree.root(), name, written) != Written::Nowhere, isThere) << name;
    }
    void move(std::string const& at, std::string const& to)
    {
        if (!model.contains(at) || model.contains(to) || isAt(to, at) || !model.contains(ownerOf(to))) {
            EXPECT_THROW(tree.move(at, to), std::invalid_argument);
            return;
        }
        Model moved;
        for (auto const& [path, properties] : model)
            moved[isAt(path, at) ? to + path.substr(at.size()) : path] = properties;
        model = moved;
        tree.move(at, to);
    }
    void restore()
    {
        auto const& [text, state] = *std::next(saved.begin(), static_cast<std::ptrdiff_t>(random.below(saved.size())));
        model = state;
        tree.restore(text, random.oneIn(2) ? Identities::Kept : Identities::Fresh);
    }
    void batchOf(int depth)
    {
        if (depth == 3)
            return;
        Model const before = model;
        bool const fails = random.oneIn(3);
        try {
            batch([&] {
                for (std::size_t count = random.below(6); count != 0; --count)
                    take(depth + 1);
                if (fails) {
                    model = before;
                    throw Planned{};
                }
            });
        } catch (Planned const&) {
            EXPECT_TRUE(fails);
        }
    }
    /// Makes new subscriptions, with an engine of their own or over another one. The former ones outlive their engine.
    void begin()
    {
        auto const outlive = std::exchange(held, {});
        random.oneIn(2) ? subscriptions.emplace(engine) : subscriptions.emplace(tree.root());
        subscriptions->onError([this](Failure const& failure) { failures += failure.reason == "planned" ? 1 : 1000; });
        write();
    }
    void subscribe()
    {
        int const number = ++made;
        Held& own = held[number];
        own.text = random.pick(TEXTS), own.kind = static_cast<int>(random.below(3));
        auto const hear = [this, number, lasts = std::string(40, 'x')](PropertyValue const& told) {
            ASSERT_TRUE(held.contains(number)) << "is called after its end";
            std::optional<PropertyValue>& before = held[number].told;
            EXPECT_FALSE(before == told) << held[number].text << " was handed the same twice";
            before = told;
            act();
            EXPECT_EQ(lasts, std::string(40, 'x')) << "what is captured lasts";
        };
        own.subscription = own.kind == 0 ? subscriptions->when(own.text, hear)
                           : own.kind == 1
                               ? subscriptions->show(own.text, [hear](std::string const& text) { hear(text); })
                               : subscriptions->watch(own.text, hear);
    }
    void release()
    {
        if (!held.empty())
            held.erase(std::next(held.begin(), static_cast<std::ptrdiff_t>(random.below(held.size()))));
    }
    /// What a callback does.
    void act()
    {
        bool const isFirstCall =
            std::any_of(held.begin(), held.end(), [](auto const& each) { return !each.second.subscription; });
        if (actions == 0)
            return;
        --actions;
        switch (random.below(isFirstCall ? 6 : 9)) {
        case 0: write(); break;
        case 1: throw Planned{};
        case 6: release(); break;
        case 7: random.oneIn(3) ? begin() : held.clear(); break;
        default: break;
        }
    }
    void check()
    {
        actions = 6;
        for (std::string const& path : PATHS)
            EXPECT_EQ(tree.find(path) != nullptr, model.contains(path)) << path;
        for (std::string const& name : NAMES) {
            auto const owner = model.find(ownerOf(name));
            PropertyValue const expected = owner != model.end() ? owner->second[lastName(name)] : PropertyValue{};
            EXPECT_EQ(tree.root()->getPropertyValue(name), expected) << name;
        }
        Subscriptions fresh{tree.root()};
        for (auto const& [number, each] : held) {
            Subscription const again = fresh.watch(each.text, [&, &each = each](PropertyValue const& now) {
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

    using Model = std::map<std::string, std::map<std::string, PropertyValue>>;   // the properties of each path

    support::Random random;
    ContextTree tree;
    Model model{{"", {}}};
    std::map<std::string, Model> saved;
    data::ExpressionEngine engine{tree.root(), data::ReleasePolicy::KeepsShared};
    std::optional<Subscriptions> subscriptions;
    std::map<int, Held> held;
    int made = 0;
    int actions = 6;   // left to callbacks in this step
    int failures = 0;
};

TEST(HostWalk, TreesAndSubscriptionsAgreeWithAMapOfPaths)
{
    for (std::uint64_t const seed : support::seeds(60)) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Walk{seed}.run(150);
        ASSERT_FALSE(HasFailure());
    }
}

}   // namespace
}   // namespace studio::host

#include "studio/data/ContextView.h"
#include "support/Allocations.h"
#include "support/Contexts.h"
#include "support/Instructions.h"
#include "tarn/zero/ReportData.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

// What an operation costs, counted: allocations and instructions, which no other load changes. Times are a matter of
// scripts/bench.

namespace studio::data {
namespace {

using support::context;
using support::Handle;
using support::inTransaction;
using support::Provider;

std::string name(std::size_t number)
{
    return "property" + std::to_string(number);
}

/// A context with properties, an engine on it, and expressions that are heard.
struct World {
    explicit World(std::size_t properties)
    {
        inTransaction([&] {
            for (std::size_t i = 0; i < properties; ++i)
                root->addProperty(name(i), 0);
        });
    }
    ~World() { handles.clear(); }

    void hear(std::string const& text)
    {
        handles.push_back(engine.acquireExpression(text, [this](auto const&, auto const&) { ++calls; }));
    }
    /// Each property has an expression of its own.
    void hearAll(std::size_t properties)
    {
        for (std::size_t i = 0; i < properties; ++i)
            hear(name(i) + " + 1");
    }
    void write(std::string const& property) { root->setPropertyValue(property, ++value); }

    Provider root = context();
    ExpressionEngine engine{root};
    std::vector<Handle> handles;
    int value = 0;
    std::size_t calls = 0;
};

/// A view of a root that refers to many contexts, each of which leads back to it, and so to everything.
struct Mirrored {
    explicit Mirrored(std::size_t count)
    {
        inTransaction([&] {
            for (std::size_t i = 0; i < count; ++i) {
                contexts.push_back(context({{"number", 0}, {"root", root}}));
                root->addProperty(name(i), contexts.back());
            }
        });
        hold = view->acquire(root->getId(), {});
    }

    Provider root = context();
    std::vector<Provider> contexts;
    std::unique_ptr<ContextView> view = ContextView::create({});
    std::unique_ptr<ContextHandleImpl> hold;
    int value = 0;
};

/// One operation, performed repeatedly.
using Operation = std::function<void()>;

/// Prepares an operation in a world of some size.
struct Row {
    char const* name;
    std::function<Operation(std::size_t size)> make;
};

/// Prepares the operation and performs it until everything that it needs again has been made.
Operation warmed(Row const& row, std::size_t size)
{
    Operation const operation = row.make(size);
    for (int i = 0; i < 20; ++i)
        operation();
    return operation;
}

Operation writeHeard(std::size_t expressions)
{
    auto const world = std::make_shared<World>(20);
    for (std::size_t i = 0; i < expressions; ++i)
        world->hear(name(7) + " + " + std::to_string(i));
    return [=] { world->write(name(7)); };
}

/// In one transaction, with one expression that reads them all.
Operation writeAll(std::size_t properties)
{
    auto const world = std::make_shared<World>(properties);
    std::string sum = "0";
    std::vector<std::string> names;
    for (std::size_t i = 0; i < properties; ++i) {
        names.push_back(name(i));
        sum += " + " + name(i);
    }
    world->hear(sum);
    return [=] {
        inTransaction([&] {
            for (std::string const& property : names)
                world->write(property);
        });
    };
}

Operation changeMirrored(std::size_t contexts)
{
    auto const world = std::make_shared<Mirrored>(contexts);
    return [=] { world->contexts[contexts / 2]->setPropertyValue("number", ++world->value); };
}

/// The path of one symbol goes on elsewhere, in contexts where many others end.
Operation repoint(std::size_t size)
{
    auto const world = std::make_shared<World>(0);
    std::vector<Provider> const targets{context(), context()};
    world->root->addProperty("child", targets[0]);
    for (std::size_t which : {0U, 1U}) {
        world->root->addProperty(name(which), targets[which]);
        targets[which]->addProperty("number", which);
        for (std::size_t i = 0; i < size; ++i) {
            targets[which]->addProperty(name(i), 0);
            world->hear(name(which) + "." + name(i));
        }
    }
    world->hear("child.number");
    return [=] { world->root->setPropertyValue("child", targets[static_cast<std::size_t>(++world->value % 2)]); };
}

Operation writeUnheard()
{
    Provider const written = context({{"number", 0}});
    return [written, value = std::make_shared<int>(0)] { written->setPropertyValue("number", ++*value); };
}

/// Long texts at the end of a path, and of one that leads nowhere.
Operation writeByPaths()
{
    Provider const leaf = context({{"text", ""}});
    Provider const middle = context({{"a component with a long name", leaf}});
    Provider const root = context({{"child", middle}});
    std::vector<std::string> const names{"child.a component with a long name.text", "child.none.at all"};
    std::vector<PropertyValue> const texts{std::string(200, 'x'), std::string(200, 'y')};
    return [=] {   // keeps the contexts
        for (std::string const& path : names)
            for (PropertyValue const& text : texts)
                root->setPropertyValue(path, text);
    };
}

/// Transactions inside each other, one of them rolled back, whose old values a listener reads.
Operation writeNested()
{
    struct OldValues : tarn::zero::Listener {
        OldValues() { ContextProvider::sharedModel()->addDeepListener(this); }
        ~OldValues() override { ContextProvider::sharedModel()->removeListener(this); }
        void transactionCommitted(tarn::zero::DeepChangeReport<Property> const& report)
        {
            for (tarn::zero::ReportEntry const entry : report.modified())
                sum += entry.peekOldValue<PropertyValue>(Property::Impl::VALUE)->getDouble();
        }
        double sum = 0;
    };
    return [world = std::make_shared<World>(3), listener = std::make_shared<OldValues>()] {
        world->write("property0");
        inTransaction([&] {
            world->write("property1");
            inTransaction([&] { world->write("property2"); });
            support::rolledBack([&] { world->write("property2"); });
        });
    };
}

TEST(SteadyStream, AllocatesNothing)
{
    for (Row const& row : {Row{"writes that nobody hears", [](auto) { return writeUnheard(); }},
                           {"one expression", writeHeard},
                           {"transactions of many writes", writeAll},
                           {"references that swing to and fro", [](auto) { return repoint(0); }},
                           {"changes in a mirror", changeMirrored},
                           {"dotted names", [](auto) { return writeByPaths(); }},
                           {"transactions in each other", [](auto) { return writeNested(); }}})
        for (std::size_t const size : {1U, 1000U}) {
            Operation const operation = warmed(row, size);
            std::size_t const before = support::allocationCount();
            for (int i = 0; i < 100; ++i)
                operation();
            EXPECT_EQ(support::allocationCount() - before, 0u) << row.name << ' ' << size;
        }
}

// ---- growth

#if defined(STUDIO_DATA_COUNTS_INSTRUCTIONS)

Operation writeElsewhere(std::size_t size)
{
    auto const world = std::make_shared<World>(size);
    world->hearAll(size);
    return [world, write = writeUnheard()] { write(); };
}

Operation writeOneOfMany(std::size_t size)
{
    auto const world = std::make_shared<World>(size);
    world->hearAll(size);
    return [=] { world->write("property27"); };
}

Operation acquireAndRelease(std::size_t size)
{
    auto const world = std::make_shared<World>(size);
    world->hearAll(size);
    return [=] {
        world->hear("property27 + 2");
        world->handles.pop_back();
    };
}

/// Further handles of a text that has many.
Operation acquireAndReleaseHandle(std::size_t size)
{
    auto const world = std::make_shared<World>(50);
    for (std::size_t i = 0; i < size; ++i)
        world->hear("property27 + 1");
    return [=] {
        world->hear("property27 + 1");
        world->handles.erase(world->handles.end() - 2);
    };
}

/// A context leaves the mirror, and comes back the next time.
Operation removeMirrored(std::size_t size)
{
    auto const world = std::make_shared<Mirrored>(size);
    return [=] {
        bool const leaves = ++world->value % 2 == 1;
        world->root->setPropertyValue("property27", leaves ? PropertyValue() : PropertyValue(world->contexts[27]));
    };
}

/// A property comes and goes in a context that a view mirrors.
Operation resizeMirrored(std::size_t size)
{
    auto const world = std::make_shared<Mirrored>(0);
    inTransaction([&] {
        for (std::size_t i = 0; i < size; ++i)
            world->root->addProperty(name(i), 0);
    });
    return [=] {
        world->root->addProperty("one more", ++world->value);
        world->root->removeProperty("one more");
    };
}

TEST(CostOfOne, DoesNotDependOnWhatThereIs)
{
    for (Row const& row : {Row{"write with expressions elsewhere", writeElsewhere},
                           {"write among expressions", writeOneOfMany},
                           {"expression among others", acquireAndRelease},
                           {"handle among others", acquireAndReleaseHandle},
                           {"reference among other symbols", repoint},
                           {"change in a mirror", changeMirrored},
                           {"reference that leaves a mirror", removeMirrored},
                           {"property that comes and goes in a mirror", resizeMirrored}}) {
        std::size_t const small = support::instructionsOf(warmed(row, 50));
        std::size_t const large = support::instructionsOf(warmed(row, 5'000));
        EXPECT_GT(small, 100u) << row.name << " was counted at all";
        EXPECT_LT(static_cast<double>(large), 1.3 * static_cast<double>(small))
            << row.name << ' ' << small << ' ' << large;
    }
}

TEST(Cost, OfADottedNameGrowsWithItsLength)
{
    Provider const root = support::context({{"end", 1}});
    root->addProperty("a", root);
    auto const cost = [&](std::size_t dots) {
        std::string name;
        for (std::size_t i = 0; i != dots; ++i)
            name += "a.";
        name += "end";
        return support::instructionsOf([&] {
            root->setPropertyValue(name, root->getPropertyValue(name));
            support::Provider const target = root;
            ExpressionEngine engine{target};
            static_cast<void>(engine.acquireExpression(name, [](auto const&...) {}));
        });
    };
    std::size_t const small = cost(20);
    std::size_t const large = cost(200);
    EXPECT_LT(large, 12 * small) << small << " and " << large;
}

#endif

}   // namespace
}   // namespace studio::data

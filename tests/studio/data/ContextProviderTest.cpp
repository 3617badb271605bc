#include "studio/data/ContextProvider.h"

#include "studio/data/ProviderRegistry.h"
#include "support/Allocations.h"
#include "support/ContextWatch.h"
#include "support/Contexts.h"
#include "support/Printers.h"
#include "tarn/zero/collections/PrimitiveSequence.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace studio::data {
namespace {

using namespace support;
using model::getContextProvider;
using Names = std::vector<std::string>;

// ---- own properties

TEST(ContextProvider, EachWriteIsOneReportAndAnUnchangedOneIsNone)
{
    Provider const provider = ContextProvider::create();
    struct Row {
        char const* name;
        std::function<void()> write;
        char const* heard;
    };
    auto const activate = [&](Names const& names) { return [=] { provider->setActiveContexts(names); }; };
    Row const rows[] = {
        {"add", [&] { provider->addProperty("x", 1); }, "+x; context"},
        {"add again", [&] { provider->addProperty("x", 2); }, ""},
        {"set", [&] { provider->setPropertyValue("x", 2); }, "x"},
        {"set again", [&] { provider->setPropertyValue("x", 2); }, ""},
        {"set undefined", [&] { provider->setPropertyValue("x", {}); }, "x"},
        {"activate", activate({"b", "a", "b", ""}), "context"},
        // By design: an equal list is written, and reported, too.
        {"activate again", activate({"b", "a", "b", ""}), "context"},
        {"deactivate", activate({}), "context"},
        {"nothing to deactivate", activate({}), ""},
        {"remove", [&] { provider->removeProperty("x"); }, "-x; context"},
    };
    ContextWatch watch;
    for (Row const& row : rows) {
        row.write();
        EXPECT_EQ(watch.take(), row.heard) << row.name;
    }
    EXPECT_FALSE(provider->hasProperty("x"));
}

TEST(ContextProvider, IsMadeUnderAnIdentityThatNobodyHas)
{
    Provider const living = context({{"x", 1}});
    boost::uuids::uuid const gone = context()->getId();
    boost::uuids::uuid const failed = deadEntry();
    std::size_t const before = ContextProvider::sharedModel()->elements().size();
    for (boost::uuids::uuid const& id : {boost::uuids::uuid{}, living->getId(), living->getProperty("x").Uuid()})
        EXPECT_THROW(static_cast<void>(ContextProvider::create(id)), std::invalid_argument);
    EXPECT_EQ(ContextProvider::sharedModel()->elements().size(), before);
    EXPECT_EQ(getContextProvider(living->getId()), living);
    for (boost::uuids::uuid const& id : {gone, failed}) {
        Provider const made = ContextProvider::create(id);
        EXPECT_TRUE(made->getId() == id && getContextProvider(id) == made && made->getPropertyNames().empty());
        EXPECT_THROW(static_cast<void>(ContextProvider::create(id)), std::invalid_argument);
    }
    EXPECT_EQ(getContextProvider(gone), nullptr);
}

TEST(ContextProvider, ListsOfContextsCompareByContent)
{
    Names const lists[] = {{}, {""}, {"a"}, {"a", "b"}, {"b", "a"}, {"a", "b", "b"}, {std::string("a\0", 2)}};
    for (Names const& left : lists)
        for (Names const& right : lists) {
            bool const same = &left == &right;
            EXPECT_TRUE(data::operator==(left, right) == same && data::operator!=(left, right) != same);
            tarn::zero::PrimitiveSequence<std::string> const one{left}, other{right};
            EXPECT_TRUE((one == other) == same && (one != other) != same);
        }
}

// ---- dotted names

TEST(DottedName, CallbackOfOneWriteMayDropEveryoneWhoComesAfter)
{
    Provider q = context({{"c", 0}});
    Provider p = context({{"b", q}, {"b.c", 0}});
    Provider r = context({{"a", p}, {"a.b.c", 0}});
    ContextProvider& root = *r;
    ContextWatch watch;
    watch.onProperties = [&](auto const&) { q.reset(), p.reset(), r.reset(); };
    root.setPropertyValue("a.b.c", 7);
    // Children on the way are held until they have been written; the provider that was called is not.
    EXPECT_EQ(watch.take(), "c; -a -a.b.c; -context; -c; -context; b.c; -b -b.c; -context");
}

/// Counts reports, without memory of its own.
struct Counter : tarn::zero::Listener {
    void transactionCommitted(tarn::zero::ShallowChangeReport<Property> const&) { ++count; }
    int count = 0;
};

TEST(DottedName, SteadyWritesAllocateNothing)
{
    PropertyValue const texts[] = {std::string(200, 'x'), std::string(200, 'y')};
    PropertyValue const numbers[] = {1, 2};
    Provider const leaf = context({{"text", texts[0]}});
    Provider const middle = context({{"a component with a long name", leaf}});
    Provider const root = context({{"child", middle}, {"number", numbers[0]}});
    struct Stream {
        std::string name;
        PropertyValue const* values;
        int reports;
    };
    Counter counter;
    ContextProvider::sharedModel()->addDeepListener(&counter);
    for (auto const& [name, values, reports] :
         {Stream{"number", numbers, 100}, Stream{"child.a component with a long name.text", texts, 100},
          Stream{"child.none.at all", numbers, 0}}) {
        std::size_t before = 0;
        for (std::size_t round = 0; round < 110; ++round) {
            if (round == 10) {
                before = allocationCount();
                counter.count = 0;
            }
            root->setPropertyValue(name, values[round % 2]);
        }
        EXPECT_EQ(allocationCount(), before) << name;
        EXPECT_EQ(counter.count, reports) << name;
    }
    ContextProvider::sharedModel()->removeListener(&counter);
}

// ---- the registry, and values that name providers

/// Looks itself up while it is destroyed, when its last owner has gone and its entry is still there.
struct SelfSeeking : ContextProvider {
    std::function<void()> onDestruction;
    ~SelfSeeking() override { onDestruction(); }
};

TEST(ProviderLifetime, ProviderWithoutOwnersCannotBeReached)
{
    auto provider = std::make_shared<SelfSeeking>();
    Provider const other = context({{"dying", Provider(provider)}, {"dying.x", 1}});
    PropertyValue const value = Provider(provider);
    bool entryWasThere = false;
    provider->onDestruction = [&] {
        entryWasThere = true;
        EXPECT_THROW(value.isContextProvider(), std::bad_weak_ptr);
        EXPECT_THROW(value.getContextProvider(), std::bad_weak_ptr);
        EXPECT_THROW(other->getPropertyValue("dying.x"), std::bad_weak_ptr);
        EXPECT_THROW(other->setPropertyValue("dying.x", 2), std::bad_weak_ptr);
    };
    bool entryIsGone = false;
    ContextWatch watch;
    watch.onContexts = [&](auto const&) { entryIsGone = !value.isContextProvider(); };
    provider.reset();
    EXPECT_TRUE(entryWasThere);
    EXPECT_TRUE(entryIsGone);
    EXPECT_EQ(other->getPropertyValue("dying.x"), PropertyValue(1));
}

TEST(ProviderRegistry, FindsWhoLivesAndKeepsNobodyAlive)
{
    EXPECT_EQ(getContextProvider(boost::uuids::uuid{}), nullptr);
    Provider provider = ContextProvider::create();
    boost::uuids::uuid const id = provider->getId();
    EXPECT_EQ(getContextProvider(id), provider);
    PropertyValue const value = provider;
    EXPECT_EQ(value, PropertyValue(id));
    EXPECT_TRUE(value.isContextProvider() && value.getContextProvider() == provider);
    EXPECT_EQ(PropertyValue(Provider()), PropertyValue());
    EXPECT_EQ(provider.use_count(), 1);

    provider.reset();
    EXPECT_EQ(getContextProvider(id), nullptr);
    for (PropertyValue const& none :
         {value, PropertyValue(), PropertyValue(boost::uuids::uuid{}), PropertyValue("x")}) {
        EXPECT_FALSE(none.isContextProvider());
        try {
            none.getContextProvider();
            ADD_FAILURE() << "accepted";
        } catch (std::invalid_argument const& refusal) {
            EXPECT_STREQ(refusal.what(), "Not a valid ContextProvider Id");
        }
    }
}

}   // namespace
}   // namespace studio::data

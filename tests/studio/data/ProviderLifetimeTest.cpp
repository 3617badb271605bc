#include "studio/data/ContextProvider.h"

#include "studio/data/ProviderRegistry.h"
#include "support/Allocations.h"
#include "support/ContextWatch.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace studio::data {
namespace {

using model::getContextProvider;
using Provider = std::shared_ptr<ContextProvider>;

tarn::zero::Model const& shared()
{
    return ContextProvider::sharedModel();
}

std::size_t elementCount()
{
    return shared()->elements().size();
}

// ---- making and dropping

TEST(ProviderLifetime, RunsFromOneReportToAnother)
{
    support::ContextWatch watch;
    Provider provider = ContextProvider::create();
    EXPECT_EQ(watch.takeHeard(), "+context");
    EXPECT_EQ(watch.last.Uuid(), provider->getId());
    EXPECT_EQ(provider->getModel(), shared());
    EXPECT_STREQ(provider->getTypeName(), "ContextProvider");
    EXPECT_STREQ(provider->getFullyQualifiedRookTypeName(), "studio.data.ContextProvider");
    provider->addProperty("a", 1);
    provider->addProperty("b", 2);
    Property const property = provider->getProperty("a");
    watch.takeHeard();
    provider.reset();
    EXPECT_EQ(watch.takeHeard(), "-a -b -context");
    EXPECT_FALSE(property);
    EXPECT_EQ(property->getValue(), PropertyValue(1));
}

/// Looks itself up while it is destroyed, when its last owner has gone and its entry is still there.
struct SelfSeeking : ContextProvider {
    std::function<void()> onDestruction;
    ~SelfSeeking() override { onDestruction(); }
};

TEST(ProviderLifetime, ProviderWithoutOwnersCannotBeReached)
{
    auto provider = std::make_shared<SelfSeeking>();
    Provider const other = ContextProvider::create();
    other->addProperty("dying", Provider(provider));
    other->addProperty("dying.x", 1);
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
    support::ContextWatch watch;
    watch.onContexts = [&] { entryIsGone = !value.isContextProvider(); };
    provider.reset();
    EXPECT_TRUE(entryWasThere);
    EXPECT_TRUE(entryIsGone);
    EXPECT_EQ(other->getPropertyValue("dying.x"), PropertyValue(1));
}

TEST(ProviderLifetime, TheHostHearsOfItsEnd)
{
    using namespace rook::factory::full;
    Provider provider = ContextProvider::create();
    struct Heard {
        Wrappable* awaited;
        int times = 0;
    } heard{provider.get()};
    auto const hear = [](void* data, Wrappable* object) noexcept {
        Heard& it = *static_cast<Heard*>(data);
        it.times += object == it.awaited;
    };
    RetractHook const before = installRetractHook({hear, &heard});
    provider.reset();
    installRetractHook(before);
    EXPECT_GT(heard.times, 0);
}

// ---- transactions around

TEST(ProviderLifetime, ProviderMadeInARolledBackTransactionIsEmptyAndInert)
{
    std::size_t const before = elementCount();
    Provider provider;
    Provider const parent = ContextProvider::create();
    {
        tarn::zero::Transaction const doomed = shared()->beginTransaction(true);
        provider = ContextProvider::create();
        provider->addProperty("x", 1);
        provider->setActiveContexts({"a"});
        EXPECT_EQ(provider->getPropertyValue("x"), PropertyValue(1));
    }
    parent->addProperty("child", provider);
    support::ContextWatch watch;
    EXPECT_EQ(getContextProvider(provider->getId()), provider);
    EXPECT_EQ(provider->getPropertyValue("x"), PropertyValue());
    EXPECT_EQ(parent->getPropertyValue("child.x"), PropertyValue());
    EXPECT_EQ(provider->getPropertyNames(), std::vector<std::string>{});
    EXPECT_EQ(provider->getActiveContexts(), std::vector<std::string>{});
    provider->addProperty("y", 1);
    provider->setPropertyValue("x", 1);
    parent->setPropertyValue("child.x", 1);
    provider->removeProperty("x");
    provider->setActiveContexts({"a"});
    EXPECT_FALSE(provider->hasProperty("y"));
    provider.reset();
    EXPECT_EQ(watch.takeHeard(), "");
    EXPECT_FALSE(parent->getPropertyValue("child").isContextProvider());
    EXPECT_EQ(elementCount(), before + 2);   // the parent and its property
}

// By design: a provider destroyed inside a transaction that rolls back leaves its element alive and unregistered.
TEST(ProviderLifetime, ElementOutlivesAProviderDestroyedInARolledBackTransaction)
{
    Provider provider = ContextProvider::create();
    provider->addProperty("x", 1);
    boost::uuids::uuid const id = provider->getId();
    {
        tarn::zero::Transaction const doomed = shared()->beginTransaction(true);
        provider.reset();
        EXPECT_FALSE(shared()->findElement(id, 1));
    }
    EXPECT_EQ(getContextProvider(id), nullptr);
    tarn::zero::ModelElement const element = shared()->findElement(id, 1);
    ASSERT_TRUE(element);
    EXPECT_EQ(static_cast<ContextData::Impl*>(element.get())->getProperties().size(), 1u);
    element->destroy();
}

// ---- failures

TEST(ProviderFailure, ListenerThatThrowsAtCreationLeavesNoElementAndADeadEntry)
{
    std::size_t const before = elementCount();
    boost::uuids::uuid id{};
    {
        support::ContextWatch watch;
        int reports = 0;
        watch.onContexts = [&] {
            id = watch.last.Uuid();
            EXPECT_THROW(getContextProvider(id), std::bad_weak_ptr);
            throw std::runtime_error(std::to_string(++reports));
        };
        try {
            ContextProvider::create();
            ADD_FAILURE() << "created";
        } catch (std::runtime_error const& first) {
            EXPECT_STREQ(first.what(), "1");
        }
        EXPECT_EQ(watch.takeHeard(), "+context -context");
    }
    EXPECT_EQ(elementCount(), before);
    EXPECT_THROW(getContextProvider(id), std::bad_weak_ptr);
    EXPECT_THROW(PropertyValue(id).isContextProvider(), std::bad_weak_ptr);
}

TEST(ProviderFailure, DestructionGoesOnWhateverListenersThrow)
{
    std::size_t const before = elementCount();
    Provider provider = ContextProvider::create();
    boost::uuids::uuid const id = provider->getId();
    support::ContextWatch watch;
    watch.onContexts = [] { throw std::runtime_error("deaf"); };
    provider.reset();
    EXPECT_EQ(watch.takeHeard(), "-context");
    EXPECT_EQ(getContextProvider(id), nullptr);
    EXPECT_EQ(elementCount(), before);
}

TEST(ProviderFailure, ExceptionOfAListenerLeavesTheWriteDone)
{
    Provider const provider = ContextProvider::create();
    support::ContextWatch watch;
    watch.onProperties = [] { throw std::runtime_error("deaf"); };
    EXPECT_THROW(provider->addProperty("x", 1), std::runtime_error);
    EXPECT_EQ(provider->getPropertyValue("x"), PropertyValue(1));
    EXPECT_THROW(provider->setPropertyValue("x", 2), std::runtime_error);
    EXPECT_EQ(provider->getPropertyValue("x"), PropertyValue(2));
}

Provider s_created;   // what an operation made, dropped when nothing fails any more

struct Operation {
    char const* name;
    std::function<void(ContextProvider&)> run;
};
class ProviderOutOfMemory : public testing::TestWithParam<Operation> {
protected:
    void TearDown() override { s_created.reset(); }
};

/// All that a provider shows, as text.
std::string shown(ContextProvider const& provider)
{
    std::string text;
    for (std::string const& name : provider.getPropertyNames())
        text += name + '=' + provider.getPropertyValue(name).asString() + ' ';
    for (std::string const& context : provider.getActiveContexts())
        text += '[' + context + ']';
    return text;
}

TEST_P(ProviderOutOfMemory, EveryAllocationMayFailAndNothingIsHalfDone)
{
    std::string const longText(100, 'x');
    for (std::size_t skipped = 0;; ++skipped) {
        s_created.reset();
        Provider const provider = ContextProvider::create();
        provider->addProperty("present", longText);
        provider->addProperty("child", provider);
        provider->setActiveContexts({longText, "a"});
        std::string const before = shown(*provider);
        std::size_t const elementsBefore = elementCount();
        bool failed = false;
        {
            support::FailingAllocation const failing{skipped};
            try {
                GetParam().run(*provider);
            } catch (std::bad_alloc const&) {
                failed = true;
            }
            if (!failing.happened())
                break;
        }
        ASSERT_TRUE(failed) << skipped;
        ASSERT_EQ(shown(*provider), before) << skipped;
        ASSERT_EQ(elementCount(), elementsBefore) << skipped;
        GetParam().run(*provider);   // and it still works
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, ProviderOutOfMemory,
    testing::Values(Operation{"Create", [](ContextProvider&) { s_created = ContextProvider::create(); }},
                    Operation{"Add", [](ContextProvider& provider) { provider.addProperty("new", "a value"); }},
                    Operation{
                        "Set",
                        [](ContextProvider& provider) { provider.setPropertyValue("present", std::string(200, 'y')); }},
                    Operation{"SetDotted",
                              [](ContextProvider& provider) {
                                  provider.setPropertyValue("child.child.present", std::string(200, 'z'));
                              }},
                    Operation{"Remove", [](ContextProvider& provider) { provider.removeProperty("present"); }},
                    Operation{"Activate",
                              [](ContextProvider& provider) {
                                  provider.setActiveContexts({"b", std::string(100, 'c'), "d"});
                              }}),
    [](auto const& info) { return info.param.name; });

TEST(ProviderFailure, OutOfMemoryDestructionStillTakesTheProviderOutOfTheRegistry)
{
    for (std::size_t skipped = 0;; ++skipped) {
        Provider provider = ContextProvider::create();
        provider->addProperty("x", 1);
        boost::uuids::uuid const id = provider->getId();
        support::FailingAllocation const failing{skipped};
        provider.reset();
        bool const happened = failing.happened();
        EXPECT_EQ(getContextProvider(id), nullptr);
        if (!happened)
            break;
    }
}

// ---- the end of the process

Provider& keptUntilExit()
{
    static Provider s_provider;
    return s_provider;
}

TEST(ProviderExitDeathTest, StaticProvidersMayGoInAnyOrder)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";   // a fresh process, in which nothing is built yet
    auto const end = [](bool holderFirst) {
        if (holderFirst)
            keptUntilExit();   // goes after everything that its provider needs
        Provider provider = ContextProvider::create();
        provider->addProperty("self", provider);
        provider->setActiveContexts({"a"});
        keptUntilExit() = std::move(provider);
        std::exit(0);
    };
    EXPECT_EXIT(end(true), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(end(false), testing::ExitedWithCode(0), "");
}

}   // namespace
}   // namespace studio::data

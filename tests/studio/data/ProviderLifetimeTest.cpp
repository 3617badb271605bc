#include "studio/data/ContextProvider.h"

#include "studio/data/ProviderRegistry.h"
#include "support/ContextWatch.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

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

}   // namespace
}   // namespace studio::data

#include "studio/data/ContextProvider.h"

#include "studio/data/ProviderRegistry.h"
#include "support/ContextWatch.h"
#include "support/Contexts.h"
#include "support/Printers.h"
#include "support/Refusals.h"
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
        EXPECT_EQ(refusalOf<std::invalid_argument>([&] { none.getContextProvider(); }),
                  "Not a valid ContextProvider Id");
    }
}

}   // namespace
}   // namespace studio::data

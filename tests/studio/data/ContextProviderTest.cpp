#include "studio/data/ContextProvider.h"

#include "studio/data/ProviderRegistry.h"
#include "support/Allocations.h"
#include "support/ContextWatch.h"
#include "support/Printers.h"
#include "tarn/zero/collections/PrimitiveSequence.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace studio::data {
namespace {

using model::getContextProvider;
using Names = std::vector<std::string>;
using Provider = std::shared_ptr<ContextProvider>;

Provider providerWith(std::initializer_list<std::pair<char const*, PropertyValue>> properties)
{
    Provider provider = ContextProvider::create();
    for (auto const& [name, value] : properties)
        provider->addProperty(name, value);
    return provider;
}

ContextData contextOf(ContextProvider const& provider)
{
    tarn::zero::ModelElement const element = ContextProvider::sharedModel()->findElement(provider.getId(), 1);
    return ContextData{static_cast<ContextData::Impl*>(element.get())};
}

// ---- own properties

TEST(ContextProvider, UnknownNamesAreNoErrors)
{
    Provider const provider = ContextProvider::create();
    support::ContextWatch watch;
    for (char const* name : {"", "x", "x.y", ".", "x.", "..."}) {
        EXPECT_EQ(provider->getPropertyValue(name), PropertyValue()) << name;
        EXPECT_FALSE(provider->hasProperty(name)) << name;
        EXPECT_FALSE(provider->getProperty(name)) << name;
        EXPECT_EQ(provider->getChildContextProvider(name), nullptr) << name;
        provider->setPropertyValue(name, 1);
        provider->removeProperty(name);
    }
    EXPECT_EQ(provider->getPropertyNames(), Names{});
    EXPECT_EQ(watch.takeHeard(), "");
}

TEST(ContextProvider, EachWriteIsOneReportAndAnUnchangedOneIsNone)
{
    Provider const provider = ContextProvider::create();
    support::ContextWatch watch;
    auto const reports = [&](char const* step, char const* expected) {
        EXPECT_EQ(watch.takeHeard(), expected) << step;
    };
    provider->addProperty("x", 1);
    reports("add", "+x context");
    provider->addProperty("x", 2);
    reports("add again", "");
    EXPECT_EQ(provider->getPropertyValue("x"), PropertyValue(1));
    provider->setPropertyValue("x", 2);
    reports("set", "x");
    provider->setPropertyValue("x", 2);
    reports("set again", "");
    provider->setPropertyValue("x", {});
    reports("set undefined", "x");
    EXPECT_TRUE(provider->hasProperty("x"));
    provider->setActiveContexts({"b", "a", "b", ""});
    reports("activate", "context");
    EXPECT_EQ(provider->getActiveContexts(), (Names{"b", "a", "b", ""}));
    // By design: an equal list is written, and reported, too.
    provider->setActiveContexts({"b", "a", "b", ""});
    reports("activate again", "context");
    provider->setActiveContexts({});
    reports("deactivate", "context");
    provider->setActiveContexts({});
    reports("nothing to deactivate", "");
    provider->removeProperty("x");
    reports("remove", "-x context");
    EXPECT_FALSE(provider->hasProperty("x"));
}

TEST(ContextProvider, NamesAreSortedByBytes)
{
    Provider const provider = providerWith({{"b", 1}, {"", 1}, {"a.b", 1}, {"B", 1}, {"\xC3\xA9", 1}, {"a", 1}});
    EXPECT_EQ(provider->getPropertyNames(), (Names{"", "B", "a", "a.b", "b", "\xC3\xA9"}));
}

TEST(ContextProvider, ListsOfContextsCompareByContent)
{
    Provider const left = ContextProvider::create();
    Provider const right = ContextProvider::create();
    Names const lists[] = {{}, {""}, {"a"}, {"a", "b"}, {"b", "a"}, {"a", "b", "b"}, {std::string("a\0", 2)}};
    for (Names const& ofLeft : lists) {
        for (Names const& ofRight : lists) {
            bool const same = &ofLeft == &ofRight;
            EXPECT_EQ(data::operator==(ofLeft, ofRight), same);
            EXPECT_EQ(data::operator!=(ofLeft, ofRight), !same);
            left->setActiveContexts(ofLeft);
            right->setActiveContexts(ofRight);
            auto const& leftSequence = contextOf(*left)->getActiveContexts();
            auto const& rightSequence = contextOf(*right)->getActiveContexts();
            EXPECT_EQ(leftSequence == rightSequence, same);
            EXPECT_EQ(leftSequence != rightSequence, !same);
        }
    }
}

// ---- dotted names

TEST(DottedName, LeadsThroughAChildForAsLongAsItLives)
{
    Provider child = providerWith({{"p", 1}});
    Provider const parent = providerWith({{"child", child}, {"alias", child->getId()}, {"number", 3}});
    EXPECT_EQ(parent->getChildContextProvider("child"), child);
    EXPECT_EQ(parent->getChildContextProvider("alias"), child);
    EXPECT_EQ(parent->getChildContextProvider("number"), nullptr);
    parent->setPropertyValue("child.p", 2);
    EXPECT_EQ(parent->getPropertyValue("alias.p"), PropertyValue(2));
    EXPECT_EQ(child->getPropertyValue("p"), PropertyValue(2));

    child.reset();
    EXPECT_EQ(parent->getChildContextProvider("child"), nullptr);
    EXPECT_EQ(parent->getPropertyValue("child.p"), PropertyValue());
    EXPECT_TRUE(parent->getPropertyValue("child").isUUID());
}

TEST(DottedName, IsWrittenFromItsEndOutward)
{
    Provider const q = providerWith({{"c", 0}});
    Provider const p = providerWith({{"b", q}, {"b.c", 0}});
    Provider const r = providerWith({{"a", p}, {"a.b.c", 0}});
    support::ContextWatch watch;
    r->setPropertyValue("a.b.c", 7);
    EXPECT_EQ(watch.takeHeard(), "c b.c a.b.c");
    // By design: a property whose own name has the dots hides what the dots lead to.
    r->setPropertyValue("a.b.c", "own");
    q->setPropertyValue("c", "far");
    EXPECT_EQ(r->getPropertyValue("a.b.c"), PropertyValue("own"));
    r->removeProperty("a.b.c");
    EXPECT_EQ(r->getPropertyValue("a.b.c"), PropertyValue("own"));   // that of p
    p->removeProperty("b.c");
    EXPECT_EQ(r->getPropertyValue("a.b.c"), PropertyValue("far"));
}

/// The definition, word for word: first the child is asked for the tail, then the whole name decides.
PropertyValue readByDefinition(ContextProvider const& provider, std::string const& name)
{
    PropertyValue result;
    std::size_t const dot = name.find('.');
    if (dot != std::string::npos)
        if (Provider const child = provider.getChildContextProvider(name.substr(0, dot)))
            result = readByDefinition(*child, name.substr(dot + 1));
    if (Property const property = provider.getProperty(name))
        result = property->getValue();
    return result;
}

std::string writesByDefinition(ContextProvider const& provider, std::string const& name, std::vector<Property>& written)
{
    std::string heard;
    std::size_t const dot = name.find('.');
    if (dot != std::string::npos)
        if (Provider const child = provider.getChildContextProvider(name.substr(0, dot)))
            heard = writesByDefinition(*child, name.substr(dot + 1), written);
    Property const property = provider.getProperty(name);
    if (property && std::find(written.begin(), written.end(), property) == written.end()) {
        written.push_back(property);
        heard += heard.empty() ? name : ' ' + name;
    }
    return heard;
}

TEST(DottedName, FollowsItsDefinitionInEveryGraph)
{
    std::minstd_rand random{977};
    auto const below = [&](std::size_t limit) { return static_cast<std::size_t>(random()) % limit; };
    Names const names{"", "a", "b", "a.b", "b.", ".a", "a.b.a", ".", "b.a"};
    std::vector<Provider> providers;
    std::generate_n(std::back_inserter(providers), 4, &ContextProvider::create);
    support::ContextWatch watch;
    for (int round = 0; round < 4000; ++round) {
        ContextProvider& changed = *providers[below(providers.size())];
        std::string const& property = names[below(names.size())];
        if (changed.hasProperty(property) && below(3) == 0)
            changed.removeProperty(property);
        else if (changed.hasProperty(property))
            changed.getProperty(property)->setValue(providers[below(providers.size())]);
        else
            changed.addProperty(property, below(4) == 0 ? PropertyValue(round) : providers[below(providers.size())]);

        std::string path;
        for (std::size_t length = below(9); length > 0; --length)
            path += "ab."[below(3)];
        ContextProvider& root = *providers[below(providers.size())];
        ASSERT_EQ(root.getPropertyValue(path), readByDefinition(root, path)) << round << ' ' << path;
        if (below(4) == 0) {
            watch.takeHeard();
            std::vector<Property> written;
            std::string const expected = writesByDefinition(root, path, written);
            root.setPropertyValue(path, round + 0.5);
            ASSERT_EQ(watch.takeHeard(), expected) << round << ' ' << path;
            for (Property const& one : written)
                ASSERT_EQ(one->getValue(), PropertyValue(round + 0.5)) << round << ' ' << path;
        }
    }
}

TEST(DottedName, MayHaveAnyNumberOfDots)
{
    Provider const provider = providerWith({{"end", 1}});
    provider->addProperty("a", provider);
    std::string name;
    for (int i = 0; i < 100'000; ++i)
        name += "a.";
    provider->setPropertyValue(name + "end", 2);
    EXPECT_EQ(provider->getPropertyValue("end"), PropertyValue(2));
    EXPECT_EQ(provider->getPropertyValue(name + "end"), PropertyValue(2));
    EXPECT_EQ(provider->getPropertyValue(name), PropertyValue());
}

TEST(DottedName, CallbackOfOneWriteMayDropEveryoneWhoComesAfter)
{
    Provider q = providerWith({{"c", 0}});
    Provider p = providerWith({{"b", q}, {"b.c", 0}});
    Provider r = providerWith({{"a", p}, {"a.b.c", 0}});
    ContextProvider& root = *r;
    support::ContextWatch watch;
    watch.onProperties = [&] { q.reset(), p.reset(), r.reset(); };
    root.setPropertyValue("a.b.c", 7);
    // Children on the way are held until they have been written; the provider that was called is not.
    EXPECT_EQ(watch.takeHeard(), "c -a -a.b.c -context -c -context b.c -b -b.c -context");
}

/// Counts reports, without memory of its own.
struct Counter : tarn::zero::Listener {
    using Reports = tarn::zero::ReportList<tarn::zero::ShallowChangeReport<Property>>;
    void transactionCommitted(tarn::zero::ShallowChangeReport<Property> const&) { ++count; }
    int count = 0;
};

TEST(DottedName, SteadyWritesAllocateNothing)
{
    PropertyValue const texts[] = {std::string(200, 'x'), std::string(200, 'y')};
    PropertyValue const numbers[] = {1, 2};
    Provider const leaf = providerWith({{"text", texts[0]}});
    Provider const middle = providerWith({{"a component with a long name", leaf}});
    Provider const root = providerWith({{"child", middle}, {"number", numbers[0]}});
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
                before = support::allocationCount();
                counter.count = 0;
            }
            root->setPropertyValue(name, values[round % 2]);
        }
        EXPECT_EQ(support::allocationCount(), before) << name;
        EXPECT_EQ(counter.count, reports) << name;
    }
    ContextProvider::sharedModel()->removeListener(&counter);
}

// ---- the registry, and values that name providers

TEST(ProviderRegistry, FindsWhoLivesAndKeepsNobodyAlive)
{
    EXPECT_EQ(getContextProvider(boost::uuids::uuid{}), nullptr);
    Provider provider = ContextProvider::create();
    boost::uuids::uuid const id = provider->getId();
    {
        Provider const found = getContextProvider(id);
        EXPECT_EQ(found, provider);
        EXPECT_EQ(provider.use_count(), 2);
    }
    PropertyValue const value = provider;
    EXPECT_EQ(value, PropertyValue(id));
    EXPECT_TRUE(value.isContextProvider());
    EXPECT_EQ(value.getContextProvider(), provider);
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

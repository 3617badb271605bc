#include "studio/data/ContextView.h"
#include "support/LiteralView.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <boost/none.hpp>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>
#include <utility>

namespace studio::data {
namespace {

using Id = boost::uuids::uuid;
using Provider = std::shared_ptr<ContextProvider>;
using Handle = std::unique_ptr<ContextHandleImpl>;
using support::LiteralView;

/// A view beside the literal one, compared after every commit, and both with the sources.
class Walk {
public:
    explicit Walk(unsigned seed) : random{seed} {}

    void run(int steps)
    {
        for (int step = 0; step != steps && !testing::Test::HasFailure(); ++step) {
            SCOPED_TRACE("step " + std::to_string(step));
            switch (upTo(8)) {
            case 0: acquire(); break;
            case 1: release(); break;
            default: transaction(); break;
            }
            compare();
        }
        while (!handles.empty() && !testing::Test::HasFailure()) {
            release();
            compare();
        }
        EXPECT_TRUE(literal.clones.empty());
    }

private:
    int upTo(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }
    bool chance(int percent) { return upTo(100) < percent; }
    std::string name() { return std::string(1, static_cast<char>('a' + upTo(5))); }
    Id anyId() { return ids[static_cast<std::size_t>(upTo(static_cast<int>(ids.size())))]; }
    Provider& any() { return providers[static_cast<std::size_t>(upTo(static_cast<int>(providers.size())))]; }

    PropertyValue value()
    {
        switch (upTo(7)) {
        case 0: return chance(30) ? PropertyValue("text") : PropertyValue();
        case 1: return upTo(3);
        default: return anyId();
        }
    }

    void acquire()
    {
        Id const id = anyId();
        Handle handle = view.acquire(id, nullptr);
        ASSERT_EQ(handle != nullptr, literal.acquire(id));
        if (handle)
            handles.emplace_back(id, std::move(handle));
    }
    void release()
    {
        if (handles.empty())
            return;
        auto const at = handles.begin() + upTo(static_cast<int>(handles.size()));
        Id const id = at->first;
        if (chance(50))
            at->second->release();
        handles.erase(at);
        literal.release(id);
    }

    void transaction()
    {
        bool const kept = chance(90);
        tarn::zero::Transaction transaction = ContextProvider::sharedModel()->beginTransaction(true);
        for (int count = 1 + upTo(5); count != 0; --count) {
            bool const innerKept = chance(90);
            tarn::zero::Transaction inner = ContextProvider::sharedModel()->beginTransaction(true);
            change(kept && innerKept);
            if (innerKept)
                inner.commit(boost::none);
        }
        if (kept) {
            // Last: what is acquired inside of a transaction sees it, and hears nothing of what is taken back in it.
            if (chance(20))
                acquire();
            transaction.commit(boost::none);
        }
    }
    void change(bool kept)
    {
        Provider& provider = any();
        switch (upTo(12)) {
        case 0: provider->removeProperty(name()); break;
        case 1: provider->setActiveContexts(std::vector<std::string>(static_cast<std::size_t>(upTo(3)), name())); break;
        case 2: rename(*provider); break;
        case 3: move(*provider); break;
        case 4: {   // replaced under its name
            std::string const replaced = name();
            provider->removeProperty(replaced);
            provider->addProperty(replaced, value());
            break;
        }
        case 5: provider->addProperty(name(), value()); break;
        case 9:
            if (chance(40)) {
                // A roll back brings the element back, and not the provider.
                provider = ContextProvider::create();
                ids.push_back(provider->getId());
            }
            break;
        case 10:
            if (kept)
                release();
            break;
        default:
            if (provider->hasProperty("a") || chance(50))
                provider->setPropertyValue(name(), value());
            else
                provider->addProperty("a", value());
        }
    }
    void rename(ContextProvider& provider)
    {
        Property const property = provider.getProperty(name());
        std::string const other = name();
        if (!property)
            return;
        if (Property const taken = provider.getProperty(other); taken && !(taken == property)) {
            std::string const old = property->getName();
            property->setName("swap");
            taken->setName(old);
        }
        property->setName(other);
    }
    void move(ContextProvider& from)
    {
        Property const property = from.getProperty(name());
        Provider const& to = any();
        if (property && !to->hasProperty(property->getName()))
            property->setOwner(ContextData{LiteralView::source(to->getId())});
    }

    void compare()
    {
        for (Id const& id : ids) {
            auto const expected = literal.clones.find(id);
            ContextData const found = view.getData(id);
            EXPECT_EQ(LiteralView::text(found),
                      expected == literal.clones.end() ? "none" : LiteralView::text(expected->second));
            if (expected != literal.clones.end() && LiteralView::source(id))
                compareWithSource(expected->second, LiteralView::read(*LiteralView::source(id)));
        }
        ContextView::IdSet pending{ids.begin(), ids.end()};
        for (auto const& entry : literal.records)
            view.removeDescendents(view.getRecord(entry.first), pending);
        for (auto const& entry : literal.records)
            EXPECT_EQ(pending.count(entry.first), 0u);
    }
    void compareWithSource(LiteralView::Clone clone, LiteralView::Clone source)
    {
        if (clone.active.empty())
            source.active.clear();   // a fresh clone
        bool const onlyRenamed = clone.properties.size() == 1 && source.properties.size() == 1 &&
                                 clone.properties.begin()->second.id == source.properties.begin()->second.id;
        if (onlyRenamed)
            EXPECT_EQ(clone.properties.begin()->second.value, source.properties.begin()->second.value);
        else
            EXPECT_EQ(LiteralView::text(clone), LiteralView::text(source));
    }

    std::mt19937 random;
    std::vector<Provider> providers{ContextProvider::create(), ContextProvider::create(), ContextProvider::create(),
                                    ContextProvider::create(), ContextProvider::create(), ContextProvider::create()};
    std::vector<Id> ids = [this] {
        std::vector<Id> list;
        for (Provider const& provider : providers)
            list.push_back(provider->getId());
        return list;
    }();
    ContextView view{tarn::zero::Model{}};
    LiteralView literal;
    std::vector<std::pair<Id, Handle>> handles;
};

TEST(ViewWalk, ShowsWhatTheLiteralWalkShows)
{
    for (unsigned seed = 1; seed != 25 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Walk(seed).run(300);
    }
}

/// STUDIO_DATA_SEED repeats a run.
TEST(ViewWalk, ShowsItForASeedOfTheDay)
{
    char const* const given = std::getenv("STUDIO_DATA_SEED");
    auto const seed =
        given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10))
              : static_cast<unsigned>(std::chrono::system_clock::now().time_since_epoch().count() % 1000000);
    std::cout << "seed " << seed << '\n';
    SCOPED_TRACE("seed " + std::to_string(seed));
    Walk(seed).run(2000);
}

}   // namespace
}   // namespace studio::data

#include "studio/data/ContextView.h"
#include "studio/data/ExpressionEngine.h"

#include "studio/data/HandleRecord.h"
#include "support/Allocations.h"
#include "support/LiteralView.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <boost/none.hpp>

#include <chrono>
#include <functional>

namespace studio::data {
namespace {

using Id = boost::uuids::uuid;
using Provider = std::shared_ptr<ContextProvider>;
using Handle = std::unique_ptr<ContextHandleImpl>;
using support::LiteralView;

tarn::zero::Model const& shared()
{
    return ContextProvider::sharedModel();
}

void inTransaction(tarn::zero::Model const& model, std::function<void()> const& work)
{
    tarn::zero::Transaction transaction = model->beginTransaction(true);
    work();
    transaction.commit(boost::none);
}

/// A view and a few contexts, as most tests need them.
class View : public testing::Test {
protected:
    Provider context(PropertyValue const& child = PropertyValue())
    {
        Provider provider = ContextProvider::create();
        provider->addProperty("n", 1);
        if (!child.isUndefined())
            provider->addProperty("child", child);
        return provider;
    }
    Handle acquire(Provider const& provider) { return view->acquire(provider->getId(), nullptr); }
    PropertyValue read(Provider const& provider, std::string const& name)
    {
        ContextData const data = view->getData(provider->getId());
        Property::Impl const* const property = data ? data->getProperties().findImpl(name) : nullptr;
        return property ? property->getValue() : PropertyValue("nothing there");
    }
    bool mirrors(Provider const& provider) { return static_cast<bool>(view->getData(provider->getId())); }
    std::size_t elements() { return model->elements().size(); }

    tarn::zero::Model model = tarn::zero::Model::create(tarn::zero::ModelSpec{});
    std::unique_ptr<ContextView> view = ContextView::create(model);
};

TEST_F(View, HandlesOfOneContextShareRecordAndClone)
{
    Provider const leaf = context();
    Provider const root = context(leaf);
    Handle first = acquire(root);
    Handle second = acquire(root);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->getData(), second->getData());
    EXPECT_EQ(view->getRecord(root->getId())->handles.size(), 2u);
    first.reset();
    EXPECT_TRUE(mirrors(root) && mirrors(leaf));
    second->release();
    EXPECT_EQ(view->getRecord(root->getId()), nullptr);
    EXPECT_FALSE(mirrors(root) || mirrors(leaf));
    EXPECT_EQ(elements(), 0u);
    EXPECT_FALSE(second->getData());
    Handle const third = acquire(root);
    EXPECT_EQ(second->getData(), third->getData()) << "after release it still answers what the view mirrors";
}

TEST_F(View, ClonesKeepTheUuidsAlsoOfWhatWasReplacedRenamedOrMoved)
{
    Provider const root = context();
    Provider const other = context();
    root->addProperty("old", 1);
    Handle const handles[] = {acquire(root), acquire(other)};
    inTransaction(shared(), [&] {
        other->removeProperty("n");
        root->getProperty("n")->setOwner(ContextData{LiteralView::source(other->getId())});
        root->getProperty("old")->setName("new");
        root->addProperty("n", 5);
    });
    for (Provider const& provider : {root, other})
        for (std::string const& name : provider->getPropertyNames()) {
            tarn::zero::ModelElement const found = model->findElement(provider->getProperty(name).Uuid(), 1);
            EXPECT_EQ(found, view->getData(provider->getId())->getProperties().find(name)) << name;
        }
    EXPECT_EQ(elements(), 5u);
}

TEST_F(View, AsksForALivingProvider)
{
    Provider doomed;
    {
        tarn::zero::Transaction const rolledBack = shared()->beginTransaction(true);
        doomed = context();
    }
    Id const gone = context()->getId();
    for (Id const& id : {Id{}, gone, doomed->getId()})
        EXPECT_EQ(view->acquire(id, nullptr), nullptr);
    EXPECT_EQ(elements(), 0u);
    view->release(nullptr);
    view->destroyRecord(nullptr);
}

// By design: the active contexts of a fresh clone are empty until its source is modified next.
TEST_F(View, FreshCloneHasNoActiveContexts)
{
    Provider const root = context();
    root->setActiveContexts({"x", "y"});
    Handle const handle = acquire(root);
    EXPECT_FALSE(handle->getData()->hasActiveContexts());
    root->setPropertyValue("n", 2);
    EXPECT_FALSE(handle->getData()->hasActiveContexts());
    root->addProperty("any", 1);
    EXPECT_EQ(handle->getData()->getActiveContexts().size(), 2u);
}

// By design: the clone of a context whose provider has died stays until the next look.
TEST_F(View, CloneOfADeadProviderStaysUntilTheNextLook)
{
    Provider child = context();
    Provider const root = context(child);
    Provider const other = context();
    Handle const handle = acquire(root);
    Id const id = child->getId();
    child.reset();
    root->setPropertyValue("child", 0);
    EXPECT_TRUE(view->getData(id));
    acquire(other).reset();
    EXPECT_FALSE(view->getData(id));
}

// By design: acquiring a context that was reached through another one leaves a second clone of it in the model.
TEST_F(View, AcquiringWhatWasReachedLeavesACopy)
{
    Provider const leaf = context();
    Provider const middle = context(leaf);
    Provider const root = context(middle);
    Handle const handle = acquire(root);
    ContextData const clone = view->getData(middle->getId());
    std::size_t const before = elements();
    Handle second = acquire(middle);
    EXPECT_EQ(second->getData(), clone);
    EXPECT_EQ(elements(), before + 3) << "the context and its two properties";
    EXPECT_EQ(model->findElement(middle->getId(), 1), clone);
    middle->setPropertyValue("n", 7);
    EXPECT_EQ(read(middle, "n"), PropertyValue(7));
    second.reset();
    EXPECT_EQ(elements(), before + 3);
}

// By design: renaming the only property of a context is not followed until the context itself is modified.
TEST_F(View, RenamingTheOnlyPropertyIsNotFollowed)
{
    Provider const root = context();
    Handle const handle = acquire(root);
    root->getProperty("n")->setName("m");
    root->setPropertyValue("m", 2);
    EXPECT_EQ(read(root, "n"), PropertyValue(2)) << "found by its UUID";
    root->setActiveContexts({"x"});
    EXPECT_EQ(read(root, "m"), PropertyValue(2));
}

TEST_F(View, ChangedNumberAllocatesNothing)
{
    Provider const child = context();
    Provider const root = context(child);
    Handle const handle = acquire(root);
    auto const write = [&](int value) {
        std::size_t const before = support::allocationCount();
        child->setPropertyValue("n", value);
        return support::allocationCount() - before;
    };
    for (int value = 10; value != 20; ++value)
        write(value);
    EXPECT_EQ(write(20), 0u);
    EXPECT_EQ(read(child, "n"), PropertyValue(20));
}

TEST_F(View, WalksChainsOfAnyLength)
{
    constexpr int LENGTH = 100000;
    std::vector<Provider> chain;
    inTransaction(shared(), [&] {
        for (int i = 0; i != LENGTH; ++i)
            chain.push_back(context(chain.empty() ? PropertyValue() : PropertyValue(chain.back())));
    });
    Handle handle = acquire(chain.back());
    EXPECT_TRUE(mirrors(chain.front()));
    ContextView::IdSet pending{chain.front()->getId(), chain[1]->getId()};
    view->removeDescendents(view->getData(chain[1]->getId()), pending);
    EXPECT_EQ(pending.size(), 1u);
    chain[LENGTH / 2]->setPropertyValue("child", 0);
    EXPECT_TRUE(mirrors(chain[LENGTH / 2]));
    EXPECT_FALSE(mirrors(chain[LENGTH / 2 - 1]) || mirrors(chain.front()));
    handle.reset();
    EXPECT_EQ(elements(), 0u);
    inTransaction(shared(), [&] { chain.clear(); });
}

/// The cost of a reference that goes does not depend on what the rest of the mirror is like.
TEST_F(View, LooksOnlyAtWhatHungOnAReference)
{
    std::vector<Provider> children;
    Provider const root = context();
    inTransaction(shared(), [&] {
        for (int i = 0; i != 5000; ++i) {
            children.push_back(context(root));   // each leads back to the root, and so to everything
            root->addProperty("c" + std::to_string(i), children.back());
        }
    });
    Handle const handle = acquire(root);
    auto const timed = [&](int rounds, std::function<void()> const& work) {
        auto const start = std::chrono::steady_clock::now();
        for (int i = 0; i != rounds; ++i)
            work();
        return (std::chrono::steady_clock::now() - start) / rounds;
    };
    ContextView::IdSet pending;
    auto const walk = timed(1, [&] {
        for (Provider const& child : children)
            pending.insert(child->getId());
        view->removeDescendents(view->getData(root->getId()), pending);
    });
    EXPECT_TRUE(pending.empty());
    auto const swap = timed(200, [&] {
        root->setPropertyValue("c7", 0);
        root->setPropertyValue("c7", children[7]);
    });
    EXPECT_LT(swap, walk);
    EXPECT_TRUE(mirrors(children[7]));
}

// ---- what goes wrong

TEST_F(View, ShortOfMemoryItKeepsWhatItHad)
{
    Provider const leaf = context();
    Provider const root = context(leaf);
    leaf->addProperty("up", root);
    Provider const other = context();
    Id const id = root->getId();
    bool whole = false;
    for (std::size_t skipped = 0; !whole; ++skipped) {
        Handle handle;
        {
            support::FailingAllocation const failing(skipped);
            try {
                handle = view->acquire(id, nullptr);
            } catch (std::bad_alloc const&) {}
            whole = !failing.happened();
        }
        if (!handle) {
            EXPECT_EQ(view->getRecord(id), nullptr) << skipped;
            EXPECT_FALSE(mirrors(root) || mirrors(leaf)) << skipped;
        }
        handle = acquire(root);
        ASSERT_TRUE(mirrors(root) && mirrors(leaf)) << skipped;
        {
            support::FailingAllocation const failing(skipped);
            try {
                root->setPropertyValue("child", 0);
            } catch (std::bad_alloc const&) {}
            whole &= !failing.happened();
        }
        acquire(other).reset();   // another look for orphans
        EXPECT_TRUE(mirrors(leaf) || !read(root, "child").isUUID()) << skipped;
        root->setPropertyValue("child", 1);
        EXPECT_EQ(read(root, "child"), PropertyValue(1)) << skipped;
        root->setPropertyValue("child", leaf);
        EXPECT_TRUE(mirrors(leaf)) << skipped;
        handle.reset();
        acquire(other).reset();   // another look
        EXPECT_FALSE(mirrors(root) || mirrors(leaf)) << skipped;
    }
}

TEST_F(View, RollBackOfAnothersTransactionOnItsModelIsSurvived)
{
    Provider const leaf = context();
    Provider const root = context(leaf);
    Handle handle;
    {
        tarn::zero::Transaction const foreign = model->beginTransaction(true);
        handle = acquire(root);
        EXPECT_TRUE(handle->getData());
    }
    EXPECT_FALSE(handle->getData());
    root->setPropertyValue("child", 0);
    root->setPropertyValue("child", leaf);
    Handle const again = acquire(root);
    EXPECT_EQ(read(root, "n"), PropertyValue(1));
    EXPECT_EQ(handle->getData(), again->getData());
    root->setPropertyValue("n", 3);
    EXPECT_EQ(read(root, "n"), PropertyValue(3));
}

TEST(ViewOnTheSharedModel, EndsItsWorkAndDoesNoHarm)
{
    std::size_t const before = shared()->elements().size();
    {
        Provider const leaf = ContextProvider::create();
        Provider const root = ContextProvider::create();
        root->addProperty("child", leaf);
        leaf->addProperty("n", 1);
        ExpressionEngine engine{root};
        std::string heard;
        auto const subscription = engine.acquireExpression(
            "child.n + 1", [&](auto const&, PropertyValue const& value) { heard += value.asString() + ' '; });
        ContextView odd{shared()};
        ContextView plain{tarn::zero::Model{}};
        std::vector<Handle> handles;
        for (ContextView* const view : {&odd, &plain})
            handles.push_back(view->acquire(root->getId(), nullptr));
        leaf->setActiveContexts({"x"});
        leaf->setPropertyValue("n", 2);
        leaf->addProperty("m", 3);
        for (ContextView* const view : {&odd, &plain}) {
            EXPECT_EQ(LiteralView::text(view->getData(leaf->getId())),
                      LiteralView::text(ContextData{LiteralView::source(leaf->getId())}));
            EXPECT_NE(view->getData(leaf->getId()).get(), LiteralView::source(leaf->getId()));
        }
        odd.getData(leaf->getId())->getProperties().findImpl("n")->setValue(99);   // nobody should; it is no source
        EXPECT_EQ(plain.getData(leaf->getId())->getProperties().findImpl("n")->getValue(), PropertyValue(2));
        root->removeProperty("child");
        EXPECT_FALSE(odd.getData(leaf->getId()));
        EXPECT_EQ(leaf->getPropertyValue("n"), PropertyValue(2));
        root->addProperty("child", leaf);
        leaf->setPropertyValue("n", 7);
        handles.erase(handles.begin());   // the copies go, the context stays bound
        leaf->setPropertyValue("n", 8);
        EXPECT_EQ(heard, "2 3 undefined 3 8 9 ");
        EXPECT_EQ(model::getContextProvider(leaf->getId()), leaf);
        handles.clear();
    }
    EXPECT_EQ(shared()->elements().size(), before);
}

}   // namespace
}   // namespace studio::data

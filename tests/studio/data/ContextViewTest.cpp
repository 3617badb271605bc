#include "studio/data/ContextView.h"

#include "studio/data/HandleRecord.h"
#include "studio/data/ProviderRegistry.h"
#include "support/Allocations.h"
#include "support/ContextWatch.h"
#include "support/Contexts.h"
#include "support/Mirrors.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>

namespace studio::data {
namespace {

using Id = boost::uuids::uuid;
using Handle = std::unique_ptr<ContextHandleImpl>;
using support::inTransaction;
using support::Provider;

/// A view and a few contexts, as most tests need them.
class View : public testing::Test {
protected:
    Provider context(PropertyValue const& child = PropertyValue())
    {
        Provider provider = support::context({{"n", 1}});
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

TEST_F(View, HandleStillAnswersAfterItsRelease)
{
    Provider const root = context();
    Handle const released = acquire(root);
    Handle const other = acquire(root);
    EXPECT_EQ(view->getRecord(root->getId())->handles.size(), 2u);
    released->release();
    EXPECT_EQ(released->getData(), other->getData()) << "what the view mirrors";
    other->release();
    EXPECT_TRUE(!view->getRecord(root->getId()) && elements() == 0 && !released->getData());
}

TEST_F(View, HandleDetachedByHandIsInNoRecord)
{
    Provider const root = context();
    Id const id = root->getId();
    int calls = 0;
    auto const callback = [&](ContextData const& data) {
        EXPECT_TRUE(++calls && !data);
        throw std::runtime_error{"out"};
    };
    Handle const handle = view->acquire(id, callback);
    EXPECT_THROW(handle->detach(), std::runtime_error);
    EXPECT_TRUE(!view->getRecord(id) && elements() == 0);
    Handle const other = acquire(root);
    ContextHandleImpl made{id, callback, nullptr};   // by hand, and entered by hand
    for (ContextHandleImpl* const entered : {handle.get(), &made, other.get()})
        view->getRecord(id)->add(*entered);
    EXPECT_EQ(view->getRecord(id)->handles.size(), 2u) << "one that was detached does not come back";
    EXPECT_THROW(made.detach(), std::runtime_error);
    EXPECT_EQ(view->getRecord(id)->handles.size(), 1u);
    for (ContextHandleImpl* const detached : {handle.get(), &made})
        detached->detach(), detached->release();
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(other->getData());
}

TEST_F(View, NeedsALivingProvider)
{
    Provider doomed;
    {
        tarn::zero::Transaction const rolledBack = ContextProvider::sharedModel()->beginTransaction(true);
        doomed = context();
    }
    Id const gone = context()->getId();
    Id const neverWhole = support::deadEntry();
    for (Id const& id : {Id{}, gone, doomed->getId(), neverWhole})
        EXPECT_EQ(view->acquire(id, nullptr), nullptr);
    EXPECT_EQ(elements(), 0u);
    Provider const root = context(neverWhole);
    Handle const handle = acquire(root);
    root->setPropertyValue("child", 1);
    root->setPropertyValue("child", neverWhole);
    EXPECT_EQ(read(root, "child"), PropertyValue(neverWhole));
}

TEST_F(View, IgnoresWhatIsNullOrNotItsOwn)
{
    Provider const child = context();
    Provider const root = context(child);
    Id const id = root->getId();
    std::unique_ptr<ContextView> const other = ContextView::create({});
    Handle const handle = acquire(root);
    Handle const foreign = other->acquire(id, nullptr);
    ContextHandleImpl ofNobody{id, nullptr, nullptr};
    HandleRecord ofNothing{child};
    for (ContextHandleImpl* const ignored : {foreign.get(), &ofNobody, static_cast<ContextHandleImpl*>(nullptr)})
        view->release(ignored);
    ofNobody.release();
    for (HandleRecord* const ignored : {other->getRecord(id), &ofNothing, static_cast<HandleRecord*>(nullptr)})
        view->destroyRecord(ignored);
    view->createClosure(ContextData{});
    EXPECT_TRUE(handle->getData() && foreign->getData() && !ofNobody.getData());
    EXPECT_EQ(elements(), 5u);

    ContextView::IdSet pending{id, child->getId()};
    view->removeDescendents(ContextData{}, pending);
    view->removeDescendents(static_cast<HandleRecord*>(nullptr), pending);
    EXPECT_EQ(pending.size(), 2u);
    for (int time = 0; time != 2; ++time)   // the second time nothing waits for it
        view->removeDescendents(view->getRecord(id), pending);
    EXPECT_TRUE(pending.empty());
}

TEST_F(View, MayEndWhileACallbackIsCopied)
{
    Provider const root = context();
    std::unique_ptr<ContextView> ended;
    ContextHandleImpl::Callback const callback{support::EndsWhenCopied{ended}};
    ended = ContextView::create({});
    EXPECT_EQ(ended->acquire(root->getId(), callback), nullptr);
    EXPECT_EQ(ended, nullptr);
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

/// What a transaction does to two contexts, of which the second one has only the property "n".
struct Restructuring {
    char const* name;
    void (*make)(ContextData const& one, ContextData const& other);
    bool lags = false;   // until the context itself is modified
};
Property nOf(ContextData const& context)
{
    return context->getProperties().find("n");
}
Restructuring const RESTRUCTURINGS[] = {
    {"swaps names",
     [](auto& one, auto&) {
         Property const n = nOf(one);
         n->setName("t"), one->getProperties().find("child")->setName("n"), n->setName("child"), n->setValue(2);
     }},
    {"replaces the only one under its UUID",
     [](auto&, auto& other) {
         Id const id = nOf(other).Uuid();
         nOf(other)->destroy();
         Property::Impl::createWith(ContextProvider::sharedModel(), id, "m", 2)->setOwner(other);
     },
     true},
    {"replaces the context under its UUID",
     [](auto&, auto& other) {
         Id const id = other.Uuid();
         other->destroy();
         ContextData::create(ContextProvider::sharedModel(), id)->addProperty("m", 2);
     },
     true}};

TEST_F(View, FollowsWhatATransactionRestructures)
{
    for (auto const& [name, make, lags] : RESTRUCTURINGS) {
        SCOPED_TRACE(name);
        Provider const other = context();
        Provider const root = context(other);
        Handle const handles[] = {acquire(root), acquire(other)};
        auto const source = [](Provider const& of) { return ContextData{support::source(of->getId())}; };
        auto const expectAlike = [&] {
            for (Provider const& provider : {root, other})
                EXPECT_EQ(support::whole(view->getData(provider->getId())), support::whole(source(provider)));
        };
        for (Provider const& provider : {root, other})   // what follows is not the first change
            provider->addProperty("once", 1), provider->removeProperty("once");
        inTransaction([&, make = make] { make(source(root), source(other)); });
        if (!lags)
            expectAlike();
        inTransaction([&] { source(root)->addProperty("last", 1), source(other)->addProperty("last", 1); });
        expectAlike();
        support::source(other->getId())->destroy();
    }
}

// ---- what goes wrong

TEST_F(View, RollBackOfAnothersTransactionOnItsModelIsSurvived)
{
    Provider const leaf = context();
    Provider const root = context(leaf);
    Handle handle;
    {
        tarn::zero::Transaction const foreign = model->beginTransaction(true);
        bool failed = true;
        for (std::size_t skipped = 0; failed; ++skipped) {   // an inner transaction fails, wherever it may
            support::FailingAllocation const failing{skipped};
            try {
                handle = acquire(root);
            } catch (std::bad_alloc const&) {}
            failed = failing.happened();
        }
        EXPECT_TRUE(handle->getData());
        root->setPropertyValue("n", 7);
    }
    EXPECT_FALSE(handle->getData());
    root->setPropertyValue("n", 1);
    root->setPropertyValue("child", 0);
    root->setPropertyValue("child", leaf);
    Handle const again = acquire(root);
    EXPECT_EQ(read(root, "n"), PropertyValue(1));
    EXPECT_EQ(handle->getData(), again->getData());
    root->setPropertyValue("n", 3);
    EXPECT_EQ(read(root, "n"), PropertyValue(3));

    Provider const other = context(leaf);
    Provider const next = context();
    {
        tarn::zero::Transaction const foreign = model->beginTransaction(true);
        handle = acquire(other);
        root->setPropertyValue("child", next);
    }
    handle.reset();                          // of a clone that is dead
    root->setPropertyValue("child", leaf);   // which the clone says already
    root->setPropertyValue("child", other);
    root->setPropertyValue("n", 4);
    EXPECT_EQ(read(root, "n"), PropertyValue(4));
    EXPECT_EQ(read(other, "n"), PropertyValue(1));
}

TEST_F(View, CopyThatAHolderTakesOutIsMirroredAgainWithItsContext)
{
    Provider const root = context();
    Handle const handle = acquire(root);
    root->setActiveContexts({"y"});   // has everything compared
    root->setPropertyValue("n", 2);
    Property const copy = handle->getData()->getProperties().find("n");
    copy->setOwner(ContextData{});
    root->setPropertyValue("n", 3);
    EXPECT_EQ(copy->getValue(), PropertyValue(2));
    root->setActiveContexts({"x"});
    EXPECT_EQ(read(root, "n"), PropertyValue(3));
}

TEST(ViewOnTheSharedModel, EndsItsWorkAndDoesNoHarm)
{
    tarn::zero::Model const& shared = ContextProvider::sharedModel();
    std::size_t const before = shared->elements().size();
    {
        Provider const leaf = support::context({{"n", 1}});
        Provider const root = support::context({{"child", leaf}});
        ExpressionEngine engine{root};
        support::CallRecorder calls{engine};
        support::Handle const subscription = calls.watch("child.n + (child.m ?? 0)");
        ContextView odd{shared};
        ContextView plain{tarn::zero::Model{}};
        Handle handle = odd.acquire(root->getId(), nullptr);
        Handle const other = plain.acquire(root->getId(), nullptr);
        leaf->setActiveContexts({"x"});
        leaf->setPropertyValue("n", 2);
        {
            ContextView brief{shared};
            Handle const passing = brief.acquire(leaf->getId(), nullptr);
            leaf->addProperty("m", 3);
        }
        leaf->setPropertyValue("m", 0);
        for (ContextView* const view : {&odd, &plain}) {
            EXPECT_EQ(support::whole(view->getData(leaf->getId())),
                      support::whole(ContextData{support::source(leaf->getId())}));
            EXPECT_NE(view->getData(leaf->getId()).get(), support::source(leaf->getId()));
        }
        odd.getData(leaf->getId())->getProperties().findImpl("n")->setValue(99);   // nobody should; it is no source
        EXPECT_EQ(plain.getData(leaf->getId())->getProperties().findImpl("n")->getValue(), PropertyValue(2));
        root->removeProperty("child");
        EXPECT_FALSE(odd.getData(leaf->getId()));
        root->addProperty("child", leaf);
        leaf->setPropertyValue("n", 7);
        handle.reset();   // the copies go, the context stays bound
        leaf->setPropertyValue("n", 8);
        std::string heard;
        for (char const* const value : {"2", "5", "2", "undefined", "2", "7", "8"})
            heard += (heard.empty() ? "" : "; ") + (std::string{"child.n + (child.m ?? 0)="} + value);
        EXPECT_EQ(calls.take(), heard);
        EXPECT_EQ(model::getContextProvider(leaf->getId()), leaf);
    }
    EXPECT_EQ(shared->elements().size(), before);
}

}   // namespace
}   // namespace studio::data

#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"
#include "tarn/zero/ModelImpl.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace studio::data {
namespace {

using Provider = std::shared_ptr<ContextProvider>;
using Handle = std::unique_ptr<ContextHandleImpl>;

/// A view with handles a1 and a2 on one context, and b on a context that the first one refers to.
struct Host {
    Host()
    {
        first->addProperty("child", second);
        first->addProperty("n", 1);
        a1 = take("a1", first);
        a2 = take("a2", first);
        b = take("b", second);
    }
    Handle take(std::string const& name, Provider const& provider)
    {
        return view->acquire(provider->getId(), [this, name](ContextData const& data) {
            heard += name + (data ? "? " : " ");
            if (auto const once = std::exchange(action, nullptr))
                once(*this);
        });
    }

    Provider first = ContextProvider::create();
    Provider second = ContextProvider::create();
    tarn::zero::Model model = tarn::zero::Model::create(tarn::zero::ModelSpec{});
    std::unique_ptr<ContextView> view = ContextView::create(model);
    Handle a1, a2, b;
    std::string heard;
    std::function<void(Host&)> action;   // of the first callback
};

// ---- the first callback of a detached handle does something

struct Action {
    char const* name;
    std::function<void(Host&)> act;
    char const* heard;   // when the record of a1 and a2 ends, and b stays
};

class DetachCallback : public testing::TestWithParam<Action> {
protected:
    static void expectCutOff(Host const& host)
    {
        EXPECT_FALSE(host.a1->getData() || host.a2->getData()) << "all are marked before the first is called";
    }
};

TEST_P(DetachCallback, MayDoAnythingWhenARecordEnds)
{
    Host host;
    host.action = [](Host& same) {
        expectCutOff(same);
        GetParam().act(same);
    };
    host.view->destroyRecord(host.view->getRecord(host.first->getId()));
    EXPECT_EQ(host.heard, GetParam().heard);
}

TEST_P(DetachCallback, MayDoAnythingWhenTheViewEnds)
{
    Host host;
    host.b.reset();
    host.action = [](Host& same) {
        expectCutOff(same);
        EXPECT_EQ(same.view, nullptr);   // its owner has let go of it
        GetParam().act(same);
    };
    host.view.reset();
    std::string expected = GetParam().heard;
    if (std::size_t const b = expected.find("b "); b != std::string::npos)
        expected.erase(b, 2);
    EXPECT_EQ(host.heard, expected);
}

auto const bySelf = [](Host& host) {
    if (host.a1)
        host.a1->notify(ContextData{});
};
INSTANTIATE_TEST_SUITE_P(
    View, DetachCallback,
    testing::Values(Action{"Nothing", [](Host&) {}, "a1 a2 "},
                    Action{"DestroysItself", [](Host& host) { host.a1.reset(); }, "a1 a2 "},
                    Action{"DestroysItsSibling", [](Host& host) { host.a2.reset(); }, "a1 "},
                    Action{"DestroysBoth", [](Host& host) { host.a2.reset(), host.a1.reset(); }, "a1 "},
                    Action{"ReleasesBoth", [](Host& host) { host.a1->release(), host.a2->release(); }, "a1 a2 "},
                    Action{"DestroysTheOtherContextsHandle", [](Host& host) { host.b.reset(); }, "a1 a2 "},
                    Action{"CallsItself", bySelf, "a1 a1 a2 "},
                    Action{"Writes",
                           [](Host& host) {
                               host.first->setPropertyValue("n", 2);
                               host.first->removeProperty("child");
                           },
                           "a1 a2 "},
                    Action{"DropsProviders", [](Host& host) { host.first.reset(), host.second.reset(); }, "a1 a2 "},
                    Action{"DestroysTheView", [](Host& host) { host.view.reset(); }, "a1 b a2 "},
                    Action{"DestroysEverything",
                           [](Host& host) {
                               host.a1.reset(), host.a2.reset(), host.b.reset();
                               host.view.reset(), host.first.reset(), host.second.reset();
                           },
                           "a1 "}),
    [](auto const& info) { return info.param.name; });

TEST(ViewLifetime, NothingIsAcquiredFromAViewThatEnds)
{
    Host host;
    ContextView* const dying = host.view.get();
    host.action = [dying](Host& same) {
        EXPECT_EQ(dying->acquire(same.first->getId(), nullptr), nullptr);
        EXPECT_EQ(dying->createRecord(same.second->getId()), nullptr);
    };
    host.view.reset();
    EXPECT_EQ(host.heard.size(), std::string("a1 a2 b ").size());
}

TEST(ViewLifetimeDeathTest, ThrowingDetachCallbackEndsTheProcess)
{
    auto const end = [] {
        Host host;
        host.action = [](Host&) { throw std::runtime_error{"out"}; };
        host.view.reset();
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(end(), "");
}

TEST(ViewLifetime, HandleThatWasReleasedNeverTouchesADeadView)
{
    Host host;
    host.a1->release();
    EXPECT_TRUE(host.a1->getData());
    host.view.reset();
    EXPECT_FALSE(host.a1->getData());
    host.a1->release();
    host.a1.reset();
    EXPECT_EQ(host.heard.find("a1"), std::string::npos);
}

TEST(ViewLifetime, CallbackMayOwnItsHandleAndTheView)
{
    struct Owner {
        std::unique_ptr<ContextView> view = ContextView::create(tarn::zero::Model{});
        Handle handle;
        int calls = 0;
    };
    Provider const provider = ContextProvider::create();
    auto owner = std::make_shared<Owner>();
    std::weak_ptr<Owner> const watched = owner;
    owner->handle = owner->view->acquire(provider->getId(), [owner](ContextData const&) {
        owner->handle.reset();   // its callback, and so the owner, stays until this returns
        ++owner->calls;
    });
    ContextView& view = *owner->view;
    owner.reset();
    view.destroyRecord(view.getRecord(provider->getId()));
    EXPECT_TRUE(watched.expired());
}

TEST(ViewLifetime, ClonesInAGivenModelOutlastTheView)
{
    Host host;
    ContextData const clone = host.a1->getData();
    host.view.reset();
    EXPECT_TRUE(clone);
    host.model = tarn::zero::Model{};
    EXPECT_FALSE(clone);
}

TEST(ViewLifetime, HandlesKeepTheProvider)
{
    Host host;
    std::weak_ptr<ContextProvider> const first = host.first;
    host.first.reset();
    EXPECT_FALSE(first.expired());
    host.a1.reset();
    host.a2.reset();
    EXPECT_TRUE(first.expired());
}

// ---- listeners on the view's own model

/// Hears of the next commit of a view's model, and acts.
struct Intruder : tarn::zero::Listener {
    using Reports = tarn::zero::ReportList<tarn::zero::ShallowChangeReport<ContextData>>;

    Intruder(tarn::zero::Model const& watched, std::function<void()> reaction)
        : model{watched}, action{std::move(reaction)}
    {
        model->addDeepListener(this);
    }
    ~Intruder() override { model->removeListener(this); }
    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const&)
    {
        if (auto const once = std::exchange(action, nullptr))
            once();
    }

    tarn::zero::Model model;
    std::function<void()> action;
};

struct Intrusion {
    char const* name;
    std::function<void(Host&, Provider const&)> act;
    bool succeeds;   // the acquisition inside which it happens
};

class ViewIntrusion : public testing::TestWithParam<Intrusion> {};

TEST_P(ViewIntrusion, IsSurvivedByAnAcquisition)
{
    Host host;
    Provider const third = ContextProvider::create();
    Intruder const intruder{host.model, [&] { GetParam().act(host, third); }};
    Handle const handle = host.view->acquire(third->getId(), nullptr);
    EXPECT_EQ(handle != nullptr && handle->getData(), GetParam().succeeds);
}

INSTANTIATE_TEST_SUITE_P(
    View, ViewIntrusion,
    testing::Values(
        Intrusion{"DestroysTheView", [](Host& host, Provider const&) { host.view.reset(); }, false},
        Intrusion{
            "EndsTheRecord",
            [](Host& host, Provider const& third) { host.view->destroyRecord(host.view->getRecord(third->getId())); },
            false},
        Intrusion{"AcquiresAndReleasesTheSame",
                  [](Host& host, Provider const& third) { EXPECT_TRUE(host.take("c", third)->getData()); }, false},
        Intrusion{"AcquiresAndKeepsTheSame", [](Host& host, Provider const& third) { host.b = host.take("c", third); },
                  true},
        Intrusion{"ReleasesTheOthers", [](Host& host, Provider const&) { host.a1.reset(), host.a2.reset(); }, true},
        Intrusion{"Writes", [](Host&, Provider const& third) { third->addProperty("x", 1); }, true}),
    [](auto const& info) { return info.param.name; });

TEST(ViewIntrusion, ThrowingListenerLeavesNoEmptyRecord)
{
    Host host;
    Provider const third = ContextProvider::create();
    Intruder const intruder{host.model, [] { throw std::runtime_error{"foreign"}; }};
    EXPECT_THROW(host.view->acquire(third->getId(), nullptr), std::runtime_error);
    EXPECT_EQ(host.view->getRecord(third->getId()), nullptr);
    EXPECT_FALSE(host.view->getData(third->getId()));
}

TEST(ViewIntrusion, ViewMayGoWhileItFollowsAChange)
{
    Host host;
    Provider const third = ContextProvider::create();
    Intruder const intruder{host.model, [&] { host.view.reset(); }};
    host.first->addProperty("third", third);
    EXPECT_EQ(host.view, nullptr);
    EXPECT_FALSE(host.a1->getData());
}

TEST(ViewIntrusion, ReleaseLetsNothingOut)
{
    Host host;
    Intruder const intruder{host.model, [] { throw std::runtime_error{"foreign"}; }};
    host.b->release();
    host.a1->release();
    host.a2->release();
    EXPECT_EQ(intruder.action, nullptr) << "it was called";
    EXPECT_FALSE(host.view->getData(host.first->getId()) || host.view->getData(host.second->getId()));
}

}   // namespace
}   // namespace studio::data

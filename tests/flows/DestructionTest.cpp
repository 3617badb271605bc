#include "studio/data/ContextView.h"
#include "support/ContextWatch.h"
#include "support/Contexts.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>

// Whatever is destroyed first, and wherever: nothing is touched that is gone, and nothing is left.

namespace studio::data {
namespace {

using support::context;
using support::Handle;
using support::Provider;

tarn::zero::Model const& shared()
{
    return ContextProvider::sharedModel();
}

/// The only owner of a provider (P), an engine (E), a handle of its (H), a view (V), a handle of its (C).
struct House {
    House()
    {
        handle = engine->acquireExpression("x", [this](auto const&, auto const&) { onCall(); });
        contextHandle = view->acquire(id, [this, dying = view.get()](ContextData const& data) {
            ++detached;
            EXPECT_FALSE(data || contextHandle->getData());
            EXPECT_FALSE(dying->acquire(id, nullptr) || dying->createRecord(id))
                << "a view that ends hands out nothing";
        });
    }
    void release(bool theHandle, bool theContextHandle)
    {
        if (theHandle)
            engine->releaseExpression(handle.get());
        if (theContextHandle)
            contextHandle->release();
        isReleased = theHandle;
        isContextReleased = theContextHandle;
        check();
    }
    void destroy(char who)
    {
        awaited += who == 'V' && contextHandle && !isContextReleased;
        switch (who) {
        case 'P': provider.reset(); break;
        case 'E': engine.reset(); break;
        case 'H': handle.reset(); break;
        case 'V': view.reset(); break;
        default: contextHandle.reset();
        }
        check();
    }
    void check() const
    {
        bool const isShown = view && contextHandle && !isContextReleased;
        EXPECT_EQ(!alive.expired(), provider || engine || isShown);
        EXPECT_TRUE(!handle || handle->getValue() == (engine && !isReleased ? value : PropertyValue()));
        EXPECT_TRUE(!contextHandle || static_cast<bool>(contextHandle->getData()) == isShown);
        EXPECT_EQ(detached, awaited);
    }

    Provider provider = context({{"x", 1}});
    boost::uuids::uuid id = provider->getId();
    std::weak_ptr<ContextProvider> alive = provider;
    std::unique_ptr<ExpressionEngine> engine = std::make_unique<ExpressionEngine>(provider);
    tarn::zero::Model model = tarn::zero::Model::create(tarn::zero::ModelSpec{});
    std::unique_ptr<ContextView> view = ContextView::create(model);
    Handle handle;
    std::unique_ptr<ContextHandleImpl> contextHandle;
    std::function<void()> onCall = [] {};
    PropertyValue value = 1;
    bool isReleased = false;
    bool isContextReleased = false;
    int awaited = 0;
    int detached = 0;
};

struct Place {
    char const* name;
    void (*run)(House&, std::function<void()> const& all);   // which does nothing the second time
};
class Destruction : public testing::TestWithParam<Place> {};

TEST_P(Destruction, MayComeInAnyOrder)
{
    std::size_t const before = shared()->elements().size();
    std::string order = "CEHPV";
    do {
        for (int released = 0; released != 4; ++released) {
            SCOPED_TRACE(order + ", released before: " + std::to_string(released));
            {
                House house;
                bool done = false;
                GetParam().run(house, [&] {
                    if (std::exchange(done, true))
                        return;
                    house.release((released & 1) != 0, (released & 2) != 0);
                    for (char const who : order)
                        house.destroy(who);
                });
                EXPECT_TRUE(done && house.alive.expired());
                EXPECT_EQ(house.model->elements().empty(), house.detached == 0) << "only a view leaves its clones";
            }
            ASSERT_EQ(shared()->elements().size(), before);
            ASSERT_FALSE(shared()->isInTransaction() || HasFailure());
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

INSTANTIATE_TEST_SUITE_P(
    At, Destruction,
    testing::Values(Place{"Rest", [](House&, auto const& all) { all(); }},
                    Place{"ACallOfItsHandle",
                          [](House& house, auto const& all) {
                              house.onCall = all, house.value = 2;
                              house.provider->setPropertyValue("x", 2);
                          }},
                    Place{"ACallAmongOthers",
                          [](House& house, auto const& all) {
                              house.onCall = all, house.value = 3;
                              Handle const other = house.engine->acquireExpression("-x", [](auto&&...) {});
                              ContextProvider& provider = *house.provider;
                              support::inTransaction(
                                  [&] { provider.setPropertyValue("x", 3), provider.addProperty("y", 1); });
                          }},
                    Place{"TheFirstCallOfAnotherEngine",
                          [](House&, auto const& all) {
                              ExpressionEngine other{context()};
                              static_cast<void>(other.acquireExpression("1", [&](auto const&, auto const&) { all(); }));
                          }},
                    Place{"TheEndOfAnotherView",
                          [](House&, auto const& all) {
                              Provider const bell = context();
                              auto view = ContextView::create(tarn::zero::Model{});
                              auto const ringing = view->acquire(bell->getId(), [&](auto const&) { all(); });
                              view.reset();
                          }},
                    Place{"AReport",
                          [](House&, auto const& all) {
                              support::ContextWatch watch;
                              watch.onContexts = [&](auto const&) { all(); };
                              context();
                          }},
                    Place{"AnOpenTransaction", [](House&, auto const& all) { support::inTransaction(all); }}),
    [](auto const& info) { return info.param.name; });

TEST(ExitOrder, OfStaticsMayBeAny)
{
    EXPECT_EQ(std::system(EXIT_ORDER), 0) << "a program that keeps all these in statics";
}

TEST(DestructionDeathTest, ThrowingDetachCallbackEndsTheProcess)
{
    auto const end = [] {
        Provider const provider = context();
        auto view = ContextView::create(tarn::zero::Model{});
        auto const handle =
            view->acquire(provider->getId(), [](ContextData const&) { throw std::runtime_error{"out"}; });
        view.reset();
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(end(), "");
}

TEST(DetachCallback, MayOwnItsHandleAndTheView)
{
    struct Owner {
        std::unique_ptr<ContextView> view = ContextView::create(tarn::zero::Model{});
        std::unique_ptr<ContextHandleImpl> handle;
        bool isCalled = false;
    };
    Provider const provider = context();
    auto owner = std::make_shared<Owner>();
    std::weak_ptr<Owner> const watched = owner;
    owner->handle = owner->view->acquire(provider->getId(), [owner](ContextData const& data) {
        if (!std::exchange(owner->isCalled, true))
            owner->handle->notify(data);   // from inside itself
        owner->handle.reset();
        EXPECT_TRUE(owner->view) << "the callback, and so the owner, stays until this returns";
    });
    ContextView& view = *std::exchange(owner, nullptr)->view;
    view.destroyRecord(view.getRecord(provider->getId()));
    EXPECT_TRUE(watched.expired());
}

}   // namespace
}   // namespace studio::data

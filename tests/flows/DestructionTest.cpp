#include "studio/data/ContextView.h"
#include "support/Contexts.h"
#include "support/Processes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

#if defined(_WIN32)
#include <process.h>
#endif

// The ends that no other test meets: of a process, by exit and by a callback that throws, and of what a callback owns.

namespace studio::data {
namespace {

using support::context;
using support::Provider;

TEST(ExitOrder, OfStaticsMayBeAny)
{
#if defined(_WIN32)   // whose shell would take the slashes of the name for options
    auto const result = _spawnl(_P_WAIT, EXIT_ORDER, EXIT_ORDER, nullptr);
#else
    auto const result = std::system(EXIT_ORDER);
#endif
    EXPECT_EQ(result, 0) << "a program that keeps all these in statics";
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
    support::useFreshProcesses();
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

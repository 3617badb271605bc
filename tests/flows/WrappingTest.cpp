#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>
#include <utility>
#include <vector>

namespace studio::data {
namespace {

using rook::factory::CppAndLumenOwned;
using rook::factory::full::RetractHook;
using rook::factory::full::Wrappable;

/// A minimal scripting host: its retract hook records the destroyed objects, whose wrappers are stale from then on.
struct Host {
    Host() : before{rook::factory::full::installRetractHook({&Host::retracted, this})} {}
    ~Host() { rook::factory::full::installRetractHook(before); }
    static void retracted(void* host, Wrappable* object) noexcept { static_cast<Host*>(host)->heard.insert(object); }

    std::multiset<Wrappable const*> heard;
    RetractHook before;
};

/// Expects the given type names, as texts and as addresses: the library returns the constants that its users see.
template <class T>
void expectNames(Wrappable const& object, char const* name, char const* rookName)
{
    EXPECT_STREQ(object.getTypeName(), name);
    EXPECT_STREQ(object.getFullyQualifiedRookTypeName(), rookName);
    EXPECT_TRUE(object.getTypeName() == T::TypeName && object.getFullyQualifiedRookTypeName() == T::ROOKTypeName);
}

TEST(Wrapping, HookComesOncePerDestructorOfTheChain)
{
    Host host;
    auto const provider = ContextProvider::create();
    auto view = ContextView::create(tarn::zero::Model{});
    auto handle = view->acquire(provider->getId(), nullptr);
    expectNames<ContextProvider>(*provider, "ContextProvider", "studio.data.ContextProvider");
    expectNames<ContextView>(*view, "ContextView", "studio.data.ContextView");
    expectNames<ContextHandleImpl>(*handle, "ContextHandle", "studio.data.ContextHandle");
    EXPECT_EQ(provider->nativeOwnershipTaken(1), 0);
    Wrappable const *const wrappedHandle = handle.get(), *const wrappedView = view.get();
    handle.reset();
    EXPECT_EQ(host.heard.count(wrappedHandle), 3u) << "the handle, what both sides own, the wrappable";
    view.reset();
    rook::factory::full::retract(nullptr);
    EXPECT_EQ(host.heard.count(wrappedView), 3u);
    EXPECT_EQ(host.heard.size(), 6u);
}

/// An object whose host gives it back.
struct Owned final : CppAndLumenOwned {
    ~Owned() override { tearDown(); }
    int nativeOwnershipTaken(int owners) override { return taken.push_back(owners), 0; }
    char const* getTypeName() const override { return "Owned"; }
    char const* getFullyQualifiedRookTypeName() const override { return "test.Owned"; }

    std::vector<int> taken;
};

TEST(Wrapping, NativeFactoryTakesOwnershipOnlyFromAHost)
{
    Owned object;
    object.takeNativeOwnership();
    EXPECT_TRUE(object.taken.empty() && object.isCppOwned());
    object.giveToLumen();
    EXPECT_FALSE(object.isCppOwned());
    object.takeNativeOwnership();
    object.takeNativeOwnership();
    EXPECT_EQ(object.taken, std::vector<int>{1});
    EXPECT_FALSE(object.isRetracting());
}

/// Every kind of object, owned by the host or by the library, handles released before or not: the host is notified of
/// each destruction, in any order.
TEST(Wrapping, SurvivesEveryOrderOfDestruction)
{
    for (auto const& [hostOwns, isReleased] : {std::pair{false, false}, {true, false}, {false, true}, {true, true}}) {
        std::vector<int> order{0, 1, 2, 3};
        do {
            Host host;
            auto provider = ContextProvider::create();
            auto view = ContextView::create(tarn::zero::Model{});
            auto first = view->acquire(provider->getId(), nullptr);
            auto second =
                view->acquire(provider->getId(), [&, id = provider->getId(), dying = view.get()](auto const&) {
                    EXPECT_FALSE(first && host.heard.count(first.get()));   // it may be wrapped still
                    EXPECT_FALSE(dying->acquire(id, nullptr) || dying->createRecord(id))
                        << "a view that ends hands out none";
                });
            if (isReleased)
                first->release(), second->release();
            std::vector<Wrappable const*> const objects{provider.get(), view.get(), first.get(), second.get()};
            auto const end = [isHosts = hostOwns](auto& object) {
                if (!isHosts)
                    return object.reset();
                object->giveToLumen();
                delete static_cast<CppAndLumenOwned*>(object.release());
            };
            std::function<void()> const ends[] = {[&] { provider.reset(); }, [&] { end(view); }, [&] { end(first); },
                                                  [&] { end(second); }};
            for (int const one : order)
                ends[one]();
            for (Wrappable const* const object : objects)
                EXPECT_TRUE(host.heard.count(object));
        } while (std::next_permutation(order.begin(), order.end()) && !HasFailure());
    }
}

}   // namespace
}   // namespace studio::data

#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace studio::data {
namespace {

using rook::factory::CppAndLumenOwned;
using rook::factory::full::RetractHook;
using rook::factory::full::Wrappable;

/// A scripting host as small as can be: a wrapper for each object, one for each address, found by the retract hook.
class Host {
public:
    /// A script's object. It may own what it wraps, and then deletes it when the script drops it.
    struct Wrapper {
        explicit Wrapper(Host& creator, Wrappable* object, CppAndLumenOwned* ownable)
            : host{creator}, wrapped{object}, owned{ownable}, className{object->getFullyQualifiedRookTypeName()}
        {}
        Wrapper(Wrapper const&) = delete;
        Wrapper& operator=(Wrapper const&) = delete;
        ~Wrapper()
        {
            CppAndLumenOwned* const mine = wrapped && owned && !owned->isCppOwned() ? owned : nullptr;
            host.wrappers.erase(std::exchange(wrapped, nullptr));
            delete mine;
        }

        Host& host;
        Wrappable* wrapped;   // null once retracted
        CppAndLumenOwned* owned;
        std::string className;
        std::shared_ptr<ContextProvider> share;   // of a shareable object
    };
    using Script = std::shared_ptr<Wrapper>;

    Host() : before{rook::factory::full::installRetractHook({&Host::retracted, this})} {}
    ~Host() { rook::factory::full::installRetractHook(before); }

    Script wrap(CppAndLumenOwned* object) { return wrap(object, object); }
    Script wrap(std::shared_ptr<ContextProvider> const& provider)
    {
        Script script = wrap(provider.get(), nullptr);
        script->share = provider;
        return script;
    }
    /// Takes the object over.
    template <class T>
    Script adopt(std::unique_ptr<T> object)
    {
        Script script = wrap(object.get());
        object.release()->giveToLumen();
        return script;
    }

    std::map<Wrappable*, std::weak_ptr<Wrapper>> wrappers;
    int heard = 0;

private:
    Script wrap(Wrappable* object, CppAndLumenOwned* ownable)
    {
        std::weak_ptr<Wrapper>& known = wrappers[object];
        Script script = known.lock();
        if (!script)
            known = script = std::make_shared<Wrapper>(*this, object, ownable);
        return script;
    }
    static void retracted(void* data, Wrappable* object) noexcept
    {
        Host& host = *static_cast<Host*>(data);
        ++host.heard;
        auto const known = host.wrappers.find(object);
        if (known == host.wrappers.end())
            return;
        if (Script const script = known->second.lock())
            script->wrapped = nullptr;
        host.wrappers.erase(known);
    }

    RetractHook before;
};

TEST(Wrapping, GivesEachObjectOneWrapperUnderItsClass)
{
    Host host;
    auto const provider = ContextProvider::create();
    auto const view = ContextView::create(tarn::zero::Model{});
    auto const handle = view->acquire(provider->getId(), nullptr);
    Host::Script const scripts[] = {host.wrap(provider), host.wrap(view.get()), host.wrap(handle.get())};
    EXPECT_EQ(scripts[0]->className, "studio.data.ContextProvider");
    EXPECT_EQ(scripts[1]->className, "studio.data.ContextView");
    EXPECT_EQ(scripts[2]->className, "studio.data.ContextHandle");
    EXPECT_EQ(host.wrap(provider), scripts[0]);
    EXPECT_EQ(host.wrap(handle.get()), scripts[2]);
    EXPECT_STREQ(view->getTypeName(), "ContextView");
    EXPECT_STREQ(handle->getTypeName(), "ContextHandle");
}

TEST(Wrapping, HookComesOncePerDestructorOfTheChain)
{
    Host host;
    auto const provider = ContextProvider::create();
    auto view = ContextView::create(tarn::zero::Model{});
    auto handle = view->acquire(provider->getId(), nullptr);
    handle.reset();
    EXPECT_EQ(host.heard, 3) << "the handle, what both sides own, the wrappable";
    view.reset();
    rook::factory::full::retract(nullptr);
    EXPECT_EQ(host.heard, 6);
    EXPECT_EQ(provider->nativeOwnershipTaken(1), 0);
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

/// Everything there is, owned by either side; each order of destruction ends with no wrapper that points anywhere.
TEST(Wrapping, SurvivesEveryOrderOfDestruction)
{
    for (bool const hostOwns : {false, true}) {
        std::vector<int> order{0, 1, 2, 3, 4, 5};
        do {
            Host host;
            auto provider = ContextProvider::create();
            auto view = ContextView::create(tarn::zero::Model{});
            auto first = view->acquire(provider->getId(), nullptr);
            auto second = view->acquire(provider->getId(), [&](ContextData const&) {
                if (first)
                    host.wrap(first.get());
            });
            std::vector<Host::Script> scripts{host.wrap(provider), host.wrap(view.get()), host.wrap(second.get())};
            if (hostOwns) {
                scripts[1] = host.adopt(std::move(view));
                scripts[2] = host.adopt(std::move(second));
            }
            std::function<void()> const ends[] = {[&] { provider.reset(); },   [&] { view.reset(), first.reset(); },
                                                  [&] { second.reset(); },     [&] { scripts[0].reset(); },
                                                  [&] { scripts[1].reset(); }, [&] { scripts[2].reset(); }};
            for (int const end : order)
                ends[end]();
            first.reset();
            for (auto const& entry : host.wrappers)
                EXPECT_TRUE(entry.second.expired());
        } while (std::next_permutation(order.begin(), order.end()) && !HasFailure());
    }
}

}   // namespace
}   // namespace studio::data

#include "support/Contexts.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using studio::data::ExpressionEngine;
using studio::data::PropertyValue;
using support::CallRecorder;
using support::context;
using support::Handle;
using support::inTransaction;
using support::Provider;

// Instrumented frames are several times as large.
#if defined(__SANITIZE_ADDRESS__)
constexpr int LEVELS = 400;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr int LEVELS = 400;
#else
constexpr int LEVELS = 2000;
#endif
#else
constexpr int LEVELS = 2000;
#endif

/// An engine with three handles, a and b of one text and c of another, whose callbacks do what a test wants once.
class Callbacks : public testing::Test {
protected:
    Callbacks()
    {
        a = calls->watchAs("a", "x", [this] { act(onA); });
        b = calls->watchAs("b", "x", [this] { act(onB); });
        c = calls->watchAs("c", "x + 10", [this] { act(onC); });
    }
    static void act(std::function<void()>& once)
    {
        if (std::function<void()> const action = std::exchange(once, nullptr))
            action();
    }
    std::string write(PropertyValue const& value)
    {
        root->setPropertyValue("x", value);
        return calls->take();
    }

    Provider root = context({{"x", 0}, {"y", 0}});
    std::unique_ptr<ExpressionEngine> engine = std::make_unique<ExpressionEngine>(root);
    std::optional<CallRecorder> calls{*engine};
    Handle a;
    Handle b;
    Handle c;
    std::function<void()> onA;
    std::function<void()> onB;
    std::function<void()> onC;
};

// ---- writes

TEST_F(Callbacks, NestedNotificationComesFirstAndTheOuterPassGoesOnWithTheNewValue)
{
    onA = [&] { root->setPropertyValue("x", 2); };
    EXPECT_EQ(write(1), "a:x=1; a:x=2; b:x=2; c:x + 10=12; b:x=2");
    EXPECT_EQ(write(3), "a:x=3; b:x=3; c:x + 10=13");
}

TEST_F(Callbacks, WriteBackToTheOldValueIsAChangeForWhoHasHeardOfTheNewOne)
{
    onA = [&] { root->setPropertyValue("x", 0); };
    EXPECT_EQ(write(1), "a:x=1; a:x=0; b:x=0; b:x=0");
}

TEST_F(Callbacks, LaterExpressionMayWriteWhatEarlierOnesRead)
{
    onC = [&] { root->setPropertyValue("x", 2); };
    EXPECT_EQ(write(1), "a:x=1; b:x=1; c:x + 10=11; a:x=2; b:x=2; c:x + 10=12");
}

TEST_F(Callbacks, TransactionInACallbackIsOneReport)
{
    Handle const both = calls->watch("x + y");
    onB = [&] {
        inTransaction([&] {
            root->setPropertyValue("x", 5);
            root->setPropertyValue("x", 6);
            root->setPropertyValue("y", 1);
            support::rolledBack([&] { root->setPropertyValue("x", 7); });
            calls->note("before");
        });
        calls->note("after");
    };
    EXPECT_EQ(write(1), "a:x=1; b:x=1; before; a:x=6; b:x=6; c:x + 10=16; x + y=7; after");
}

TEST_F(Callbacks, PropertiesAndProvidersMayComeAndGo)
{
    Handle const path = calls->watch("child.v");
    onA = [&] { root->removeProperty("x"); };
    onB = [&] {
        Provider const child = context({{"v", 1}});
        root->addProperty("child", child);
        root->addProperty("x", 9);
    };   // the child is dropped here
    EXPECT_EQ(write(1), "a:x=1; a:x=undefined; b:x=undefined; child.v=1; a:x=9; b:x=9; c:x + 10=19; child.v=undefined; "
                        "b:x=9");
}

TEST_F(Callbacks, ProviderThatIsWrittenToMayBeDropped)
{
    Provider child = context({{"v", 0}});
    root->addProperty("child", child);
    Handle const path = calls->watch("child.v", [&] { child.reset(); });
    child->setPropertyValue("v", 1);
    EXPECT_EQ(calls->take(), "child.v=1; child.v=undefined");
    EXPECT_EQ(child, nullptr);
}

TEST_F(Callbacks, TwoThousandWritesInsideEachOtherAreFine)
{
    int heard = 0;
    Handle const handle = engine->acquireExpression("y", [&](auto const&, PropertyValue const& value) {
        if (++heard > 1 && value.getDouble() < LEVELS)
            root->setPropertyValue("y", value.getDouble() + 1);
    });
    Handle const late = calls->watch("y + 0");
    root->setPropertyValue("y", 1);
    EXPECT_EQ(heard, 1 + LEVELS);
    // It has its turn in the innermost report, and then there is nothing new.
    EXPECT_EQ(calls->take(), "y + 0=" + std::to_string(LEVELS));
}

// ---- acquiring and releasing

struct Release {
    char const* name;
    std::vector<char> fromA;   // who is released in the callback of a
    char const* expected;
};
class ReleaseInCallback : public Callbacks, public testing::WithParamInterface<Release> {};
TEST_P(ReleaseInCallback, SkipsTheReleasedAndKeepsTheRest)
{
    onA = [&] {
        for (char const handle : GetParam().fromA)
            (handle == 'a' ? a : handle == 'b' ? b : c).reset();
    };
    EXPECT_EQ(write(1), GetParam().expected);
    EXPECT_EQ(engine->findExpression("x") != nullptr, a || b);
    EXPECT_EQ(engine->findExpression("x + 10") != nullptr, c != nullptr);
    EXPECT_EQ(engine->findExpressions("x") != nullptr, a || b || c);
    write(2);   // and nothing dangles
}
INSTANTIATE_TEST_SUITE_P(All, ReleaseInCallback,
                         testing::Values(Release{"Own", {'a'}, "a:x=1; b:x=1; c:x + 10=11"},
                                         Release{"Sibling", {'b'}, "a:x=1; c:x + 10=11"},
                                         Release{"LastOfTheRunningExpression", {'b', 'a'}, "a:x=1; c:x + 10=11"},
                                         Release{"LastOfAWaitingExpression", {'c'}, "a:x=1; b:x=1"},
                                         Release{"Everything", {'a', 'b', 'c'}, "a:x=1"}),
                         [](auto const& info) { return info.param.name; });

TEST_F(Callbacks, ReleasedTextMayBeAcquiredAgainAtOnce)
{
    onA = [&] {
        a.reset();
        b.reset();   // the running expression is let go of, and its symbols with it
        b = calls->watchAs("new", "x");
        calls->note("acquired " + support::shown(b->getValue()));
    };
    EXPECT_EQ(write(1), "a:x=1; acquired 1; c:x + 10=11");
    EXPECT_EQ(write(2), "c:x + 10=12; new:x=2");   // the expression is a later one
}

TEST_F(Callbacks, HandleAcquiredInACallbackHasHadItsCall)
{
    Handle fresh;
    onA = [&] { fresh = calls->hearAs("fresh", "x"); };
    EXPECT_EQ(write(1), "a:x=1; fresh:x=1; b:x=1; c:x + 10=11");
    EXPECT_EQ(write(2), "a:x=2; b:x=2; fresh:x=2; c:x + 10=12");
}

TEST_F(Callbacks, FirstCallMayDoAllThatOthersMay)
{
    Handle const self = calls->hearAs("d", "x * 2", [&] {
        if (root->getPropertyValue("x") == PropertyValue(0))
            root->setPropertyValue("x", 1);
        else
            a.reset();
    });
    EXPECT_EQ(calls->take(), "d:x * 2=0; a:x=1; b:x=1; c:x + 10=11; d:x * 2=2");
    std::weak_ptr<int> alive;
    auto const token = std::make_shared<int>(0);
    Handle const last =
        engine->acquireExpression("y", [&, held = std::make_shared<int>(1)](auto const& text, auto const&) {
            alive = held;
            engine.reset();   // the text, the function and what it holds stay until it returns
            EXPECT_EQ(text, "y");
            EXPECT_EQ(alive.use_count() >= 1, true);
        });
    EXPECT_EQ(engine, nullptr);
    EXPECT_EQ(last->getValue(), PropertyValue());
}

TEST_F(Callbacks, RunningFunctionOutlivesItsHandle)
{
    auto const held = std::make_shared<int>(1);
    std::weak_ptr<int> const watched = held;
    Handle own;
    own = engine->acquireExpression(
        "y", [&own, mine = std::shared_ptr<int>(held)](std::string const& text, PropertyValue const& value) {
            if (value == PropertyValue(0))
                return;
            own.reset();
            EXPECT_EQ(*mine, 1);
            EXPECT_EQ(text, "y");
            EXPECT_EQ(value, PropertyValue(1));
        });
    root->setPropertyValue("y", 1);
    EXPECT_EQ(watched.use_count(), 1);   // and goes with the call
}

// ---- the engine

TEST_F(Callbacks, EngineMayBeDestroyed)
{
    onB = [&] { engine.reset(); };
    EXPECT_EQ(write(1), "a:x=1; b:x=1");
    EXPECT_EQ(a->getValue(), PropertyValue());
    EXPECT_EQ(write(2), "");
}

TEST_F(Callbacks, EngineMayBeDestroyedUnderSeveralReports)
{
    onA = [&] { root->setPropertyValue("x", 2); };
    onC = [&] { engine.reset(); };
    EXPECT_EQ(write(1), "a:x=1; a:x=2; b:x=2; c:x + 10=12");
    EXPECT_EQ(write(3), "");
}

TEST_F(Callbacks, EngineMayBeReplaced)
{
    std::unique_ptr<ExpressionEngine> other;
    std::optional<CallRecorder> otherCalls;
    Handle handle;
    onA = [&] {
        other = std::make_unique<ExpressionEngine>(root);
        otherCalls.emplace(*other);
        handle = otherCalls->hear("x");
        engine.reset();
    };
    EXPECT_EQ(write(1), "a:x=1");
    EXPECT_EQ(otherCalls->take(), "x=1");   // it was not there when that report was made
    write(2);
    EXPECT_EQ(otherCalls->take(), "x=2");
}

TEST_F(Callbacks, TwoEnginesHearEveryReportInTheOrderOfCommits)
{
    ExpressionEngine second{root};
    CallRecorder secondCalls{second};
    Handle const handle = second.acquireExpression("x", [&](auto const&, PropertyValue const& value) {
        calls->note("second " + support::shown(value));
        if (value == PropertyValue(1))
            root->setPropertyValue("x", 3);
    });
    calls->take();
    onA = [&] { root->setPropertyValue("x", 2); };
    // The nested commit first hands the older report on; by then the value is 2.
    EXPECT_EQ(write(1), "a:x=1; second 2; a:x=2; b:x=2; c:x + 10=12; b:x=2");
    calls->take();
    root->setPropertyValue("x", 0);
    calls->take();
    EXPECT_EQ(write(1), "a:x=1; b:x=1; c:x + 10=11; second 1; a:x=3; b:x=3; c:x + 10=13; second 3");
}

TEST_F(Callbacks, OneEngineMayEndAnotherThatWaitsForTheReport)
{
    auto second = std::make_unique<ExpressionEngine>(root);
    CallRecorder secondCalls{*second};
    Handle const handle = secondCalls.watch("x");
    onB = [&] { second.reset(); };
    EXPECT_EQ(write(1), "a:x=1; b:x=1; c:x + 10=11");
    EXPECT_EQ(secondCalls.take(), "");
    EXPECT_EQ(handle->getValue(), PropertyValue());
}

/// A listener that has nothing to do with expressions, and writes.
struct Foreign : tarn::zero::Listener {
    using Reports = tarn::zero::ReportList<tarn::zero::DeepChangeReport<studio::data::Property>,
                                           tarn::zero::ShallowChangeReport<studio::data::ContextData>>;
    Foreign() { studio::data::ContextProvider::sharedModel()->addDeepListener(this); }
    ~Foreign() override { studio::data::ContextProvider::sharedModel()->removeListener(this); }
    void transactionCommitted(tarn::zero::DeepChangeReport<studio::data::Property> const&) { run(); }
    void transactionCommitted(tarn::zero::ShallowChangeReport<studio::data::ContextData> const&) { run(); }
    void run()
    {
        if (std::function<void()> const action = std::exchange(once, nullptr))
            action();
    }
    std::function<void()> once;
};

TEST_F(Callbacks, ForeignListenerMayCommitBetweenAReportAndTheEngine)
{
    Foreign before;   // registered after the first engine, before the second
    ExpressionEngine second{root};
    CallRecorder secondCalls{second};
    Handle const handle = secondCalls.watch("(x ?? 'none') + ',' + (child.v ?? '-')");
    before.once = [&] {
        Provider const child = context({{"v", 1}});
        root->removeProperty("x");
        root->addProperty("child", child);
    };
    EXPECT_EQ(write(1), "a:x=1; b:x=1; c:x + 10=11; a:x=undefined; b:x=undefined; c:x + 10=undefined");
    EXPECT_EQ(secondCalls.take(), "(x ?? 'none') + ',' + (child.v ?? '-')='1,-'; "
                                  "(x ?? 'none') + ',' + (child.v ?? '-')='none,-'; "
                                  "(x ?? 'none') + ',' + (child.v ?? '-')='none,1'; "
                                  "(x ?? 'none') + ',' + (child.v ?? '-')='none,-'");
}

// ---- exceptions

TEST_F(Callbacks, ExceptionEndsThePassOfItsEngineAndTheChangeStays)
{
    struct Refusal {};
    ExpressionEngine second{root};
    CallRecorder secondCalls{second};
    Handle const handle = secondCalls.watch("x");
    onA = [] { throw Refusal{}; };
    EXPECT_THROW(write(1), Refusal);
    EXPECT_EQ(calls->take(), "a:x=1");
    EXPECT_EQ(secondCalls.take(), "x=1");   // the other listeners are still served
    EXPECT_EQ(root->getPropertyValue("x"), PropertyValue(1));
    EXPECT_EQ(b->getValue(), PropertyValue(1));
    EXPECT_EQ(c->getValue(), PropertyValue(10));   // not evaluated; the next report does it
    EXPECT_EQ(write(2), "a:x=2; b:x=2; c:x + 10=12");
}

TEST_F(Callbacks, ExceptionOfANestedWriteIsTheCallbacksToCatch)
{
    onA = [&] {
        onA = [] { throw std::runtime_error{"inner"}; };
        try {
            root->setPropertyValue("x", 2);
        } catch (std::runtime_error const& error) {
            calls->note(error.what());
        }
    };
    EXPECT_EQ(write(1), "a:x=1; a:x=2; inner; b:x=2; c:x + 10=12");
}

TEST_F(Callbacks, DropOfAProviderLetsNothingOut)
{
    Provider child = context({{"v", 1}});
    root->addProperty("child", child);
    Handle const path = calls->watch("child.v", [] { throw std::runtime_error{"deaf"}; });
    child.reset();
    EXPECT_EQ(calls->take(), "child.v=undefined");
}

}   // namespace

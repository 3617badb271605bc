#include "studio/data/ExpressionEngine.h"

#include "studio/data/ProviderRegistry.h"
#include "support/Contexts.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

// What looks like an exception to "an expression follows what it reads", and is wanted. docs/ has a page on it.
namespace studio::data {
namespace {

using support::CallRecorder;
using support::context;
using support::Handle;
using support::Provider;
using support::rolledBack;

// By design: a property literally named a.b hides the path when it is read, but does not wake its readers.
TEST(WhenAnExpressionDoesNotUpdate, LiteralNameHidesThePathAndWakesNobody)
{
    Provider const p = context({{"b", 1}});
    Provider const root = context({{"a", p}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const handle = calls.watch("a.b");
    root->addProperty("a.b", 5);
    root->getProperty("a.b")->setValue(6);
    EXPECT_EQ(calls.take(), "");
    p->setPropertyValue("b", 2);   // the path changed: now the literal name is seen
    EXPECT_EQ(calls.take(), "a.b=6");
    root->removeProperty("a.b");
    EXPECT_EQ(calls.take(), "");
    p->setPropertyValue("b", 3);
    EXPECT_EQ(calls.take(), "a.b=3");
}

// By design: a rename is not followed at the old name; who waits for the new one is woken.
TEST(WhenAnExpressionDoesNotUpdate, RenameIsNotFollowed)
{
    Provider const root = context({{"old", 1}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const old = calls.watch("old");
    Handle const fresh = calls.watch("fresh");
    root->getProperty("old")->setName("fresh");
    EXPECT_EQ(calls.take(), "fresh=1");
    EXPECT_EQ(old->getValue(), PropertyValue(1));
    root->setPropertyValue("fresh", 2);
    root->addProperty("old", 3);
    EXPECT_EQ(calls.take(), "fresh=2; old=3");
}

// By design: a move is not followed at the old place; who waits at the new one is woken.
TEST(WhenAnExpressionDoesNotUpdate, MoveIsNotFollowedAtTheOldPlace)
{
    Provider const p = context({{"x", 1}});
    Provider const root = context({{"p", p}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const there = calls.watch("p.x");
    Handle const here = calls.watch("x");
    p->getProperty("x")->setOwner(root->getProperty("p")->getOwner());
    EXPECT_EQ(calls.take(), "x=1");
    EXPECT_EQ(there->getValue(), PropertyValue(1));
    p->addProperty("x", 2);
    EXPECT_EQ(calls.take(), "p.x=2");
    root->getProperty("x")->setOwner(ContextData{});   // held by nobody: heard by nobody
    EXPECT_EQ(calls.take(), "");
}

// By design: inside a callback other handles may still hold the previous value.
TEST(WhenAnExpressionDoesNotUpdate, OtherHandlesMayHoldThePreviousValueInACallback)
{
    Provider const root = context({{"x", 1}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle later;
    Handle const first = calls.watch("x", [&] { calls.note("meanwhile " + support::shown(later->getValue())); });
    later = calls.watch("x * 10");
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take(), "x=2; meanwhile 10; x * 10=20");
}

// By design: writing NaN always counts as a change. An expression reads it as undefined, which equals itself.
TEST(WhenAnExpressionDoesNotUpdate, NaNAlwaysCountsAsAChange)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    Provider const p = context({{"x", nan}});
    Provider const root = context({{"p", p}, {"p.x", 0}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const shows = calls.watch("p.x");
    for (int time = 1; time != 3; ++time) {
        root->getProperty("p.x")->setValue(time);
        p->setPropertyValue("x", nan);
        EXPECT_EQ(calls.take(), "p.x=" + std::to_string(time));
    }
    root->removeProperty("p.x");
    p->setPropertyValue("x", nan);
    p->setPropertyValue("x", nan);
    EXPECT_EQ(calls.take(), "p.x=undefined");
}

// By design: what is acquired inside an open transaction sees its writes, and keeps them after a roll back until
// touched.
TEST(WhenAnExpressionDoesNotUpdate, AcquiredInATransactionThatRollsBackItKeepsItsWritesUntilTouched)
{
    Provider const other = context({{"c", 2}});
    Provider const q = context({{"b", other}});
    Provider const deep = context({{"c", 1}});
    Provider const p = context({{"b", deep}});
    Provider const root = context({{"a", p}, {"x", 1}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle x;
    Handle path;
    rolledBack([&] {
        root->setPropertyValue("x", 5);
        root->setPropertyValue("a", q);
        x = calls.hear("x");
        path = calls.hear("a.b.c");
    });
    EXPECT_EQ(calls.take(), "x=5; a.b.c=2");
    EXPECT_EQ(x->getValue(), PropertyValue(5));
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take(), "x=2");
    deep->setPropertyValue("c", 3);   // not touched: bound along the path that never was
    EXPECT_EQ(calls.take(), "");
    q->setPropertyValue("b", 0);   // touched in the middle of that path: bound anew from the root
    deep->setPropertyValue("c", 4);
    EXPECT_EQ(calls.take(), "a.b.c=3; a.b.c=4");
}

// By design: a provider destroyed inside a transaction that rolls back leaves its element alive and unregistered, so
// that paths through it stay undefined; its readers learn of it when they are touched next.
TEST(WhenAnExpressionDoesNotUpdate, ProviderReleasedInATransactionThatRollsBackIsNoProviderAnyMore)
{
    Provider p = context({{"b", 1}});
    Provider const root = context({{"a", p}, {"x", 0}});
    boost::uuids::uuid const id = p->getId();
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const handle = calls.watch("x ? 0 : a.b");
    rolledBack([&] { p.reset(); });
    EXPECT_EQ(calls.take(), "");
    EXPECT_EQ(handle->getValue(), PropertyValue(1));
    EXPECT_TRUE(ContextProvider::sharedModel()->findElement(id, 1));
    EXPECT_EQ(model::getContextProvider(id), nullptr);
    root->setPropertyValue("x", false);
    Provider const next = context({{"b", 2}});
    root->setPropertyValue("a", next);
    EXPECT_EQ(calls.take(), "x ? 0 : a.b=undefined; x ? 0 : a.b=2");
    ContextProvider::sharedModel()->findElement(id, 1)->destroy();
}

}   // namespace
}   // namespace studio::data

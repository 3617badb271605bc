#include "studio/data/ExpressionEngine.h"

#include "studio/data/ProviderRegistry.h"
#include "support/Contexts.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace studio::data {
namespace {

using support::CallRecorder;
using support::context;
using support::Handle;
using support::inTransaction;
using support::Provider;
using support::rolledBack;

// ---- where a path is bound after a report

/// Four contexts that refer to each other, an expression for each of some paths, and the question which properties wake
/// it. Each path has a property of its whole name in the root, which hides what the path leads to and wakes nobody: a new
/// value there shows in the next evaluation, whatever that was made for.
class Paths : public testing::Test {
public:
    using Contexts = std::map<std::string, Provider>;

    static inline std::vector<std::string> const symbols{"a.b.c", "x.b.c", "a.a.c", "a.a.a.b.c", "x.a.x.a.c", "b.b.b"};

    /// `change`, in one transaction. Every path that it touches is evaluated once, the others not at all.
    void change(std::function<void(Contexts&)> const& make)
    {
        std::map<std::string, std::vector<Step>> before;
        for (std::string const& symbol : symbols)
            before[symbol] = steps(symbol);
        ++value;
        for (std::string const& symbol : symbols)
            contexts["root"]->getProperty(symbol)->setValue(value);
        ASSERT_EQ(calls.take(), "");
        inTransaction([&] { make(contexts); });
        std::string const heard = takeHeard();
        for (std::string const& symbol : symbols) {
            bool const touched = std::any_of(before[symbol].begin(), before[symbol].end(), std::mem_fn(&Step::changed));
            std::size_t const first = heard.find(callOf(symbol));
            EXPECT_EQ(first != std::string::npos, touched) << symbol << " in " << heard;
            if (first != std::string::npos) {
                EXPECT_EQ(heard.find(callOf(symbol), first + 1), std::string::npos) << symbol << " twice in " << heard;
            }
        }
    }

    /// Each symbol is woken by exactly the steps that its path has now.
    void expectBoundAlongPaths()
    {
        for (std::string const& symbol : symbols) {
            std::vector<std::string> expected;
            for (Step const& step : steps(symbol))
                expected.push_back(nameOf(step.provider.lock()) + '.' + step.name);
            std::vector<std::string> woke;
            for (auto const& [contextName, provider] : contexts)
                for (char const* const name : {"a", "b", "c", "x"}) {
                    if (!provider)
                        continue;
                    contexts["root"]->getProperty(symbol)->setValue(++value);
                    touch(*provider, name);
                    if (takeHeard().find(callOf(symbol)) != std::string::npos)
                        woke.push_back(contextName + '.' + name);
                }
            std::sort(expected.begin(), expected.end());
            expected.erase(std::unique(expected.begin(), expected.end()), expected.end());
            std::sort(woke.begin(), woke.end());
            EXPECT_EQ(woke, expected) << symbol;
        }
    }

    Contexts contexts{{"root", context()}, {"P", context()}, {"Q", context()}, {"S", context()}};

private:
    /// One component of a path, as it once was.
    struct Step {
        std::weak_ptr<ContextProvider> provider;
        std::string name;
        Property property; // null when it was awaited
        PropertyValue value;

        bool changed() const
        {
            if (property.get())
                return !property || !(property->getValue() == value);
            return provider.expired() || provider.lock()->hasProperty(name);
        }
    };

    void SetUp() override
    {
        auto const fill = [&](char const* name, char const* a, char const* b, int c) {
            contexts[name]->addProperty("a", contexts[a]);
            contexts[name]->addProperty("b", contexts[b]);
            contexts[name]->addProperty("c", c);
        };
        fill("root", "P", "S", 0);
        fill("P", "P", "S", 1);
        fill("Q", "root", "P", 2);
        fill("S", "Q", "Q", 3);
        contexts["root"]->addProperty("x", contexts["Q"]);
        for (std::string const& symbol : symbols) {
            contexts["root"]->addProperty(symbol, {});
            handles.push_back(calls.watch(symbol));
        }
    }

    std::string takeHeard() { return "; " + calls.take() + ';'; }
    std::string callOf(std::string const& symbol) const { return "; " + symbol + '=' + std::to_string(value) + ';'; }

    /// A report on the property that leaves everything as it is.
    static void touch(ContextProvider& provider, std::string const& name)
    {
        bool const present = provider.hasProperty(name);
        PropertyValue const kept = provider.getPropertyValue(name);
        inTransaction([&] {
            provider.removeProperty(name);
            provider.addProperty(name, kept);
        });
        if (!present)
            provider.removeProperty(name);
    }

    std::vector<Step> steps(std::string const& symbol) const
    {
        std::vector<Step> path;
        Provider provider = contexts.at("root");
        for (std::size_t at = 0; provider;) {
            std::size_t const dot = symbol.find('.', at);
            std::string const name = symbol.substr(at, dot - at);
            path.push_back({provider, name, provider->getProperty(name), provider->getPropertyValue(name)});
            provider = dot == std::string::npos ? nullptr : provider->getChildContextProvider(name);
            at = dot + 1;
        }
        return path;
    }
    std::string nameOf(Provider const& provider) const
    {
        for (auto const& [name, candidate] : contexts)
            if (candidate == provider)
                return name;
        return "?";
    }
    ExpressionEngine engine{contexts["root"]};
    CallRecorder calls{engine};
    std::vector<Handle> handles;
    int value = 100;
};

struct Case {
    char const* name;
    std::function<void(Paths::Contexts&)> change;
};
void PrintTo(Case const& one, std::ostream* out)
{
    *out << one.name;
}
class PathOutcome : public Paths, public testing::WithParamInterface<Case> {};
TEST_P(PathOutcome, IsAsIfBoundAnewAfterOneReport)
{
    change(GetParam().change);
    expectBoundAlongPaths();
}

using C = Paths::Contexts;
void replace(Provider const& provider, char const* name, PropertyValue const& value)
{
    provider->removeProperty(name);
    provider->addProperty(name, value);
}

INSTANTIATE_TEST_SUITE_P(
    OneTransaction, PathOutcome,
    testing::Values(
        Case{"Nothing", [](C&) {}},
        Case{"ReferenceReplacedByAnother", [](C& c) { c["root"]->setPropertyValue("a", c["Q"]); }},
        Case{"ReferenceRemovedAndPutBack", [](C& c) { replace(c["root"], "a", c["P"]); }},
        Case{"ReferenceRemovedAndAnotherAdded", [](C& c) { replace(c["root"], "a", c["Q"]); }},
        Case{"TwoReferencesSwapped",
             [](C& c) {
                 c["root"]->setPropertyValue("a", c["Q"]);
                 c["root"]->setPropertyValue("x", c["P"]);
             }},
        Case{"TwoReferencesSwappedByReplacing",
             [](C& c) {
                 replace(c["root"], "a", c["Q"]);
                 replace(c["root"], "x", c["P"]);
             }},
        Case{"TwoComponentsTopFirst",
             [](C& c) {
                 c["root"]->setPropertyValue("a", c["Q"]);
                 c["Q"]->setPropertyValue("b", c["root"]);
                 c["P"]->setPropertyValue("b", 1);
             }},
        Case{"TwoComponentsDeepFirst",
             [](C& c) {
                 c["P"]->setPropertyValue("b", c["Q"]);
                 c["root"]->setPropertyValue("a", c["S"]);
             }},
        Case{"PlainValueInTheMiddle", [](C& c) { c["P"]->setPropertyValue("b", 7); }},
        Case{"IdOfNobodyInTheMiddle", [](C& c) { c["P"]->setPropertyValue("b", boost::uuids::uuid{}); }},
        Case{"ThereAndBackIsNoChange",
             [](C& c) {
                 c["root"]->setPropertyValue("a", c["Q"]);
                 c["root"]->setPropertyValue("a", c["P"]);
             }},
        Case{"ReferenceRemoved", [](C& c) { c["root"]->removeProperty("a"); }},
        Case{"EveryPropertyRemoved",
             [](C& c) {
                 for (auto const& entry : c)
                     for (char const* const name : {"a", "b", "c", "x"})
                         entry.second->removeProperty(name);
             }},
        Case{"CycleBroken", [](C& c) { c["Q"]->setPropertyValue("a", c["S"]); }},
        Case{"CycleTurned", [](C& c) { c["root"]->setPropertyValue("x", c["root"]); }},
        Case{"EverythingIsTheRoot",
             [](C& c) {
                 for (auto const& entry : c)
                     for (char const* const name : {"a", "b", "x"})
                         entry.second->setPropertyValue(name, c["root"]);
             }},
        Case{"ContextDiesAtTheEnd", [](C& c) { c["S"].reset(); }},
        Case{"ContextDiesInTheMiddle", [](C& c) { c["P"].reset(); }},
        Case{"ContextDiesAndIsReplaced",
             [](C& c) {
                 c["P"].reset();
                 c["root"]->setPropertyValue("a", c["Q"]);
             }},
        Case{"ContextIsReplacedAndDies",
             [](C& c) {
                 c["root"]->setPropertyValue("a", c["Q"]);
                 c["P"].reset();
             }},
        Case{"NewContextInTheMiddle",
             [](C& c) {
                 c["N"] = context({{"b", c["Q"]}, {"a", c["root"]}});
                 c["root"]->setPropertyValue("a", c["N"]);
             }},
        Case{"InnerTransactionUndone",
             [](C& c) {
                 c["P"]->setPropertyValue("b", c["Q"]);
                 rolledBack([&] {
                     c["root"]->setPropertyValue("a", c["Q"]);
                     c["Q"]->removeProperty("b");
                 });
             }}),
    [](auto const& info) { return info.param.name; });

TEST_F(Paths, AreRightAfterOneReportOnTopOfAnother)
{
    change([](C& c) { c["root"]->removeProperty("a"); });
    change([](C& c) { c["P"]->setPropertyValue("b", c["Q"]); });
    change([](C& c) { c["root"]->addProperty("a", c["P"]); });
    expectBoundAlongPaths();
    change([](C& c) { c["Q"].reset(); });
    change([](C& c) { replace(c["root"], "x", c["S"]); });
    expectBoundAlongPaths();
}

TEST(ChangePropagation, AwaitedPathAppearsInAnyOrder)
{
    Provider const root = context();
    Provider const p = context();
    Provider const q = context();
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const handle = calls.watch("a.b.c");
    q->addProperty("c", 1);
    p->addProperty("b", q);
    EXPECT_EQ(calls.take(), "");
    root->addProperty("a", p);
    EXPECT_EQ(calls.take(), "a.b.c=1");
    root->removeProperty("a");
    q->setPropertyValue("c", 2);
    root->addProperty("a", p);
    q->removeProperty("c");
    q->addProperty("c", 3);
    EXPECT_EQ(calls.take(), "a.b.c=undefined; a.b.c=2; a.b.c=undefined; a.b.c=3");
    // Context, properties and reference in one report.
    Provider made;
    inTransaction([&] {
        made = context({{"c", 4}});
        p->setPropertyValue("b", made);
    });
    EXPECT_EQ(calls.take(), "a.b.c=4");
}

TEST(ChangePropagation, EmptyComponentsAreNamesToo)
{
    Provider const p = context({{"", 1}, {"a", 2}});
    Provider const root = context({{"", p}, {"r", p}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const handles[] = {calls.watch("`.a`"), calls.watch("`r.`"), calls.watch("`.`"), calls.watch("`..`")};
    p->setPropertyValue("a", 3);
    p->setPropertyValue("", 4);
    EXPECT_EQ(calls.take(), "`.a`=3; `r.`=4; `.`=4");
    Provider const other = context({{"a", 5}});
    root->setPropertyValue("", other);
    root->setPropertyValue("", p);
    EXPECT_EQ(calls.take(), "`.a`=5; `.`=undefined; `.a`=3; `.`=4");
    p->setPropertyValue("", p);
    std::string const id = "='" + PropertyValue{p}.asString() + "'";
    EXPECT_EQ(calls.take(), "`r.`" + id + "; `.`" + id + "; `..`" + id);
}

// ---- how often

TEST(ChangePropagation, OneReportEvaluatesOnceWhateverItTouches)
{
    // A property that hides the path shows each evaluation: its values come one by one.
    Provider const p = context({{"y", 1}});
    Provider const root = context({{"x", 1}, {"p", p}, {"p.z", 0}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const handle = calls.watch("text(p.z) + ',' + x + ',' + p.y");
    std::string const text = "text(p.z) + ',' + x + ',' + p.y=";
    Provider made;
    inTransaction([&] {
        root->setPropertyValue("x", 2);
        p->setPropertyValue("y", 2);
        p->addProperty("z", 5);
        root->getProperty("p.z")->setValue(1);
    });
    EXPECT_EQ(calls.take(), text + "'1,2,2'");
    inTransaction([&] { // properties, a context that comes and one that changes
        made = context({{"y", 3}, {"z", 3}});
        made->setActiveContexts({"new"});
        root->setActiveContexts({"changed"});
        root->setPropertyValue("p", made);
        root->getProperty("p.z")->setValue(2);
    });
    EXPECT_EQ(calls.take(), text + "'2,2,3'");
    inTransaction([&] { // properties and a context that goes
        made.reset();
        root->setPropertyValue("p", p);
        root->getProperty("p.z")->setValue(3);
    });
    EXPECT_EQ(calls.take(), text + "'3,2,2'");
}

TEST(ChangePropagation, IsSilentWhenTheResultIsTheSame)
{
    Provider const root = context({{"x", 1}, {"y", 1}, {"list", "a"}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const handles[] = {calls.watch("x > 0"), calls.watch("x + y"), calls.watch("y ? list : 0")};
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take(), "x + y=3");
    inTransaction([&] {
        root->setPropertyValue("x", 3);
        root->setPropertyValue("y", 0);
    });
    EXPECT_EQ(calls.take(), "y ? list : 0=0"); // x + y is 3 again
    root->setPropertyValue("list", "b"); // read, but skipped
    root->setPropertyValue("x", 3.0);
    root->addProperty("unheard", 1);
    root->setActiveContexts({"a"});
    EXPECT_EQ(calls.take(), "");
}

TEST(ChangePropagation, ExpressionsAreToldInOrderOfAcquisition)
{
    Provider const root = context({{"x", 0}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    std::vector<Handle> handles;
    std::string expected;
    for (int i = 9; i >= 0; --i) {
        std::string const text = "x + " + std::to_string(i);
        handles.push_back(calls.hear(text));
        expected += (expected.empty() ? "" : "; ") + text + '=' + std::to_string(i + 1);
    }
    calls.take();
    root->setPropertyValue("x", 1);
    EXPECT_EQ(calls.take(), expected);
}

// ---- what does not update, and is wanted

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
    p->setPropertyValue("b", 2); // the path changed: now the literal name is seen
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
    root->getProperty("x")->setOwner(ContextData{}); // held by nobody: heard by nobody
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

// By design: what is acquired inside an open transaction sees its writes, and keeps them after a roll back until touched.
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
    deep->setPropertyValue("c", 3); // not touched: bound along the path that never was
    EXPECT_EQ(calls.take(), "");
    q->setPropertyValue("b", 0); // touched in the middle of that path: bound anew from the root
    deep->setPropertyValue("c", 4);
    EXPECT_EQ(calls.take(), "a.b.c=3; a.b.c=4");
}

TEST(ChangePropagation, AcquiredInATransactionThatCommitsItIsToldOfTheRestOfIt)
{
    Provider const p = context({{"b", 1}});
    Provider const root = context({{"a", 0}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle handle;
    Provider made;
    inTransaction([&] {
        made = context({{"b", 5}});
        root->setPropertyValue("a", made);
        handle = calls.hear("a.b");
        made->setPropertyValue("b", 6);
        EXPECT_EQ(calls.take(), "a.b=5");
    });
    EXPECT_EQ(calls.take(), "a.b=6");
    made->setPropertyValue("b", 7);
    root->setPropertyValue("a", p);
    p->setPropertyValue("b", 2);
    EXPECT_EQ(calls.take(), "a.b=7; a.b=1; a.b=2");
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

} // namespace
} // namespace studio::data

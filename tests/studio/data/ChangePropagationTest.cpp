#include "studio/data/ExpressionEngine.h"

#include "support/Contexts.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
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
/// it. Each path has a property of its whole name in the root, which hides what the path leads to and wakes nobody: a
/// new value there shows in the next evaluation, whatever that was made for.
class Paths : public testing::Test {
public:
    using Contexts = std::map<std::string, Provider>;

    static inline std::vector<std::string> const symbols{"a.b.c",     "x.b.c", "a.a.c", "a.a.a.b.c",
                                                         "x.a.x.a.c", "b.b.b", "a.n"};

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
                for (char const* const name : {"a", "b", "c", "x", "n"}) {
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
        Property property;   // null when it was awaited
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
    testing::Values(Case{"Nothing", [](C&) {}},
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
                    Case{"AwaitedPropertyAddedWhereItWillBe",
                         [](C& c) {
                             c["Q"]->addProperty("n", 1);
                             c["root"]->setPropertyValue("a", c["Q"]);
                         }},
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

TEST(ChangePropagation, DeathOfAnEmptyContextWakesWhoAwaitsAPropertyThere)
{
    Provider p = context();
    Provider const root = context({{"a", p}, {"a.n", 0}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const handle = calls.watch("a.n");
    root->getProperty("a.n")->setValue(1);   // shows the evaluation
    p.reset();
    EXPECT_EQ(calls.take(), "a.n=1");
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
    inTransaction([&] {   // properties, a context that comes and one that changes
        made = context({{"y", 3}, {"z", 3}});
        made->setActiveContexts({"new"});
        root->setActiveContexts({"changed"});
        root->setPropertyValue("p", made);
        root->getProperty("p.z")->setValue(2);
    });
    EXPECT_EQ(calls.take(), text + "'2,2,3'");
    inTransaction([&] {   // properties and a context that goes
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
    EXPECT_EQ(calls.take(), "y ? list : 0=0");   // x + y is 3 again
    root->setPropertyValue("list", "b");         // read, but skipped
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

}   // namespace
}   // namespace studio::data

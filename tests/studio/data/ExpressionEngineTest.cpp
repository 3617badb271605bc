#include "studio/data/ExpressionEngine.h"

#include "gel/Eval.h"
#include "studio/data/ContextView.h"
#include "studio/data/DataSource.h"
#include "studio/data/EngineObserver.h"
#include "studio/data/Expression.h"
#include "studio/data/ProviderRegistry.h"
#include "support/Allocations.h"
#include "support/ContextWatch.h"
#include "support/Contexts.h"
#include "support/Printers.h"
#include "support/Refusals.h"

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace studio::data {
namespace {

using namespace support;
using Id = boost::uuids::uuid;
using Texts = std::unordered_set<std::string>;

/// A root with x=1, y=1 and a reference "a" to a context with b=1, and an engine over it.
class Expressions : public testing::Test {
protected:
    Provider child = context({{"b", 1}});
    Provider root = context({{"x", 1}, {"y", 1}, {"a", child}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
};

// ---- values

TEST_F(Expressions, AreWhatTheirTextsYieldOverTheRoot)
{
    root->addProperty("text", "true");
    root->addProperty("nothing", {});
    // By design: no result is a UUID, and a text that looks like something else stays a text.
    std::string const id = '\'' + PropertyValue{child}.asString() + '\'';
    std::pair<char const*, std::string> const rows[] = {
        {"x * 3", "3"}, {"1 > 2", "false"}, {"text", "'true'"}, {"nothing", "undefined"}, {"none.x", "undefined"},
        {"a.b", "1"},   {"1 + 2", "3"},     {"a", id},          {"x && a", "true"}};
    for (auto const& [text, expected] : rows) {
        Handle const handle = calls.hear(text);
        EXPECT_EQ(calls.take(), text + ('=' + expected));
        EXPECT_EQ(shown(handle->getValue()), expected);
        EXPECT_EQ(DataSource::toPropertyValue(gel::eval(text, DataSource{root})), handle->getValue());
        EXPECT_FALSE(handle->getValue().isUUID());
    }
}

TEST_F(Expressions, AreUndefinedWithoutARootAndFollowOneThatIsGivenById)
{
    ExpressionEngine byPointer{Provider{}};
    ExpressionEngine byNilId{boost::uuids::uuid{}};
    for (ExpressionEngine* const none : {&byPointer, &byNilId}) {
        CallRecorder recorder{*none};
        Handle const handle = recorder.hear("a.b ?? 'none'");
        EXPECT_EQ(recorder.take(), "a.b ?? 'none'='none'");
        EXPECT_EQ(none->findExpressions("a.b"), nullptr);
        EXPECT_EQ(none->findExpression("a.b ?? 'none'")->symbolNames(), std::vector<std::string>{"a.b"});
    }
    ExpressionEngine byId{root->getId()};
    CallRecorder recorder{byId};
    Handle const handle = recorder.hear("x");
    root->setPropertyValue("x", 2);
    EXPECT_EQ(recorder.take(), "x=1; x=2");
}

// ---- sharing and releasing

TEST_F(Expressions, HandlesMayBeNotifiedAgainAndOutliveTheEngine)
{
    auto brief = std::make_unique<ExpressionEngine>(root);
    CallRecorder heard{*brief};
    Handle const handle = heard.watch("x");
    handle->notify();
    handle->notify();
    EXPECT_EQ(heard.take(), "x=1; x=1");
    brief.reset();
    ExpressionHandle const none{nullptr, [&](auto const&, auto const&) { heard.note("nobody"); }};
    ExpressionHandle const* const silent[] = {handle.get(), &none};
    for (ExpressionHandle const* const any : silent) {
        any->notify();
        EXPECT_EQ(any->getValue(), PropertyValue());
    }
    root->setPropertyValue("x", 2);
    EXPECT_EQ(heard.take(), "");
}

TEST_F(Expressions, EngineMayEndWhileACallbackIsCopied)
{
    std::unique_ptr<ExpressionEngine> ended;
    ExpressionEngine::Callback const callback{EndsWhenCopied{ended}};
    ended = std::make_unique<ExpressionEngine>(root);
    EXPECT_EQ(ended->acquireExpression("x + 1", callback), nullptr);
    EXPECT_EQ(ended, nullptr);
    root->setPropertyValue("x", 2);
}

TEST_F(Expressions, HandlesOfOthersAndThoseMadeByHandDisturbNobody)
{
    ExpressionEngine second{root};
    CallRecorder others{second};
    Handle own = calls.watch("x");
    Handle const theirs = others.watch("x");
    ExpressionHandle none{nullptr, [](auto const&, auto const&) {}};
    engine.releaseExpression(theirs.get());
    engine.releaseExpression(&none);
    ExpressionHandle{engine.findExpression("x"), [](auto const&, auto const&) {}};   // comes and goes
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take() + others.take(), "x=2x=2");
    ExpressionHandle byHand{engine.findExpression("x"), [&](auto const&, auto const& value) {
                                calls.note("by hand " + shown(value));
                                own.reset();   // the last one
                                engine.releaseExpression(&byHand);
                            }};
    byHand.notify();
    EXPECT_EQ(calls.take(), "by hand 2");
    EXPECT_EQ(engine.findExpression("x"), nullptr);
}

/// One property with so many back references that a linear search would show.
TEST_F(Expressions, ManyEnginesAndViewsFollowOneProperty)
{
    std::deque<ExpressionEngine> engines;
    std::deque<ContextView> views;
    std::vector<Handle> handles;
    std::vector<std::unique_ptr<ContextHandleImpl>> mirrors;
    int heard = 0;
    for (int i = 0; i != 12; ++i) {
        handles.push_back(engines.emplace_back(root).acquireExpression("x", [&](auto&&...) { ++heard; }));
        mirrors.push_back(views.emplace_back(tarn::zero::Model{}).acquire(root->getId(), nullptr));
    }
    for (int value = 2; value != 6; ++value) {
        heard = 0;
        if (value == 4)
            root->removeProperty("x"), root->addProperty("x", 0);
        root->setPropertyValue("x", value);
        EXPECT_EQ(heard, value == 4 ? 36 : 12);
        for (auto const& mirror : mirrors)
            EXPECT_EQ(mirror->getData()->getProperties().findImpl("x")->getValue(), PropertyValue(value));
    }
}

// ---- observers

/// Writes down what it is called for; `atEnd` runs when the rounds have ended.
struct Recorder final : EngineObserver {
    explicit Recorder(ExpressionEngine& watched) : engine{watched} { engine.addObserver(*this); }
    ~Recorder() override { engine.removeObserver(*this); }
    void roundBegins(tarn::zero::ReportData const* report) noexcept override { log += report ? "[" : "(["; }
    void symbolRebound(std::string_view symbol) noexcept override { log += "bind " + std::string{symbol} + ' '; }
    void expressionEvaluated(std::string const& text, PropertyValue const& before,
                             PropertyValue const& after) noexcept override
    {
        log += text + ':' + shown(before) + '>' + shown(after) + ' ';
    }
    void handleNotified(std::string const& text, PropertyValue const&) noexcept override { log += text + "! "; }
    void roundEnds(tarn::zero::ReportData const* report) noexcept override { log += report ? "." : ".)"; }
    void roundsEnded() override
    {
        log += "]";
        if (auto const once = std::exchange(atEnd, nullptr))
            once();
    }
    std::string take() { return std::exchange(log, {}); }

    ExpressionEngine& engine;
    std::string log;
    std::function<void()> atEnd;
};

TEST_F(Expressions, ObserversSeeEachRoundInOrder)
{
    std::optional<Recorder> first{std::in_place, engine}, second{std::in_place, engine};
    std::function<void()> inside;
    Handle const handle = engine.acquireExpression("a.b + x", [&](auto&&...) {
        if (auto const once = std::exchange(inside, nullptr))
            once();
    });
    Handle const other = calls.hear("x > 0");
    auto const expect = [&](char const* log, std::function<void()> const& act) {
        act();
        EXPECT_EQ(first->take(), log);
        EXPECT_EQ(second->take(), log);
    };
    expect("", [] {});
    expect("[a.b + x:2>3 a.b + x! x > 0:true>true .]", [&] { root->setPropertyValue("x", 2); });
    expect("", [&] { root->setPropertyValue("y", 2); });   // concerns no expression
    expect("([x > 0:true>true .)]", [&] { engine.updateExpression("x > 0"), engine.updateExpression("none"); });
    // A write in a callback is a round inside the running one; one at the end of the rounds begins new ones.
    Provider const far = context({{"b", 5}});
    first->take(), second->take();
    inside = [&] { root->setPropertyValue("a", far); };
    first->atEnd = [&] { root->setPropertyValue("x", 4); };
    root->setPropertyValue("x", 3);
    EXPECT_EQ(first->take(), "[a.b + x:3>4 a.b + x! [bind a.b a.b + x:4>8 a.b + x! .x > 0:true>true .]"
                             "[a.b + x:8>9 a.b + x! x > 0:true>true .]");
    root->setPropertyValue("a", child);
    second->take(), first->take();
    inside = [] { throw std::runtime_error{"out"}; };
    EXPECT_THROW(root->setPropertyValue("x", 9), std::runtime_error);
    EXPECT_EQ(first->take(), "[a.b + x:5>10 a.b + x! .]") << "rounds end by exceptions, too";
    second->take();
    first->atEnd = [&] { throw std::runtime_error{"at end"}; };
    EXPECT_THROW(root->setPropertyValue("x", 10), std::runtime_error);
    EXPECT_EQ(second->take().back(), ']') << "later observers are called all the same";
    first->atEnd = [&] { second.reset(); };
    root->setPropertyValue("x", 8);
    EXPECT_FALSE(second);
    auto const entries = engine.listExpressions();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_TRUE(entries[0].text == "a.b + x" && entries[0].value == PropertyValue(9) && entries[0].handles == 1);
    EXPECT_EQ(engine.getRoot(), root);
    auto brief = std::make_unique<ExpressionEngine>(root);
    struct Ends final : EngineObserver {
        void roundsEnded() override { engine->reset(), ++calls; }
        void engineEnds() noexcept override { ++ended; }
        std::unique_ptr<ExpressionEngine>* engine;
        int calls = 0, ended = 0;
    } ends[2];
    for (Ends& each : ends) {
        each.engine = &brief;
        brief->addObserver(each);
    }
    Handle const last = brief->acquireExpression("x", [](auto&&...) {});
    root->setPropertyValue("x", 7);
    EXPECT_EQ(ends[0].calls + ends[1].calls, 1) << "nobody is called after the engine";
    EXPECT_TRUE(ends[0].ended == 1 && ends[1].ended == 1);
}

// ---- failures

TEST_F(Expressions, LookUpThatThrowsLeavesTheSymbolsAndTheNextTryWorks)
{
    root->addProperty("broken", deadEntry());
    Handle const other = calls.watch("x");
    EXPECT_THROW(calls.hear("x + broken.y"), std::bad_weak_ptr);
    EXPECT_EQ(engine.findExpression("x + broken.y"), nullptr);
    EXPECT_EQ(*engine.findExpressions("x"), Texts{"x"}) << "symbols are bound in order of their names";
    root->setPropertyValue("x", 2);   // wakes the other one, and not what was never made
    EXPECT_EQ(calls.take(), "x=2");
    root->setPropertyValue("broken", context({{"y", 10}}));
    EXPECT_THROW(root->setPropertyValue("broken", deadEntry()), std::bad_weak_ptr);
    auto const fail = [&] {   // in an engine that goes, and what was bound with it
        ExpressionEngine brief{root};
        EXPECT_THROW(static_cast<void>(brief.acquireExpression("broken.y + x", nullptr)), std::bad_weak_ptr);
    };
    fail();
    std::size_t const before = liveAllocations();
    fail();
    EXPECT_EQ(liveAllocations(), before);
    Provider const whole = context({{"y", 10}});
    root->setPropertyValue("broken", whole);
    Handle const again = calls.hear("x + broken.y");
    whole->setPropertyValue("y", 20);
    EXPECT_EQ(calls.take(), "x + broken.y=12; x + broken.y=22");
}

TEST_F(Expressions, LeavesAreFoundByContextAndName)
{
    Handle const handle = calls.hear("x + a.b");
    using Leaves = std::vector<ExpressionEngine::Leaf>;
    EXPECT_EQ(engine.findLeaves(root->getId(), "x"), (Leaves{{"x", 0}}));
    EXPECT_EQ(engine.findLeaves(root->getId(), "a"), (Leaves{{"a.b", 0}}));
    EXPECT_EQ(engine.findLeaves(child->getId(), "b"), (Leaves{{"a.b", 2}}));
    EXPECT_NE((Leaves{{"a.b", 0}}), (Leaves{{"x", 0}}));
    EXPECT_NE((Leaves{{"a.b", 0}}), (Leaves{{"a.b", 2}}));
    EXPECT_TRUE(engine.findLeaves(child->getId(), "x").empty());
    Handle const spaced = calls.hear("x + a.b ");
    EXPECT_NE(engine.findExpression("x + a.b"), engine.findExpression("x + a.b "));
    engine.acquireLeaf("x", 0, nullptr);   // a null provider stops the walk
    engine.releaseLeaf("x", 0, nullptr);
    EXPECT_EQ(engine.findLeaves(root->getId(), "x"), (Leaves{{"x", 0}}));
}

TEST_F(Expressions, EveryWalkRefusesAnOffsetBeyondTheSymbol)
{
    Handle const handle = calls.hear("x");
    using Walk = std::function<void(std::string_view symbol, unsigned long offset)>;
    std::pair<char const*, Walk> const walks[] = {
        {"binding", [&](auto symbol, auto offset) { engine.acquireLeaf(symbol, offset, root); }},
        {"binding nothing", [&](auto symbol, auto offset) { engine.acquireLeaf(symbol, offset, nullptr); }},
        {"unbinding", [&](auto symbol, auto offset) { engine.releaseLeaf(symbol, offset); }},
        {"unbinding a walk", [&](auto symbol, auto offset) { engine.releaseLeaf(symbol, offset, root); }},
        {"unbinding by id", [&](auto symbol, auto offset) { engine.releaseLeaf(symbol, offset, root->getId()); }},
        {"unbinding by a dead id", [&](auto symbol, auto offset) { engine.releaseLeaf(symbol, offset, Id{}); }}};
    for (auto const& [what, walk] : walks)
        for (char const* const symbol : {"x", "y"}) {   // known and unknown
            walk(symbol, 1);
            EXPECT_EQ(refusalOf<std::out_of_range>([&, &walk = walk] { walk(symbol, 2); }),
                      "basic_string_view::substr: __pos (which is 2) > __size (which is 1)")
                << what;
        }
}

// ---- what looks like an exception to "an expression follows what it reads", and is wanted. docs/ has a page on it

using WhenAnExpressionDoesNotUpdate = Expressions;

TEST_F(WhenAnExpressionDoesNotUpdate, SameResultIsSilent)
{
    Handle const handles[] = {calls.watch("x > 0"), calls.watch("x + y"), calls.watch("y ? a.b : 0")};
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take(), "x + y=3");
    inTransaction([&] {
        root->setPropertyValue("x", 3);
        root->setPropertyValue("y", 0);
    });
    EXPECT_EQ(calls.take(), "y ? a.b : 0=0");   // x + y is 3 again
    child->setPropertyValue("b", 2);            // read, but skipped
    root->setActiveContexts({"a"});
    EXPECT_EQ(calls.take(), "");
}

// By design: a property literally named a.b hides the path when it is read, but does not wake its readers.
TEST_F(WhenAnExpressionDoesNotUpdate, LiteralNameHidesThePathAndWakesNobody)
{
    Handle const handle = calls.watch("a.b");
    root->addProperty("a.b", 5);
    root->getProperty("a.b")->setValue(6);
    EXPECT_EQ(calls.take(), "");
    engine.updateExpression("a.b");
    EXPECT_EQ(calls.take(), "a.b=6");
    root->getProperty("a.b")->setValue(7);
    child->setPropertyValue("b", 2);   // the path changed: now the literal name is seen
    EXPECT_EQ(calls.take(), "a.b=7");
    root->removeProperty("a.b");
    EXPECT_EQ(calls.take(), "");
    child->setPropertyValue("b", 3);
    EXPECT_EQ(calls.take(), "a.b=3");
}

// By design: a rename is not followed at the old name; who waits for the new one is woken.
TEST_F(WhenAnExpressionDoesNotUpdate, RenameIsNotFollowed)
{
    Handle const old = calls.watch("x");
    Handle const fresh = calls.watch("fresh");
    root->getProperty("x")->setName("fresh");
    EXPECT_EQ(calls.take(), "fresh=1");
    EXPECT_EQ(old->getValue(), PropertyValue(1));
    root->setPropertyValue("fresh", 2);
    root->addProperty("x", 3);
    EXPECT_EQ(calls.take(), "fresh=2; x=3");
}

// By design: a move is not followed at the old place; who waits at the new one is woken.
TEST_F(WhenAnExpressionDoesNotUpdate, MoveIsNotFollowedAtTheOldPlace)
{
    Handle const there = calls.watch("a.b");
    Handle const here = calls.watch("b");
    child->getProperty("b")->setOwner(root->getProperty("a")->getOwner());
    EXPECT_EQ(calls.take(), "b=1");
    EXPECT_EQ(there->getValue(), PropertyValue(1));
    child->addProperty("b", 2);
    EXPECT_EQ(calls.take(), "a.b=2");
    root->getProperty("b")->setOwner(ContextData{});   // held by nobody: heard by nobody
    EXPECT_EQ(calls.take(), "");
}

// By design: releasing one of two expressions that share a symbol unbinds both, until a new text names the symbol.
TEST_F(WhenAnExpressionDoesNotUpdate, ReleasingOneOfTwoExpressionsThatShareASymbolUnbindsBoth)
{
    Handle const stays = calls.hear("x + y");
    Handle goes = calls.hear("-x");
    goes.reset();
    calls.take();
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take(), "");
    EXPECT_EQ(*engine.findExpressions("x"), (Texts{"x + y"}));
    root->setPropertyValue("y", 5);   // its other symbol still wakes it
    EXPECT_EQ(calls.take(), "x + y=7");
    Handle const sameText = calls.hear("x + y");   // no new expression, so nothing is bound
    root->setPropertyValue("x", 3);
    Handle const newText = calls.hear("x");   // binds for all, and evaluates nobody else
    root->setPropertyValue("x", 4);
    EXPECT_EQ(calls.take(), "x + y=7; x=3; x + y=9; x + y=9; x=4");
}

// By design: inside a callback other handles may still hold the previous value.
TEST_F(WhenAnExpressionDoesNotUpdate, OtherHandlesMayHoldThePreviousValueInACallback)
{
    Handle later;
    Handle const first = calls.watch("x", [&] { calls.note("meanwhile " + shown(later->getValue())); });
    later = calls.watch("x * 10");
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take(), "x=2; meanwhile 10; x * 10=20");
}

// By design: writing NaN always counts as a change. An expression reads it as undefined, which equals itself.
TEST_F(WhenAnExpressionDoesNotUpdate, NaNAlwaysCountsAsAChange)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    child->setPropertyValue("b", nan);
    root->addProperty("a.b", 0);
    Handle const shows = calls.watch("a.b");
    for (int time = 1; time != 3; ++time) {
        root->getProperty("a.b")->setValue(time);
        child->setPropertyValue("b", nan);
        EXPECT_EQ(calls.take(), "a.b=" + std::to_string(time));
    }
    root->removeProperty("a.b");
    child->setPropertyValue("b", nan);
    child->setPropertyValue("b", nan);
    EXPECT_EQ(calls.take(), "a.b=undefined");
}

// By design: what is acquired inside an open transaction sees its writes, and keeps them after a roll back until
// touched.
TEST_F(WhenAnExpressionDoesNotUpdate, AcquiredInATransactionThatRollsBackItKeepsItsWritesUntilTouched)
{
    Provider const far = context({{"c", 2}});
    Provider const deep = context({{"c", 1}});
    Provider const q = context({{"b", far}});
    child->setPropertyValue("b", deep);
    Handle x, path;
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
TEST_F(WhenAnExpressionDoesNotUpdate, ProviderReleasedInATransactionThatRollsBackIsNoProviderAnyMore)
{
    root->setPropertyValue("x", 0);
    boost::uuids::uuid const id = child->getId();
    Handle const handle = calls.watch("x ? 0 : a.b");
    rolledBack([&] { child.reset(); });
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

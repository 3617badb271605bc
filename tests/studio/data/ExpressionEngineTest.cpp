#include "studio/data/ExpressionEngine.h"

#include "gel/ParseError.h"
#include "studio/data/Expression.h"
#include "support/Contexts.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace studio::data {
namespace {

using support::CallRecorder;
using support::context;
using support::Handle;
using support::Provider;

void ignore(std::string const&, PropertyValue const&) {}

/// Makes the next construction of a provider fail at its commit.
struct Refusing : tarn::zero::Listener {
    using Reports = tarn::zero::ReportList<tarn::zero::ShallowChangeReport<ContextData>>;
    Refusing() { ContextProvider::sharedModel()->addDeepListener(this); }
    ~Refusing() override { ContextProvider::sharedModel()->removeListener(this); }
    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
    {
        for (tarn::zero::ReportEntry const entry : report.created()) {
            id = entry.element().Uuid();
            throw std::runtime_error{"no"};
        }
    }
    boost::uuids::uuid id{};
};

/// The id of a provider whose construction failed: looking it up throws `std::bad_weak_ptr`.
PropertyValue deadEntry()
{
    Refusing listener;
    EXPECT_THROW(ContextProvider::create(), std::runtime_error);
    return listener.id;
}

// ---- values

struct Case {
    char const* name;
    char const* text;
    char const* expected;
};
class ExpressionValue : public testing::TestWithParam<Case> {};
TEST_P(ExpressionValue, IsWhatTheTextYieldsOverTheRoot)
{
    Provider const child = context({{"n", 2}});
    Provider const root =
        context({{"number", 1.5}, {"yes", true}, {"text", "true"}, {"nothing", {}}, {"child", child}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const handle = calls.hear(GetParam().text);
    std::string expected = GetParam().expected;
    if (expected == "id")
        expected = '\'' + PropertyValue{child}.asString() + '\'';
    EXPECT_EQ(calls.take(), GetParam().text + ('=' + expected));
    EXPECT_EQ(support::shown(handle->getValue()), expected);
    EXPECT_FALSE(handle->getValue().isUUID());
}
INSTANTIATE_TEST_SUITE_P(All, ExpressionValue,
                         testing::Values(Case{"Number", "number * 2", "3"}, Case{"Logical", "yes && true", "true"},
                                         Case{"FalseIsToldToo", "1 > 2", "false"},
                                         Case{"TextStaysText", "text", "'true'"},
                                         Case{"Undefined", "nothing", "undefined"},
                                         Case{"Absent", "absent.x", "undefined"}, Case{"Path", "child.n", "2"},
                                         Case{"ReferenceIsItsText", "child", "id"}, Case{"NoSymbols", "1 + 2", "3"}),
                         [](auto const& info) { return info.param.name; });

TEST(ExpressionEngine, WithoutARootEverythingIsUndefinedAndNothingBound)
{
    ExpressionEngine byPointer{Provider{}};
    ExpressionEngine byId{boost::uuids::uuid{}};
    for (ExpressionEngine* const engine : {&byPointer, &byId}) {
        CallRecorder calls{*engine};
        Handle const handle = calls.hear("a.b ?? 'none'");
        EXPECT_EQ(calls.take(), "a.b ?? 'none'='none'");
        EXPECT_EQ(engine->findExpressions("a.b"), nullptr);
        EXPECT_EQ(engine->findExpression("a.b ?? 'none'")->symbols.count("a.b"), 1u);
    }
}

TEST(ExpressionEngine, TakesItsRootById)
{
    Provider const root = context({{"x", 1}});
    ExpressionEngine engine{root->getId()};
    CallRecorder calls{engine};
    Handle const handle = calls.hear("x");
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take(), "x=1; x=2");
}

// ---- sharing and releasing

TEST(ExpressionEngine, OneTextIsOneExpressionUntilItsLastHandleGoes)
{
    Provider const root = context({{"x", 1}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    EXPECT_EQ(engine.findExpression("x"), nullptr);
    Handle first = calls.hearAs("first", "x");
    Expression const* const expression = engine.findExpression("x");
    Handle second = calls.hearAs("second", "x");
    Handle const spaced = calls.hearAs("spaced", "x ");
    EXPECT_EQ(engine.findExpression("x"), expression);
    EXPECT_NE(engine.findExpression("x "), expression);
    EXPECT_EQ(*engine.findExpressions("x"), (std::unordered_set<std::string>{"x", "x "}));
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take(), "first:x=1; second:x=1; spaced:x =1; first:x=2; second:x=2; spaced:x =2");
    first.reset();
    EXPECT_EQ(engine.findExpression("x"), expression);
    second.reset();
    EXPECT_EQ(engine.findExpression("x"), nullptr);
    EXPECT_EQ(engine.findExpressions("x")->size(), 1u);
}

TEST(ExpressionEngine, HandlesAreCalledInOrderOfAcquisitionWhateverWasReleased)
{
    Provider const root = context({{"x", 0}});
    ExpressionEngine engine{root};
    std::string order;
    std::vector<Handle> handles;
    for (char name = 'a'; name <= 'z'; ++name)
        handles.push_back(engine.acquireExpression("x", [&order, name](auto const&, auto const&) { order += name; }));
    for (std::size_t const released : {3u, 0u, 25u, 12u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 13u, 14u, 15u, 16u})
        handles[released].reset();
    handles[3] = engine.acquireExpression("x", [&order](auto const&, auto const&) { order += 'D'; });
    order.clear();
    root->setPropertyValue("x", 1);
    EXPECT_EQ(order, "bcrstuvwxyD");
}

// By design: releasing one of two expressions that share a symbol unbinds both, until a new text names the symbol.
TEST(ExpressionEngine, ReleasingOneOfTwoExpressionsThatShareASymbolUnbindsBoth)
{
    Provider const root = context({{"x", 1}, {"y", 1}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const stays = calls.hear("x + y");
    Handle goes = calls.hear("-x");
    goes.reset();
    calls.take();
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take(), "");
    EXPECT_EQ(*engine.findExpressions("x"), (std::unordered_set<std::string>{"x + y"}));
    root->setPropertyValue("y", 5);   // its other symbol still wakes it
    EXPECT_EQ(calls.take(), "x + y=7");
    Handle const sameText = calls.hear("x + y");   // no new expression, so nothing is bound
    root->setPropertyValue("x", 3);
    Handle const newText = calls.hear("x");   // binds for all, and evaluates nobody else
    root->setPropertyValue("x", 4);
    EXPECT_EQ(calls.take(), "x + y=7; x=3; x + y=9; x + y=9; x=4");
}

TEST(ExpressionEngine, NamesSharedBySymbolsSurviveEachOfThem)
{
    // The table's keys are views into symbols; the release of any one must not leave a dangling one.
    for (std::size_t first = 0; first != 6; ++first) {
        Provider const child = context({{"x", 0}});
        Provider const root = context({{"a component long enough to be allocated", child}});
        ExpressionEngine engine{root};
        CallRecorder calls{engine};
        std::vector<Handle> handles;
        for (char last : {'x', 'y', 'z', 'u', 'v', 'w'})
            handles.push_back(calls.watch(std::string{"`a component long enough to be allocated`."} + last));
        for (std::size_t i = first; i != first + 5; ++i)
            handles[i % 6].reset();
        Provider const other = context({{"x", 1}, {"y", 1}, {"z", 1}, {"u", 1}, {"v", 1}, {"w", 1}});
        root->setPropertyValue("a component long enough to be allocated", other);
        EXPECT_EQ(calls.take(),
                  std::string{"`a component long enough to be allocated`."} + "xyzuvw"[(first + 5) % 6] + "=1");
    }
}

// ---- handles

TEST(ExpressionHandle, OutlivesItsEngineDetached)
{
    Provider const root = context({{"x", 1}});
    auto engine = std::make_unique<ExpressionEngine>(root);
    CallRecorder calls{*engine};
    Handle const handle = calls.watch("x");
    engine.reset();
    EXPECT_EQ(handle->getValue(), PropertyValue());
    handle->notify();
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take(), "");
}

TEST(ExpressionHandle, WithoutAnExpressionIsSilent)
{
    bool called = false;
    ExpressionHandle const handle{nullptr, [&](auto const&, auto const&) { called = true; }};
    handle.notify();
    EXPECT_EQ(handle.getValue(), PropertyValue());
    EXPECT_FALSE(called);
}

TEST(ExpressionHandle, NotifyTellsTheValueAgain)
{
    Provider const root = context({{"x", 1}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const handle = calls.watch("x");
    handle->notify();
    handle->notify();
    EXPECT_EQ(calls.take(), "x=1; x=1");
}

// ---- failures

TEST(ExpressionEngineFailure, TextThatDoesNotParseLeavesNothingBoundAndMayBeTriedAgain)
{
    ExpressionEngine engine{context({{"x", 1}})};
    for (int time = 0; time != 2; ++time) {
        EXPECT_THROW(engine.acquireExpression("x +", ignore), gel::ParseError);
        EXPECT_EQ(engine.findExpression("x +"), nullptr);
        EXPECT_EQ(engine.findExpressions("x"), nullptr);
        engine.updateExpression("x +");   // nobody holds it: nothing to do
        engine.updateExpression("never seen");
    }
}

TEST(ExpressionEngineFailure, LookUpThatThrowsLeavesTheSymbolsAndTheNextTryWorks)
{
    Provider const root = context({{"x", 1}, {"broken", deadEntry()}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    Handle const other = calls.watch("x");
    EXPECT_THROW(calls.hear("x + broken.y"), std::bad_weak_ptr);
    EXPECT_EQ(engine.findExpression("x + broken.y"), nullptr);
    root->setPropertyValue("x", 2);   // wakes the other one, and not what was never made
    EXPECT_EQ(calls.take(), "x=2");
    root->setPropertyValue("broken", context({{"y", 10}}));
    EXPECT_THROW(root->setPropertyValue("broken", deadEntry()), std::bad_weak_ptr);
    Provider const child = context({{"y", 10}});
    root->setPropertyValue("broken", child);
    Handle const again = calls.hear("x + broken.y");
    child->setPropertyValue("y", 20);
    EXPECT_EQ(calls.take(), "x + broken.y=12; x + broken.y=22");
}

TEST(ExpressionEngineFailure, FirstCallThatThrowsSubscribesNobody)
{
    struct Refusal {};
    Provider const root = context({{"x", 1}});
    ExpressionEngine engine{root};
    CallRecorder calls{engine};
    auto const refuse = [](auto const&, auto const&) { throw Refusal{}; };
    EXPECT_THROW(engine.acquireExpression("x", refuse), Refusal);
    EXPECT_EQ(engine.findExpression("x"), nullptr);
    EXPECT_EQ(engine.findExpressions("x"), nullptr);
    EXPECT_THROW(engine.acquireExpression("x", nullptr), std::bad_function_call);
    Handle const held = calls.watch("x");
    EXPECT_THROW(engine.acquireExpression("x", refuse), Refusal);
    root->setPropertyValue("x", 2);
    EXPECT_EQ(calls.take(), "x=2");
}

TEST(ExpressionEngineFailure, WalksRefuseAnOffsetBeyondTheSymbol)
{
    Provider const root = context({{"x", 1}});
    ExpressionEngine engine{root};
    Handle const handle = engine.acquireExpression("x", ignore);
    EXPECT_THROW(engine.acquireLeaf("x", 2, root), std::out_of_range);
    EXPECT_THROW(engine.releaseLeaf("x", 2), std::out_of_range);
    engine.acquireLeaf("x", 0, nullptr);   // a null provider stops the walk
}

}   // namespace
}   // namespace studio::data

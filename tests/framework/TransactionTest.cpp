#include "tarn/zero/Transaction.h"

#include "support/Allocations.h"
#include "support/ReportRecorder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace tarn::zero {
namespace {

using support::add;
using support::commit;
using support::ContextData;
using support::newContext;
using support::newProperty;
using support::Property;
using support::PropertyValue;
using support::shown;
using support::thrownBy;

/// Context C with a=1 and b=2 and the active contexts x and y, context D with nothing, and a lone property.
struct World {
    Model model = support::newModel();
    ContextData c = newContext(model);
    ContextData d = newContext(model);
    Property a = add(c, "a", 1);
    Property b = add(c, "b", 2);
    Property lone = newProperty(model, "lone", 3);
    Property made;   // what a test creates

    World()
    {
        c->getActiveContextsMutable().push_back("x");
        c->getActiveContextsMutable().push_back("y");
    }

    std::string state() const
    {
        auto const context = [](ContextData const& any) { return any ? shown(any) : std::string{"dead"}; };
        auto const property = [](Property const& any) {
            return any ? any.name() + (any.owner() ? "*" : "") : std::string{"dead"};
        };
        return "C " + context(c) + " | D " + context(d) + " | " + property(a) + ' ' + property(b) + ' ' +
               property(lone) + " | " + std::to_string(model->elements().size());
    }
};

std::string const atFirst = "C x,y: a=1 b=2 | D : | a* b* lone | 5";

// ---- what a report tells

struct ReportCase {
    char const* name;
    std::function<void(World&)> change;   // in one transaction
    char const* heard;
};
class TransactionReport : public testing::TestWithParam<ReportCase> {};
TEST_P(TransactionReport, ListsWhatChangedAndWhatItWas)
{
    World w;
    support::ReportRecorder recorder{w.model};
    recorder.call(w.c, "C");
    recorder.call(w.d, "D");
    commit(w.model, [&] { GetParam().change(w); });
    EXPECT_EQ(recorder.take(), GetParam().heard);

    World undone;
    support::ReportRecorder silent{undone.model};
    support::rollBack(undone.model, [&] { GetParam().change(undone); });
    EXPECT_EQ(undone.state(), atFirst);
    EXPECT_EQ(silent.take(), "");
}
INSTANTIATE_TEST_SUITE_P(
    Changes, TransactionReport,
    testing::Values(
        ReportCase{"Nothing", [](World&) {}, ""},
        ReportCase{"SameNameAndValue", [](World& w) { w.a->setName("a"), w.a->setValue(1); }, ""},
        ReportCase{"ValueAndBack", [](World& w) { w.a->setValue(9), w.a->setValue(1); }, ""},
        ReportCase{"TwoValuesKeepTheFirst", [](World& w) { w.a->setValue(8), w.a->setValue("s"); }, "~a(value=1)"},
        ReportCase{"NotANumberIsAlwaysAChange",
                   [](World& w) {
                       w.lone->setValue(std::nan(""));
                       w.lone->setValue(3);
                       w.a->setValue(std::nan(""));
                   },
                   "~a(value=1)"},
        ReportCase{"NameAndBack", [](World& w) { w.a->setName("z"), w.a->setName("a"); }, "~C(properties=a,b)"},
        ReportCase{"Rename", [](World& w) { w.a->setName("z"); }, "~z(name=a); ~C(properties=b,z)"},
        ReportCase{"Swap", [](World& w) { w.a->setName("t"), w.b->setName("a"), w.a->setName("b"); },
                   "~b(name=a) ~a(name=b); ~C(properties=a,b)"},
        ReportCase{"Move", [](World& w) { w.a->setOwner(w.d); }, "~a(owner=C); ~C(properties=a,b) ~D(properties=)"},
        ReportCase{"MoveAndBack", [](World& w) { w.a->setOwner(w.d), w.a->setOwner(w.c); }, "~C(properties=a,b)"},
        ReportCase{"TakeOut", [](World& w) { w.a->setOwner({}); }, "~a(owner=C); ~C(properties=a,b)"},
        ReportCase{"PutIn", [](World& w) { w.d->getPropertiesMutable().add(w.lone); },
                   "~lone(owner=none); ~D(properties=)"},
        ReportCase{"CreateAndModify",
                   [](World& w) { w.made = add(w.d, "n", 1), w.made->setValue(2), w.made->setName("m"); },
                   "+m; ~D(properties=)"},
        ReportCase{"CreateAndDestroy", [](World& w) { add(w.c, "n", 1)->destroy(), newContext(w.model)->destroy(); },
                   "~C(properties=a,b)"},
        ReportCase{"ModifyAndDestroy", [](World& w) { w.a->setValue(9), w.a->setName("z"), w.a->destroy(); },
                   "-z; ~C(properties=b,z)"},
        ReportCase{"DestroyWithContents", [](World& w) { w.c->destroy(); }, "-a -b; -C"},
        ReportCase{"DestroyWhatMovedIn", [](World& w) { w.a->setOwner(w.d), w.d->destroy(), w.d->destroy(); },
                   "-a; ~C(properties=a,b) -D"},
        ReportCase{"DestroyedAndMadeAgain",
                   [](World& w) {
                       boost::uuids::uuid const id = w.a.Uuid();
                       w.a->destroy();
                       w.made = Property::create(w.model, id);
                       w.made->setName("a");
                       w.made->setOwner(w.c);
                   },
                   "+a -a; ~C(properties=a,b)"},
        ReportCase{"OnlyElementOutAndIn",
                   [](World& w) {
                       w.b->destroy();
                       commit(w.model, [&] { w.a->setOwner({}), w.a->setOwner(w.c); });
                   },
                   "-b; ~C(properties=a,b)"},
        ReportCase{"EmptyMapFilledAndEmptied", [](World& w) { w.lone->setOwner(w.d), w.lone->setOwner({}); }, ""},
        ReportCase{"ActiveContexts", [](World& w) { w.c->getActiveContextsMutable().erase(0); }, "~C(active=x,y)"},
        ReportCase{"SameActiveContextsAgain",
                   [](World& w) {
                       w.c->getActiveContextsMutable().erase(1);
                       w.c->getActiveContextsMutable().push_back("y");
                   },
                   "~C(active=x,y)"},
        ReportCase{"EmptyActiveContextsFilledAndEmptied",
                   [](World& w) {
                       w.d->getActiveContextsMutable().push_back("q");
                       w.d->getActiveContextsMutable().clear();
                   },
                   ""},
        ReportCase{"Everything",
                   [](World& w) {
                       w.a->setName("z");
                       w.a->setOwner(w.d);
                       w.a->setValue(false);
                       w.lone->setOwner(w.c);
                       w.lone->setName("a");
                       w.b->destroy();
                       w.c->getActiveContextsMutable().insert(1, "q");
                       w.made = add(w.c, "b", 7);
                   },
                   "+b ~z(name=a value=1 owner=C) ~a(name=lone owner=none) -b; "
                   "~C(active=x,y properties=b,z) ~D(properties=)"}),
    [](auto const& info) { return info.param.name; });

TEST(TransactionReport, OnlyElementReplacedByItselfIsNoChange)
{
    World w;
    w.b->destroy();
    support::ReportRecorder recorder{w.model};
    commit(w.model, [&] { w.a->setOwner({}), w.a->setOwner(w.c); });
    EXPECT_EQ(recorder.take(), "");
    // By design: the map rule looks at the UUID alone.
    commit(w.model, [&] {
        boost::uuids::uuid const id = w.a.Uuid();
        w.a->destroy();
        w.a = Property::create(w.model, id);
        w.a->setOwner(w.c);
    });
    EXPECT_EQ(recorder.take(), "+unnamed -a");
}

// ---- savepoints

/// One step a letter: `(` begins, `)` commits and `]` rolls back the innermost level; the rest stands below.
void run(World& w, std::string const& script)
{
    std::vector<std::unique_ptr<Transaction>> open;
    for (char const step : script) {
        switch (step) {
        case '(': open.push_back(std::make_unique<Transaction>(w.model->beginTransaction(true))); break;
        case ')': open.back()->commit(boost::none); [[fallthrough]];
        case ']': open.pop_back(); break;
        case 'v': w.a->setValue(w.a->getValue().getDouble() + 10); break;
        case 'n': w.a->setName(w.a.name() + "'"); break;
        case 'm': w.a->setOwner(w.a.owner() == w.c ? w.d : w.c); break;
        case 'o': w.a->setOwner({}); break;
        case 'd': w.a->destroy(); break;
        case 'D': w.c->destroy(); break;
        case 'c': w.made = add(w.c, "new", 5); break;
        case 'w': w.made->setValue(6); break;
        case 'M': w.made->setOwner(w.d); break;
        case 'k': w.made->destroy(); break;
        case 'x': w.c->getActiveContextsMutable().push_back("z"); break;
        case 's': w.a->setName("t"), w.b->setName("a"), w.a->setName("b"); break;
        case '0': w.c->getPropertiesMutable().clear(); break;
        default: FAIL() << step;
        }
    }
}

struct ScriptCase {
    char const* name;
    char const* script;
    char const* state;
    char const* heard;
};
class Savepoints : public testing::TestWithParam<ScriptCase> {};
TEST_P(Savepoints, CommitOutwardAndRollBackAlone)
{
    World w;
    support::ReportRecorder recorder{w.model};
    recorder.call(w.c, "C");
    recorder.call(w.d, "D");
    run(w, GetParam().script);
    EXPECT_EQ(w.state(), GetParam().state);
    EXPECT_EQ(recorder.take(), GetParam().heard);
    EXPECT_FALSE(w.model->isInTransaction());

    // Whatever happened inside, rolling back the whole restores it all.
    World undone;
    run(undone, "(" + std::string(GetParam().script) + "]");
    EXPECT_EQ(undone.state(), atFirst);
    EXPECT_EQ(undone.model->findElement(undone.a.Uuid(), 1), undone.a);
    EXPECT_TRUE(!undone.made || undone.made.owner() == undone.c);
}
INSTANTIATE_TEST_SUITE_P(
    Scripts, Savepoints,
    testing::Values(
        ScriptCase{"InnerValueKeepsOuterOldValue", "(v(v(v)))", "C x,y: a=31 b=2 | D : | a* b* lone | 5",
                   "~a(value=1)"},
        ScriptCase{"InnerValueUndone", "(v(v]v)", "C x,y: a=21 b=2 | D : | a* b* lone | 5", "~a(value=1)"},
        ScriptCase{"InnerRenamesUndone", "(n(n(n)]n)", "C x,y: a''=1 b=2 | D : | a''* b* lone | 5",
                   "~a''(name=a); ~C(properties=a'',b)"},
        ScriptCase{"AllInnerUndone", "((v)(n)(m)(d)(x)]", atFirst.c_str(), ""},
        ScriptCase{"OnlyInnermostUndone", "(n(v(m]x)v)", "C x,y,z: a'=21 b=2 | D : | a'* b* lone | 5",
                   "~a'(name=a value=1); ~C(active=x,y properties=a',b)"},
        ScriptCase{"InnerMoveUndone", "(m(m(m]])", "C x,y: b=2 | D : a=1 | a* b* lone | 5",
                   "~a(owner=C); ~C(properties=a,b) ~D(properties=)"},
        ScriptCase{"InnerMoveAndBackIsNoMove", "(v((m)(m)))", "C x,y: a=11 b=2 | D : | a* b* lone | 5",
                   "~a(value=1); ~C(properties=a,b)"},
        ScriptCase{"CreatedInsideIsCreated", "((c)(w))", "C x,y: a=1 b=2 new=6 | D : | a* b* lone | 6",
                   "+new; ~C(properties=a,b)"},
        ScriptCase{"CreatedOutsideAndUndoneInside", "(c(wM]w)", "C x,y: a=1 b=2 new=6 | D : | a* b* lone | 6",
                   "+new; ~C(properties=a,b)"},
        ScriptCase{"CreatedInsideAndUndone", "(v(c(w)M]v)", "C x,y: a=21 b=2 | D : | a* b* lone | 5", "~a(value=1)"},
        ScriptCase{"CreatedOutsideDestroyedInside", "(c((k)))", "C x,y: a=1 b=2 | D : | a* b* lone | 5",
                   "~C(properties=a,b)"},
        ScriptCase{"CreatedAndDestructionUndone", "(c(k](w))", "C x,y: a=1 b=2 new=6 | D : | a* b* lone | 6",
                   "+new; ~C(properties=a,b)"},
        ScriptCase{"DestructionUndone", "(v(nd](v))", "C x,y: a=21 b=2 | D : | a* b* lone | 5", "~a(value=1)"},
        ScriptCase{"DestroyedInside", "(v((nd)))", "C x,y: b=2 | D : | dead b* lone | 4", "-a'; ~C(properties=a',b)"},
        ScriptCase{"ContainerDestroyedAndUndone", "(m(mD]v)", "C x,y: b=2 | D : a=11 | a* b* lone | 5",
                   "~a(value=1 owner=C); ~C(properties=a,b) ~D(properties=)"},
        ScriptCase{"ContainerDestroyedInside", "(s(n(D)))", "C dead | D : | dead dead lone | 2", "-b' -a; -C"},
        ScriptCase{"SwapUndone", "(n(ns]s)", "C x,y: a=2 b=1 | D : | b* a* lone | 5",
                   "~b(name=a) ~a(name=b); ~C(properties=a,b)"},
        ScriptCase{"ClearUndone", "(s(0]n)", "C x,y: a=2 b'=1 | D : | b'* a* lone | 5",
                   "~b'(name=a) ~a(name=b); ~C(properties=a,b')"},
        ScriptCase{"ActiveContextsAcrossLevels", "(x(x(x]))", "C x,y,z,z: a=1 b=2 | D : | a* b* lone | 5",
                   "~C(active=x,y)"},
        ScriptCase{"OutAndInAcrossLevels", "((o)(x(m)))", "C x,y,z: a=1 b=2 | D : | a* b* lone | 5",
                   "~C(active=x,y properties=a,b)"}),
    [](auto const& info) { return info.param.name; });

/// Three levels of which each writes.
struct Nested {
    World w;
    std::optional<Transaction> outer{w.model->beginTransaction(true)};
    std::optional<Transaction> middle;
    std::optional<Transaction> inner;

    Nested()
    {
        w.a->setValue(10);
        middle.emplace(w.model->beginTransaction(true));
        w.a->setName("z");
        inner.emplace(w.model->beginTransaction(true));
        w.a->setOwner(w.d);
    }
};

TEST(Transaction, CommittedOutOfOrderOrTwiceTouchesNothing)
{
    Nested n;
    EXPECT_EQ(thrownBy([&] { n.outer->commit(boost::none); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { n.middle->commit(boost::none); }), "logic_error");
    EXPECT_EQ(n.w.state(), "C x,y: b=2 | D : z=10 | z* b* lone | 5");
    n.inner->commit(boost::none);
    EXPECT_EQ(thrownBy([&] { n.inner->commit(boost::none); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { n.outer->commit(boost::none); }), "logic_error");
    n.inner.reset();   // ended long ago: ends nobody else
    n.w.b->setValue(20);
    n.middle->commit(boost::none);
    n.outer->commit(boost::none);
    EXPECT_EQ(n.w.state(), "C x,y: b=20 | D : z=10 | z* b* lone | 5");
    EXPECT_EQ(thrownBy([&] { n.outer->commit(boost::none); }), "logic_error");
}

TEST(Transaction, OuterOneEndingFirstTakesTheInnerOnesAlong)
{
    Nested n;
    n.middle.reset();
    EXPECT_EQ(n.w.state(), "C x,y: a=10 b=2 | D : | a* b* lone | 5");
    EXPECT_EQ(thrownBy([&] { n.inner->commit(boost::none); }), "logic_error");
    Transaction next = n.w.model->beginTransaction(true);   // at the level of the one that ended
    n.w.a->setName("y");
    n.inner.reset();
    next.commit(boost::none);
    n.outer.reset();
    EXPECT_EQ(n.w.state(), atFirst);
    EXPECT_FALSE(n.w.model->isInTransaction());
}

TEST(Transaction, KeepsItsModelUntilItEnds)
{
    World w;
    Property const a = w.a;
    std::optional<Transaction> transaction{w.model->beginTransaction(true)};
    a->setValue(9);
    w.model = Model{};
    EXPECT_TRUE(a);
    transaction.reset();
    EXPECT_FALSE(a);
    EXPECT_EQ(a->getValue(), PropertyValue(1));
}

TEST(Transaction, RollBackRevivesTheVeryElements)
{
    World w;
    auto const* const before = w.a.get();
    std::vector<Property> order;
    for (Property const& property : w.c.properties())
        order.push_back(property);
    support::rollBack(w.model, [&] {
        w.made = Property::create(w.model, {});
        w.made->setName("a");
        w.c->destroy();
        EXPECT_FALSE(w.a);
        EXPECT_EQ(w.a.owner().Uuid(), w.c.Uuid());
        EXPECT_FALSE(w.model->findElement(w.a.Uuid(), 1));
        ContextData const again = ContextData::create(w.model, w.c.Uuid());
        w.made->setOwner(again);
        EXPECT_EQ(w.model->findElement(w.c.Uuid(), 1), again);
    });
    EXPECT_EQ(w.state(), atFirst);
    EXPECT_EQ(w.a.get(), before);
    EXPECT_TRUE(std::equal(order.begin(), order.end(), w.c.properties().begin()));
    EXPECT_EQ(w.model->findElement(w.c.Uuid(), 1), w.c);
    EXPECT_FALSE(w.made);
    EXPECT_EQ(w.made.name(), "a");
    EXPECT_EQ(thrownBy([&] { w.made->setValue(1); }), "logic_error");
    w.a->destroy();   // still to be destroyed as any other
    EXPECT_EQ(shown(w.c), "x,y: b=2");
}

// ---- refusals and failures

TEST(Transaction, FrozenModelsRefuseIt)
{
    World w;
    Model::Freezer freezer{w.model};
    auto const write = [&] { w.a->setValue(5); };
    EXPECT_EQ(thrownBy(write), "ModelFrozen");
    {
        Model::Thawer const one = freezer.thaw();
        {
            Model::Thawer const two = freezer.thaw();
        }
        EXPECT_EQ(thrownBy(write), "");
    }
    EXPECT_EQ(thrownBy([&] { newContext(w.model); }), "ModelFrozen");
    EXPECT_EQ(w.state(), "C x,y: a=5 b=2 | D : | a* b* lone | 5");
}

TEST(Transaction, ChangesNeedOne)
{
    World w;
    EXPECT_EQ(thrownBy([&] { w.a->notifyModifying(1); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { w.a->notifyDestroying(); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { w.a->destroyRecursively(false, true, true); }), "logic_error");
    EXPECT_EQ(w.state(), atFirst);
    w.a->destroy();
    EXPECT_FALSE(w.a);
}

/// Any allocation of any operation may fail: the operation then throws and nothing has happened.
TEST(Transaction, LackOfMemoryLeavesEverythingAsItWas)
{
    std::string const longText(100, 'n');
    auto const builder = [](std::string const& name) {
        auto property = std::make_unique<Property::Builder>();
        property->doSetName(name);
        return property;
    };
    struct Row {
        char const* name;
        std::function<void(World&)> change;
    };
    Row const rows[] = {
        {"value", [&](World& w) { w.a->setValue(longText); }},
        {"name", [&](World& w) { w.a->setName(longText); }},
        {"owner", [&](World& w) { w.a->setOwner(w.d); }},
        {"uncontain", [&](World& w) { w.a->setOwner({}); }},
        {"add", [&](World& w) { w.d->getPropertiesMutable().add(w.a); }},
        {"clear", [&](World& w) { w.c->getPropertiesMutable().clear(); }},
        {"create", [&](World& w) { newContext(w.model); }},
        {"sameUuid", [&](World& w) { Property::create(w.model, w.a.Uuid()); }},
        {"destroy", [&](World& w) { w.c->destroy(); }},
        {"insert", [&](World& w) { w.c->getActiveContextsMutable().insert(0, longText); }},
        {"replace", [&](World& w) { w.c->getActiveContextsMutable().replace(1, longText); }},
        {"erase", [&](World& w) { w.c->getActiveContextsMutable().erase(0); }},
        {"clone", [&](World& w) { w.c->cloneTo(w.model, true); }},
        {"into", [&](World& w) { w.c->createIntoProperties(builder(longText), {}); }},
        {"build",
         [&](World& w) {
             ContextData::Builder context{w.model};
             context.doAddActiveContexts({longText, "y"});
             context.doAddProperties(builder("p"));
             context.create({});
         }},
        {"proxy",
         [&](World& w) {
             w.a->convertToProxy(ContextData::Impl::propertyAt(ContextData::Impl::PROPERTIES), w.a->getProxyId(), w.c);
         }},
        {"again",
         [&](World& w) {
             w.a->destroy();
             Property::create(w.model, w.a.Uuid())->setOwner(w.c);
         }},
        {"several",
         [&](World& w) {
             w.a->setName(longText);
             w.lone->setOwner(w.c);
             w.b->destroy();
             w.c->getActiveContextsMutable().push_back(longText);
         }},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        for (bool const isNested : {false, true}) {
            bool failed = true;
            for (std::size_t skipped = 0; failed; ++skipped) {
                World w;
                std::optional<Transaction> outer;
                if (isNested)
                    outer.emplace(w.model->beginTransaction(true));
                try {
                    support::FailingAllocation const failing{skipped};
                    failed = false;
                    commit(w.model, [&] { row.change(w); });
                } catch (std::bad_alloc const&) {
                    failed = true;
                }
                if (failed) {
                    ASSERT_EQ(w.state(), atFirst) << skipped;
                    ASSERT_EQ(w.model->findElement(w.a.Uuid(), 1), w.a) << skipped;
                }
                ASSERT_EQ(w.model->isInTransaction(), isNested);
                outer.reset();
                if (failed || isNested) {
                    ASSERT_EQ(w.state(), atFirst) << skipped;
                    commit(w.model, [&] { row.change(w); });
                }
                ASSERT_NE(w.state(), atFirst) << skipped;
            }
        }
    }
}

// ---- cost

/// Reads the old value of every property that it hears of.
struct OldValueSum : Listener {
    using Reports = ReportList<DeepChangeReport<Property>, ShallowChangeReport<ContextData>>;
    void transactionCommitted(DeepChangeReport<Property> const& report)
    {
        for (ReportEntry const entry : report.modified())
            sum += entry.peekOldValue<PropertyValue>(Property::Impl::VALUE)->getDouble();
    }
    void transactionCommitted(ShallowChangeReport<ContextData> const&) {}
    double sum = 0;
};

TEST(Transaction, SteadyWritesAllocateNothing)
{
    World w;
    OldValueSum listener;
    w.model->addDeepListener(&listener);
    auto const write = [&](int first, int count) {
        for (int i = first; i != first + count; ++i) {
            w.a->setValue(i);
            commit(w.model, [&] {
                w.b->setValue(i);
                commit(w.model, [&] { w.lone->setValue(i); });
                support::rollBack(w.model, [&] { w.lone->setValue(-i); });
            });
        }
    };
    write(100, 10);
    std::size_t const before = support::allocationCount();
    write(110, 1000);
    EXPECT_EQ(support::allocationCount() - before, 0u);
    w.model->removeListener(&listener);
    EXPECT_GT(listener.sum, 0);
}

TEST(Transaction, CostOfAddingGrowsWithTheNumberAndNotItsSquare)
{
    auto const bytesFor = [](int count) {
        World w;
        std::size_t const before = support::allocatedBytes();
        commit(w.model, [&] {
            for (int i = 0; i != count; ++i) {
                add(w.d, "p" + std::to_string(i), i);
                w.d->getActiveContextsMutable().push_back("x");
            }
        });
        for (int i = 0; i != count; ++i)
            add(w.c, "q" + std::to_string(i), i);
        return support::allocatedBytes() - before;
    };
    bytesFor(100);
    EXPECT_LT(bytesFor(1600), 5 * bytesFor(400));
}

TEST(Transaction, ReportsThatSomebodyKeepsCostOnlyThemselves)
{
    World w;
    support::ReportRecorder recorder{w.model};
    std::shared_ptr<ReportData> last;
    recorder.onProperties = [&](auto const& data) { last = data; };
    auto const live = [&](int count) {
        for (int i = 0; i != count; ++i)
            w.a->setValue(1000 + i), w.a->setValue(-i);
        recorder.take();
        return support::liveAllocations();
    };
    live(10);
    std::size_t const before = live(10);
    std::size_t const bytes = support::allocatedBytes();
    live(100);
    std::size_t const first = support::allocatedBytes() - bytes;
    EXPECT_EQ(live(100), before);
    EXPECT_LE(support::allocatedBytes() - bytes, 2 * first);
}

}   // namespace
}   // namespace tarn::zero

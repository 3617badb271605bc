#include "tarn/zero/Transaction.h"

#include "support/Allocations.h"
#include "support/ReportRecorder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarn::zero {
namespace {

using namespace support;

/// Context C with a=1 and b=2 and the active contexts x and y, context D with nothing, and a lone property.
struct World {
    Model model = newModel();
    ContextData c = newContext(model);
    ContextData d = newContext(model);
    Property a = add(c, "a", 1);
    Property b = add(c, "b", 2);
    Property lone = newProperty(model, "lone", 3);

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

TEST(TransactionReport, ListsWhatChangedAndWhatItWas)
{
    struct Row {
        char const* name;
        std::function<void(World&)> change;   // in one transaction
        char const* heard;
    };
    Row const rows[] = {
        {"NaN is always a change", [](World& w) { w.a->setValue(std::nan("")); }, "~a(value=1)"},
        {"swap", [](World& w) { w.a->setName("t"), w.b->setName("a"), w.a->setName("b"); },
         "~b(name=a) ~a(name=b); ~C(properties=a,b)"},
        {"create and destroy", [](World& w) { add(w.c, "n", 1)->destroy(); }, "~C(properties=a,b)"},
        {"everything",
         [](World& w) {
             w.a->setName("z");
             w.a->setOwner(w.d);
             w.a->setValue(false);
             w.lone->setOwner(w.c);
             w.lone->setName("a");
             w.b->destroy();
             w.c->getActiveContextsMutable().insert(1, "q");
             add(w.c, "b", 7);
         },
         "+b ~z(name=a value=1 owner=C) ~a(name=lone owner=none) -b; ~C(active=x,y properties=b,z) ~D(properties=)"},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        World w;
        ReportRecorder recorder{w.model};
        recorder.call(w.c, "C");
        recorder.call(w.d, "D");
        rollBack(w.model, [&] { row.change(w); });
        EXPECT_EQ(w.state(), atFirst);
        EXPECT_EQ(recorder.take(), "");
        commit(w.model, [&] { row.change(w); });
        EXPECT_EQ(recorder.take(), row.heard);
    }
}

TEST(TransactionReport, OnlyElementReplacedByItselfIsNoChange)
{
    World w;
    w.b->destroy();
    ReportRecorder recorder{w.model};
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

/// Three levels of which each writes.
struct Nested : World {
    Transaction outer = model->beginTransaction(true);
    std::optional<Transaction> middle, inner;

    Nested()
    {
        a->setValue(10);
        middle.emplace(model->beginTransaction(true));
        a->setName("z");
        inner.emplace(model->beginTransaction(true));
        a->setOwner(d);
    }
};

void expectNoCommit(Transaction& transaction)
{
    EXPECT_EQ(thrownBy([&] { transaction.commit(boost::none); }), "logic_error");
}

TEST(Transaction, CommittedOutOfOrderOrTwiceTouchesNothing)
{
    Nested n;
    expectNoCommit(n.outer);
    expectNoCommit(*n.middle);
    EXPECT_EQ(n.state(), "C x,y: b=2 | D : z=10 | z* b* lone | 5");
    n.inner->commit(boost::none);
    expectNoCommit(*n.inner);
    expectNoCommit(n.outer);
    n.inner.reset();   // ended long ago: ends nobody else
    n.b->setValue(20);
    n.middle->commit(boost::none);
    n.outer.commit(boost::none);
    expectNoCommit(n.outer);
    EXPECT_EQ(n.state(), "C x,y: b=20 | D : z=10 | z* b* lone | 5");
}

TEST(Transaction, OuterOneEndingFirstTakesTheInnerOnesAlong)
{
    Nested n;
    n.middle.reset();
    EXPECT_EQ(n.state(), "C x,y: a=10 b=2 | D : | a* b* lone | 5");
    expectNoCommit(*n.inner);
    Transaction next = n.model->beginTransaction(true);   // at the level of the one that ended
    n.a->setName("y");
    n.inner.reset();
    next.commit(boost::none);
    EXPECT_EQ(n.state(), "C x,y: b=2 y=10 | D : | y* b* lone | 5");
}

TEST(Transaction, KeepsItsModelUntilItEnds)
{
    World w;
    std::optional<Transaction> transaction{w.model->beginTransaction(true)};
    w.a->setValue(9);
    w.model = Model{};
    EXPECT_TRUE(w.a);
    transaction.reset();
    EXPECT_TRUE(!w.a && w.a->getValue() == PropertyValue(1));
}

// ---- refusals and failures

TEST(Transaction, IsRefusedByFrozenModelsAndNeededByChanges)
{
    World w;
    EXPECT_EQ(thrownBy([&] { w.a->notifyModifying(1); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { w.a->notifyDestroying(); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { w.a->destroyRecursively(false, true, true); }), "logic_error");
    Model::Freezer freezer{w.model};
    auto const write = [&] { w.a->setValue(5); };
    EXPECT_EQ(thrownBy(write), "ModelFrozen");
    {
        Model::Thawer const one = freezer.thaw();
        static_cast<void>(Model::Thawer{freezer.thaw()});
        EXPECT_EQ(thrownBy(write), "");
    }
    EXPECT_EQ(thrownBy([&] { newContext(w.model); }), "ModelFrozen");
    EXPECT_EQ(w.state(), "C x,y: a=5 b=2 | D : | a* b* lone | 5");
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
                rollBack(w.model, [&] { w.lone->setValue(-i); });
            });
        }
    };
    write(100, 10);
    std::size_t const before = allocationCount();
    write(110, 1000);
    EXPECT_EQ(allocationCount() - before, 0u);
    w.model->removeListener(&listener);
    EXPECT_GT(listener.sum, 0);
}

TEST(Transaction, CostOfAddingGrowsWithTheNumberAndNotItsSquare)
{
    auto const bytesFor = [](int count) {
        World w;
        std::size_t const before = allocatedBytes();
        commit(w.model, [&] {
            for (int i = 0; i != count; ++i) {
                add(w.d, "p" + std::to_string(i), i);
                w.d->getActiveContextsMutable().push_back("x");
            }
        });
        for (int i = 0; i != count; ++i)
            add(w.c, "q" + std::to_string(i), i);
        return allocatedBytes() - before;
    };
    bytesFor(100);
    EXPECT_LT(bytesFor(1600), 5 * bytesFor(400));
}

TEST(Transaction, ReportsThatSomebodyKeepsCostOnlyThemselves)
{
    World w;
    ReportRecorder recorder{w.model};
    std::shared_ptr<ReportData> last;
    recorder.onProperties = [&](auto const& data) { last = data; };
    auto const live = [&](int count) {
        for (int i = 0; i != count; ++i)
            w.a->setValue(1000 + i), w.a->setValue(-i);
        recorder.take();
        return liveAllocations();
    };
    live(10);
    std::size_t const before = live(10);
    std::size_t const bytes = allocatedBytes();
    live(100);
    std::size_t const first = allocatedBytes() - bytes;
    EXPECT_EQ(live(100), before);
    EXPECT_LE(allocatedBytes() - bytes, 2 * first);
}

}   // namespace
}   // namespace tarn::zero

#include "tarn/zero/Transaction.h"

#include "support/Allocations.h"
#include "support/ReportRecorder.h"
#include "tarn/zero/meta/Type.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

namespace tarn::zero {
namespace {

using namespace support;

// ---- ends, out of order too

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
    EXPECT_EQ(n.state(), "x,y: b=2 | : z=10 | lone");
    n.inner->commit(boost::none);
    expectNoCommit(*n.inner);
    expectNoCommit(n.outer);
    n.inner.reset();   // ended long ago: ends nobody else
    n.b->setValue(20);
    n.middle->commit(boost::none);
    n.outer.commit(boost::none);
    expectNoCommit(n.outer);
    EXPECT_EQ(n.state(), "x,y: b=20 | : z=10 | lone");
}

TEST(Transaction, OuterOneEndingFirstTakesTheInnerOnesAlong)
{
    Nested n;
    n.middle.reset();
    EXPECT_EQ(n.state(), "x,y: a=10 b=2 | : | lone");
    expectNoCommit(*n.inner);
    Transaction next = n.model->beginTransaction(true);   // at the level of the one that ended
    n.a->setName("y");
    n.inner.reset();
    next.commit(boost::none);
    EXPECT_EQ(n.state(), "x,y: b=2 y=10 | : | lone");
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
    EXPECT_EQ(w.state(), "x,y: a=5 b=2 | : | lone");
}

// ---- reports

TEST(Report, OnlyElementReplacedByItselfIsNoChange)
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
    EXPECT_EQ(recorder.take(), "+ -a");
    for (int time = 0; time != 2; ++time)
        w.lone->setValue(std::nan(""));
    EXPECT_EQ(recorder.take(), "lone; lone") << "what is not equal to itself is always a change";
}

/// Takes the other two kinds of report.
struct Both : Listener {
    void transactionCommitted(ShallowChangeReport<Property> const& report) { heard += listed(report) + "; "; }
    void transactionCommitted(DeepChangeReport<ContextData> const& report) { heard += listed(report); }
    std::string heard;
};

TEST(Report, DeepIsWhatLiesInsideAndShallowTheClassItself)
{
    Both listener;
    Model const model = newModel();
    model->addDeepListener(&listener);
    commit(model, [&] {
        newProperty(model, "lone");
        add(newContext(model), "inside");
    });
    EXPECT_EQ(listener.heard, "+lone +inside; +context +inside");
    model->removeListener(&listener);
}

TEST(Report, KeepsOldValuesAsChangesBeyondItself)
{
    World w;
    ReportRecorder recorder{w.model};
    std::map<std::string, std::unique_ptr<ModelElement::Impl::Changes>> kept;
    recorder.onContexts = [&](auto const& data) {
        kept["a"] = data->createChanges(w.a);
        kept["lone"] = data->createChanges(w.lone);
        kept["c"] = data->createChanges(w.c);
        EXPECT_EQ(data->createChanges(newContext(newModel())), nullptr);
        EXPECT_TRUE(data->getOldValue(ModelElement{}, Property::Impl::propertyAt(1)).isEmpty());
    };
    commit(w.model, [&] {
        w.a->setName("z");
        w.a->setOwner({});
        w.lone->setOwner(w.c);
        for (int i = 0; i != 40; ++i)   // a report that is long enough for a table
            newProperty(w.model, "p");
    });
    recorder.onContexts = {};
    w.a->setOwner(w.c);
    auto const old = [&](char const* name, meta::Property const& property) {
        return kept[name]->getOldValue(property, ModelElement::Impl::PUBLIC_ACCESS);
    };
    auto const feature = &Property::Impl::propertyAt;
    EXPECT_EQ(old("a", feature(1)).getValue<std::string>(), "a");
    EXPECT_EQ(old("a", feature(3)).getValue<ContextData>(), w.c);
    EXPECT_TRUE(old("a", feature(2)).isEmpty());   // it did not change
    EXPECT_TRUE(old("a", feature(2)).getValue<PropertyValue>().isUndefined());
    Value const owner = old("lone", feature(3)), map = old("c", ContextData::Impl::propertyAt(2));
    auto const members = map.getValue<CollectionRef<ContextData::PropertyMap>>();
    ASSERT_TRUE(owner.peekValue<ContextData>());
    EXPECT_EQ(owner.getValue<ContextData>(), ContextData{});
    EXPECT_TRUE(members.size() == 2 && members->find("z") == w.a && members->isDetached());
    EXPECT_TRUE(map.meta().isUnmanaged());
}

// ---- listeners

/// Takes every report that there is.
struct Any : Listener {
    template <class Report>
    void transactionCommitted(Report const& report)
    {
        order += (std::is_same_v<typename Report::Element, Property> ? 'p' : 'c') + listed(report) + ' ';
    }
    std::string order;
};
/// Takes some of them. The order of names means nothing.
struct Narrow : Any {
    using Reports =
        ReportList<ShallowChangeReport<meta::Class>, DeepChangeReport<ContextData>, DeepChangeReport<Property>>;
};
struct Hiding : Both {
    void transactionCommitted(DeepChangeReport<Property> const&) const {}
};
/// The base class of listeners to further element classes.
struct OwnListener : Listener {
    void transactionCommitted(ShallowChangeReport<Property> const&) {}
    void transactionCommitted(ShallowChangeReport<meta::Class> const&) {}
};
constexpr ElementList<meta::Class, Property> reportedElements(OwnListener const*)
{
    return {};
}
struct OwnListenerBelow : OwnListener {};

template <class T, class... Reports>
constexpr bool gets = std::is_same_v<decltype(detail::deliveredTo<T>()), ReportList<Reports...>>;
static_assert(gets<Both, ShallowChangeReport<Property>, DeepChangeReport<ContextData>>);
static_assert(gets<ReportRecorder, DeepChangeReport<Property>, ShallowChangeReport<ContextData>>);
static_assert(gets<Hiding, DeepChangeReport<Property>>, "hidden overloads are none");
static_assert(
    gets<Narrow, DeepChangeReport<Property>, DeepChangeReport<ContextData>, ShallowChangeReport<meta::Class>>);
static_assert(gets<OwnListenerBelow, ShallowChangeReport<meta::Class>, ShallowChangeReport<Property>>);

TEST(Listener, GetsWhatItDeclaresPropertiesFirst)
{
    Model const model = newModel();
    Any any;
    Narrow narrow;
    model->addDeepListener(&any);
    model->addDeepListener(&narrow);
    commit(model, [&] { add(newContext(model), "a"); });
    EXPECT_EQ(any.order, "p+a p+a c+context c+context +a ");
    EXPECT_EQ(narrow.order, "p+a c+context +a ");
    model->removeListener(&any);
    model->removeListener(&narrow);
}

TEST(Listener, IsRegisteredOnceAndInOrder)
{
    World w;
    std::string order;
    ReportRecorder first{w.model}, second{w.model};
    first.onProperties = [&](auto const&) { order += '1'; };
    second.onProperties = [&](auto const&) { order += '2'; };
    w.model->addDeepListener(&first);   // again
    w.a->setValue(7);
    for (int time = 0; time != 2; ++time) {
        w.model->removeListener(&first);
        EXPECT_TRUE(first.removals == 1 && !w.model->isListening(&first));
    }
    w.model->addDeepListener(&first);
    w.a->setValue(8);
    EXPECT_EQ(order, "1221");
}

/// Takes no report at all.
struct Quiet : Listener {
    using Reports = ReportList<>;
    void listenerRemoved() override { ++removals; }
    int removals = 0;
};

TEST(Listener, GetsReportsWithTheirNumbersAndCauses)
{
    Model const model = newModel();
    ContextData const context = newContext(model);
    std::string log;
    ReportRecorder early{model}, late{model};
    std::uint64_t before = 0;   // the number of the last report before these
    auto const numberOf = [&](ReportData const& report) { return report.number() - before; };
    auto const note = [&](char const* name, ReportData const& report, std::uint64_t answered, char const* answer) {
        std::uint64_t const cause = report.cause() == 0 ? 0 : report.cause() - before;
        log += name + std::to_string(numberOf(report)) + '<' + std::to_string(cause) + ' ';
        if (numberOf(report) == answered)
            commit(model, [&] { add(context, answer); });
    };
    early.onContexts = [&](auto const& data) {
        before = log.empty() ? data->number() - 1 : before;
        note("e", *data, numberOf(*data) < 3 ? numberOf(*data) : 0, numberOf(*data) == 1 ? "b" : "d");
    };
    // Gets the first report inside the commit of the second one, and answers the first.
    late.onContexts = [&](auto const& data) { note("l", *data, 1, "x"); };
    commit(model, [&] { add(context, "a"); });
    commit(model, [] {});
    rollBack(model, [&] { add(context, "y"); });
    commit(model, [&] { add(context, "z"); });
    EXPECT_EQ(log, "e1<0 l1<0 e2<1 l2<1 e3<1 l3<1 e4<2 l4<2 e5<0 l5<0 ");
}

TEST(Listener, MayTakeTheLastHandleOfItsModel)
{
    World w;
    Quiet quiet;
    w.model->addDeepListener(&quiet);
    auto last = std::make_unique<ReportRecorder>(w.model), next = std::make_unique<ReportRecorder>(w.model);
    last->onProperties = [&](auto const&) {
        next.reset();
        last.reset();
        w.model = Model{};
    };
    w.a->setValue(7);
    EXPECT_FALSE(w.a);
    EXPECT_EQ(quiet.removals, 1);
}

// ---- cost

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

TEST(Report, CostsWhoKeepsItOnlyItself)
{
    World w;
    ReportRecorder recorder{w.model};
    ReportRecorder::Data last;
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

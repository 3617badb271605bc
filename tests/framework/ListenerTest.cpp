#include "tarn/zero/Listener.h"

#include "support/ReportRecorder.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::zero {
namespace {

using support::add;
using support::commit;
using support::ContextData;
using support::newContext;
using support::newModel;
using support::newProperty;
using support::Property;
using support::ReportRecorder;

/// A context with u=0 and v=0 and three listeners A, B and C that write into one text. The context is called "ctx".
class ListenerTest : public testing::Test {
protected:
    Model model = newModel();
    ContextData context = newContext(model);
    Property u = add(context, "u", 0);
    Property v = add(context, "v", 0);
    std::string heard;
    std::unique_ptr<ReportRecorder> a = recorder("A");
    std::unique_ptr<ReportRecorder> b = recorder("B");
    std::unique_ptr<ReportRecorder> c = recorder("C");

    std::unique_ptr<ReportRecorder> recorder(std::string const& name)
    {
        auto made = std::make_unique<ReportRecorder>(model, name, heard);
        made->call(context, "ctx");
        return made;
    }
    std::string take() { return std::exchange(heard, {}); }

    /// Changes a property and the map that it is in, so that both overloads are called.
    void changeBoth(std::string const& name) { v->setName(name); }
};

/// Lets `action` run at the first report only.
template <class Action>
auto once(Action action)
{
    return [action, isDone = std::make_shared<bool>(false)](ReportRecorder::Data const&) {
        if (!std::exchange(*isDone, true))
            action();
    };
}

TEST_F(ListenerTest, HearsTheFinalStateWithNoTransactionOpen)
{
    a->onProperties = [&](auto const&) {
        EXPECT_FALSE(model->isInTransaction());
        EXPECT_TRUE(model->findElement(v.Uuid(), 1));
    };
    Transaction outer = model->beginTransaction(true);
    commit(model, [&] { commit(model, [&] { v->setValue(1); }); });
    EXPECT_EQ(take(), "");   // at level 0 only
    outer.commit(boost::none);
    EXPECT_EQ(take(), "A:~v(value=0); B:~v(value=0); C:~v(value=0)");
}

TEST_F(ListenerTest, IsCalledOnlyForItsClassesAndOnlyForChanges)
{
    context->getActiveContextsMutable().push_back("x");
    EXPECT_EQ(take(), "A:~ctx(active=); B:~ctx(active=); C:~ctx(active=)");
    commit(model, [] {});
    v->setValue(0);
    EXPECT_EQ(take(), "");
    ReportRecorder other{newModel()};
    newProperty(model, "lone");
    EXPECT_EQ(other.take(), "");
}

TEST_F(ListenerTest, IsRegisteredOnceAndInOrder)
{
    model->addDeepListener(a.get());
    v->setValue(1);
    EXPECT_EQ(take(), "A:~v(value=0); B:~v(value=0); C:~v(value=0)");
    model->removeListener(a.get());
    EXPECT_EQ(a->removals, 1);
    model->removeListener(a.get());
    EXPECT_EQ(a->removals, 1);
    EXPECT_FALSE(model->isListening(a.get()));
    model->addDeepListener(a.get());
    v->setValue(2);
    EXPECT_EQ(take(), "B:~v(value=1); C:~v(value=1); A:~v(value=1)");
}

/// Takes no report at all.
struct Quiet : Listener {
    using Reports = ReportList<>;
    void listenerRemoved() override { ++removals; }
    int removals = 0;
};

TEST_F(ListenerTest, HearsOfNoMoreWhenTheModelEnds)
{
    Quiet listener;
    Model other = newModel();
    other->addDeepListener(&listener);
    other = Model{};
    EXPECT_EQ(listener.removals, 1);
}

// ---- commits inside a report

TEST_F(ListenerTest, CommitInsideAReportIsHeardAfterItByAll)
{
    // B writes in the middle of the first report; C has to hear of the first one before the second.
    b->onProperties = once([&] {
        v->setValue(2);
        heard += "; B goes on";
    });
    v->setValue(1);
    EXPECT_EQ(take(), "A:~v(value=0); B:~v(value=0); C:~v(value=0); "
                      "A:~v(value=1); B:~v(value=1); C:~v(value=1); B goes on");
}

TEST_F(ListenerTest, RunningListenerGetsTheRestOfTheOlderReportAfterTheNewerOne)
{
    a->onProperties = once([&] { v->setValue(2); });
    changeBoth("w");
    EXPECT_EQ(take(), "A:~w(name=v); B:~w(name=v); B:~ctx(properties=u,w); C:~w(name=v); C:~ctx(properties=u,w); "
                      "A:~w(value=0); B:~w(value=0); C:~w(value=0); A:~ctx(properties=u,w)");
}

// ---- changes of the list inside a report

TEST_F(ListenerTest, ListenersMayComeAndGoInsideAReport)
{
    std::unique_ptr<ReportRecorder> d;
    a->onProperties = once([&] {
        b.reset();
        d = recorder("D");
        model->removeListener(c.get());
        model->addDeepListener(c.get());
    });
    v->setValue(1);
    EXPECT_EQ(take(), "A:~v(value=0)");   // the others of that time are gone, the new ones are for later
    v->setValue(2);
    EXPECT_EQ(take(), "A:~v(value=1); D:~v(value=1); C:~v(value=1)");
}

TEST_F(ListenerTest, RemovedListenerMissesItsOtherOverload)
{
    a->onProperties = once([&] { model->removeListener(a.get()); });
    b->onProperties = once([&] { b.reset(); });
    changeBoth("w");
    EXPECT_EQ(take(), "A:~w(name=v); B:~w(name=v); C:~w(name=v); C:~ctx(properties=u,w)");
}

TEST_F(ListenerTest, ModelMayLoseItsHandlesInsideAReport)
{
    a->onProperties = once([&] {
        b.reset();
        c.reset();
        a.reset();
        model = Model{};
        context = ContextData{};
    });
    v->setValue(1);
    EXPECT_EQ(take(), "A:~v(value=0)");
    EXPECT_FALSE(v);
}

// ---- exceptions

struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

TEST_F(ListenerTest, FirstExceptionLeavesWhenAllHaveBeenServed)
{
    a->onProperties = [](auto const&) { throw Refused{"A"}; };
    b->onContexts = [](auto const&) { throw Refused{"B"}; };
    try {
        changeBoth("w");
        FAIL() << "nothing came";
    } catch (Refused const& refused) {
        EXPECT_STREQ(refused.what(), "A");
    }
    EXPECT_EQ(take(), "A:~w(name=v); B:~w(name=v); B:~ctx(properties=u,w); C:~w(name=v); C:~ctx(properties=u,w)");
    EXPECT_EQ(v.name(), "w");   // the change stays
    EXPECT_FALSE(model->isInTransaction());
}

TEST_F(ListenerTest, ExceptionLeavesFromTheCommitWhoseReportItMet)
{
    a->onProperties = once([&] {
        EXPECT_NO_THROW(v->setValue(2));   // serves B the first report, which is not its own
        heard += "; inner done";
    });
    b->onProperties = once([] { throw Refused{"B"}; });
    Transaction transaction = model->beginTransaction(true);
    v->setValue(1);
    EXPECT_THROW(transaction.commit(boost::none), Refused);
    EXPECT_THROW(transaction.commit(boost::none), std::logic_error);   // it ended all the same
    EXPECT_EQ(take(), "A:~v(value=0); B:~v(value=0); C:~v(value=0); "
                      "A:~v(value=1); B:~v(value=1); C:~v(value=1); inner done");
    v->setValue(3);
    EXPECT_EQ(take(), "A:~v(value=2); B:~v(value=2); C:~v(value=2)");
}

// ---- reports

/// Takes the other two kinds of report.
struct Both : Listener {
    using Reports = ReportList<ShallowChangeReport<Property>, DeepChangeReport<ContextData>>;
    void transactionCommitted(ShallowChangeReport<Property> const& report) { note("shallow", report); }
    void transactionCommitted(DeepChangeReport<ContextData> const& report) { note("deep", report); }
    template <class Report>
    void note(char const* kind, Report const& report)
    {
        heard += kind;
        for (ReportEntry const entry : report.created())
            heard += entry.element().isA(Property::metaClass()) ? " property" : " context";
        heard += ' ';
    }
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
    EXPECT_EQ(listener.heard, "shallow property property deep context property ");
    model->removeListener(&listener);
}

TEST(Report, KeepsOldValuesAsChangesBeyondItself)
{
    Model const model = newModel();
    ContextData const context = newContext(model);
    Property const a = add(context, "a", 1);
    ReportRecorder recorder{model};
    std::vector<std::unique_ptr<ModelElement::Impl::Changes>> kept;
    recorder.onContexts = [&](auto const& data) {
        for (ModelElement const& element : {ModelElement{a}, ModelElement{context}})
            kept.push_back(data->createChanges(element));
        EXPECT_EQ(data->createChanges(newContext(newModel())), nullptr);
        EXPECT_TRUE(data->getOldValue(ModelElement{}, Property::Impl::propertyAt(1)).isEmpty());
    };
    commit(model, [&] {
        a->setName("b");
        a->setOwner({});
        for (int i = 0; i != 40; ++i)   // a report that is long enough for a table
            newProperty(model, "p");
    });
    recorder.onContexts = {};
    a->setOwner(context);
    auto const old = [&](std::size_t which, unsigned long index) {
        ModelElement const element = which == 0 ? ModelElement{a} : ModelElement{context};
        return kept[which]->getOldValue(element->getPropertyByIndex(index), ModelElement::Impl::PUBLIC_ACCESS);
    };
    EXPECT_EQ(old(0, Property::Impl::NAME).getValue<std::string>(), "a");
    EXPECT_EQ(old(0, Property::Impl::OWNER).getValue<ContextData>(), context);
    EXPECT_TRUE(old(0, Property::Impl::VALUE).isEmpty());   // it did not change
    EXPECT_TRUE(old(0, Property::Impl::VALUE).getValue<support::PropertyValue>().isUndefined());
    using Map = CollectionRef<ContextData::PropertyMap>;
    Value const map = old(1, ContextData::Impl::PROPERTIES);
    ASSERT_NE(map.peekValue<Map>(), nullptr);
    EXPECT_EQ((*map.peekValue<Map>())->find("b"), a);
    EXPECT_TRUE((*map.peekValue<Map>())->isDetached());
    EXPECT_TRUE(map.meta().isUnmanaged());
}

}   // namespace
}   // namespace tarn::zero

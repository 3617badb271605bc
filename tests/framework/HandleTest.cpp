#include "tarn/zero/ModelElement.h"

#include "support/Allocations.h"
#include "support/Printers.h"
#include "support/ReportRecorder.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
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
using support::PropertyValue;
using support::shown;
using support::thrownBy;

TEST(Handle, NullAnswersEveryQuestion)
{
    EXPECT_FALSE(Model{});
    EXPECT_FALSE(ModelElement{});
    EXPECT_TRUE(ModelElement{}.Uuid().is_nil());
    EXPECT_FALSE(ModelElement{}.isA(ModelElement::metaClass()));
    EXPECT_EQ(Property{}.name(), "");
    EXPECT_FALSE(Property{}.owner());
    EXPECT_EQ(Property{}, ModelElement{});
    EXPECT_EQ(thrownBy([] { ContextData{}.properties(); }), "logic_error");
    EXPECT_EQ(thrownBy([] { Property::create(Model{}, {}); }), "logic_error");
    ModelElement{}.addRef();
    ModelElement{}.removeRef();
}

TEST(Handle, TellsItsClass)
{
    Model const model = newModel();
    ContextData const context = newContext(model);
    Property const property = newProperty(model, "p");
    for (ModelElement const& element : {ModelElement{context}, ModelElement{property}})
        EXPECT_TRUE(element.isA(ModelElement::metaClass()));
    EXPECT_TRUE(context.isA(ContextData::metaClass()));
    EXPECT_FALSE(context.isA(Property::metaClass()));
    EXPECT_FALSE(context.isA(meta::Class{}));
    EXPECT_EQ(elementCast<Property>(property), property.get());
    EXPECT_EQ(elementCast<Property>(context), nullptr);
    property->destroy();
    EXPECT_EQ(elementCast<Property>(property), property.get());   // dead elements keep their class
}

// ---- dead elements

/// A contained property, made in a transaction that is still open.
struct Doomed {
    Model model = newModel();
    std::optional<Transaction> transaction{model->beginTransaction(true)};
    ContextData owner = newContext(model);
    Property property = add(owner, "p", 5);
};

struct DeathCase {
    char const* name;
    std::function<void(Doomed&)> end;
};
class DeadElement : public testing::TestWithParam<DeathCase> {};
TEST_P(DeadElement, StaysReadableAndRefusesChanges)
{
    Doomed d;
    d.owner->getActiveContextsMutable().push_back("x");
    boost::uuids::uuid const ids[] = {d.property.Uuid(), d.owner.Uuid()};
    GetParam().end(d);
    d.transaction.reset();
    d.owner = ContextData{};   // the property keeps it
    Property const& dead = d.property;
    auto const check = [&] {
        EXPECT_FALSE(dead);
        EXPECT_EQ(dead.Uuid(), ids[0]);
        EXPECT_EQ(dead.name(), "p");
        EXPECT_EQ(dead->getValue(), PropertyValue(5));
        EXPECT_FALSE(dead.owner());
        EXPECT_EQ(dead.owner().Uuid(), ids[1]);
        EXPECT_EQ(shown(dead.owner()), "x:");   // what it held goes, as nothing could be done with it
    };
    check();
    dead->destroy();   // a second time, without effect
    ContextData const other = newContext(d.model ? d.model : newModel());
    auto& strings = dead.owner()->getActiveContextsMutable();
    auto& map = dead.owner()->getPropertiesMutable();
    for (auto const& change : std::vector<std::function<void()>>{
             [&] { dead->setName("q"); }, [&] { dead->setName("p"); }, [&] { dead->setValue(6); },
             [&] { dead->setOwner({}); }, [&] { dead->setOwner(other); },
             [&] { dead->notifyModifying(Property::Impl::NAME); },
             [&] { dead->convertToProxy({}, dead->getProxyId(), {}); }, [&] { strings.push_back("y"); },
             [&] { strings.remove("none"); }, [&] { strings.clear(); },
             [&] { map.add(newProperty(other->getModel(), "n")); }, [&] { map.remove(dead); }, [&] { map.clear(); },
             [&] { AbstractOwnedCollection::Operation{map}; }})
        EXPECT_EQ(thrownBy(change), "logic_error");
    EXPECT_EQ(thrownBy([&] { other->getPropertiesMutable().add(dead); }), "CannotAddNonExistentObject");
    EXPECT_EQ(thrownBy([&] { newProperty(other->getModel(), "n")->setOwner(dead.owner()); }), "logic_error");
    check();
    EXPECT_FALSE(d.model && d.model->findElement(ids[0], 1));
}
INSTANTIATE_TEST_SUITE_P(Ends, DeadElement,
                         testing::Values(DeathCase{"CreationRolledBack", [](Doomed&) {}},
                                         DeathCase{"DestroyedBeforeItsContainer",
                                                   [](Doomed& d) {
                                                       d.transaction->commit(boost::none);
                                                       d.property->destroy();
                                                       d.owner->destroy();
                                                   }},
                                         DeathCase{"CreatedAndDestroyed",
                                                   [](Doomed& d) {
                                                       d.owner->destroy();
                                                       d.transaction->commit(boost::none);
                                                   }},
                                         DeathCase{"DestroyedWithItsContainer",
                                                   [](Doomed& d) {
                                                       d.transaction->commit(boost::none);
                                                       d.owner->destroy();
                                                   }},
                                         DeathCase{"ModelEnded",
                                                   [](Doomed& d) {
                                                       d.transaction->commit(boost::none);
                                                       d.transaction.reset();
                                                       d.model = Model{};
                                                   }}),
                         [](auto const& info) { return info.param.name; });

TEST(DeadElement, GoesWithItsLastHandle)
{
    auto const live = [] {
        std::vector<ModelElement> handles;
        {
            Doomed d;
            d.transaction->commit(boost::none);
            support::rollBack(d.model, [&] { handles = {add(d.owner, "undone"), newContext(d.model)}; });
            handles.push_back(add(d.owner, "destroyed"));
            handles.back()->destroy();
            support::rollBack(d.model, [&] { d.owner->destroy(); });
            ContextData const full = newContext(d.model);
            add(full, "inside");
            full->cloneTo(d.model, true)->destroy();
            handles.insert(handles.end(), {full, d.property, d.owner});
        }
        for (ModelElement const& handle : handles)
            EXPECT_FALSE(handle);
    };
    live();   // makes what stays, such as the schema
    std::size_t const before = support::liveAllocations();
    live();
    EXPECT_EQ(support::liveAllocations(), before);
}

TEST(DeadElement, IsToldOfByAReportThatOutlivesTheModel)
{
    Model model = newModel();
    support::ReportRecorder recorder{newModel()};   // only to read with
    std::shared_ptr<ReportData> data;
    ContextData const context = newContext(model);
    add(context, "a");
    Property const b = add(context, "b");
    {
        support::ReportRecorder keeper{model};
        keeper.onContexts = [&](auto const& report) { data = report; };
        b->destroy();
    }
    EXPECT_EQ(recorder.old(data, context), "properties=a,b");
    model = Model{};
    EXPECT_FALSE(context);
    EXPECT_EQ(recorder.old(data, context), "properties=a,b");
}

// ---- identity

TEST(Identity, FirstElementOfAUuidStaysTheOneThatIsFound)
{
    Model const model = newModel();
    boost::uuids::uuid const id = support::uuid(9);
    auto const find = [&] { return model->findElement(id, 1); };
    EXPECT_FALSE(find());
    Property const first = Property::create(model, id);
    ContextData const second = ContextData::create(model, id);
    EXPECT_TRUE(second);
    EXPECT_EQ(find(), first);
    second->destroy();
    EXPECT_EQ(find(), first);
    Property const third = Property::create(model, id);
    support::rollBack(model, [&] {
        first->destroy();
        EXPECT_FALSE(find());   // none is promoted
        Property const fourth = Property::create(model, id);
        EXPECT_EQ(find(), fourth);
        fourth->destroy();
        EXPECT_EQ(find(), ModelElement{});
        Property::create(model, id);
    });
    EXPECT_EQ(find(), first);
    first->destroy();
    EXPECT_FALSE(find());
    EXPECT_TRUE(third);
    Property const fifth = Property::create(model, id);
    EXPECT_EQ(find(), fifth);
    EXPECT_EQ(model->elements().size(), 2u);
    EXPECT_FALSE(newModel()->findElement(id, 1));
}

TEST(Identity, NilAsksForAFreshRandomUuid)
{
    Model const model = newModel();
    boost::uuids::uuid const one = newContext(model).Uuid();
    EXPECT_EQ(one.version(), boost::uuids::uuid::version_random_number_based);
    EXPECT_EQ(one.variant(), boost::uuids::uuid::variant_rfc_4122);
    EXPECT_NE(one, newContext(model).Uuid());
}

TEST(Identity, ManyElementsDieAndComeBackWithoutDeepRecursion)
{
    Model const model = newModel();
    std::vector<ContextData> chain;
    commit(model, [&] {
        for (int i = 0; i != 20000; ++i) {
            chain.push_back(newContext(model));
            add(chain.back(), "next", i == 0 ? PropertyValue{} : PropertyValue{chain[chain.size() - 2].Uuid()});
        }
    });
    auto const destroyAll = [&] {
        for (ContextData const& context : chain)
            context->destroy();
    };
    support::rollBack(model, destroyAll);
    EXPECT_EQ(model->elements().size(), 40000u);
    EXPECT_EQ(shown(chain.front()), ": next=" + PropertyValue{}.asString());
    commit(model, destroyAll);
    EXPECT_TRUE(model->elements().empty());
}

// ---- the two ways to a model

TEST(Model, IsMadeFromASpecOrAConstellation)
{
    Model const one = Model::create(ModelSpec{u"one"});
    Model const two = Model::create(ModelConstellation{ModelSpec{u"two"}});
    EXPECT_EQ(one->name(), u"one");
    EXPECT_EQ(two->name(), u"two");
    EXPECT_NE(one, two);
    ContextData const context = newContext(two);
    EXPECT_EQ(context->getModel(), two);
    EXPECT_TRUE(one->elements().empty());
}

}   // namespace
}   // namespace tarn::zero

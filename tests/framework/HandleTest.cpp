#include "tarn/zero/ModelElement.h"

#include "support/Printers.h"
#include "support/ReportRecorder.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace tarn::zero {
namespace {

using namespace support;

TEST(Handle, NullAnswersEveryQuestion)
{
    EXPECT_FALSE(Model{} || ModelElement{} || Property{}.owner() || ModelElement{}.isA(ModelElement::metaClass()));
    EXPECT_TRUE(ModelElement{}.Uuid().is_nil() && Property{}.name().empty() && Property{} == ModelElement{});
    EXPECT_EQ(thrownBy([] { ContextData{}.properties(); }), "logic_error");
    EXPECT_EQ(thrownBy([] { Property::create(Model{}, {}); }), "logic_error");
    ModelElement{}.addRef();
    ModelElement{}.removeRef();
}

TEST(Handle, TellsItsClass)
{
    Model const model = Model::create(ModelConstellation{ModelSpec{u"two"}});
    EXPECT_EQ(model->name(), u"two");
    Property const property = newProperty(model, "p");
    EXPECT_TRUE(property.isA(ModelElement::metaClass()) && property.isA(Property::metaClass()));
    EXPECT_FALSE(property.isA(ContextData::metaClass()) || property.isA(meta::Class{}));
    EXPECT_EQ(elementCast<ContextData>(property), nullptr);
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

    Doomed() { owner->getActiveContextsMutable().push_back("x"); }
    void commit() { transaction->commit(boost::none), transaction.reset(); }
};

void expectReadableAndNothingElse(Doomed& d)
{
    boost::uuids::uuid const ids[] = {d.property.Uuid(), d.owner.Uuid()};
    d.owner = ContextData{};   // the property keeps it
    Property const& dead = d.property;
    auto const check = [&] {
        EXPECT_FALSE(dead || dead.owner());
        EXPECT_EQ(dead.Uuid(), ids[0]);
        EXPECT_EQ(dead.owner().Uuid(), ids[1]);
        EXPECT_EQ(dead.name() + dead->getValue().asString(), "p5");
        EXPECT_EQ(shown(dead.owner()), "x:");   // what it held goes, as nothing could be done with it
    };
    check();
    dead->destroy();   // without effect
    ContextData const other = newContext(d.model ? d.model : newModel());
    auto& strings = dead.owner()->getActiveContextsMutable();
    auto& map = dead.owner()->getPropertiesMutable();
    for (auto const& change :
         std::vector<std::function<void()>>{[&] { dead->setName("q"); },
                                            [&] { dead->setName("p"); },
                                            [&] { dead->setValue(6); },
                                            [&] { dead->setOwner({}); },
                                            [&] { dead->setOwner(other); },
                                            [&] { dead->notifyModifying(Property::Impl::NAME); },
                                            [&] { dead->convertToProxy({}, dead->getProxyId(), {}); },
                                            [&] { strings.push_back("y"); },
                                            [&] { strings.remove("none"); },
                                            [&] { strings.clear(); },
                                            [&] { map.add(newProperty(other->getModel(), "n")); },
                                            [&] { map.remove(dead); },
                                            [&] { map.clear(); },
                                            [&] { map.inverseAdd(newProperty(other->getModel(), "n")); },
                                            [&] { map.inverseRemove(dead); },
                                            [&] { map.basicAdd(newProperty(other->getModel(), "n")); },
                                            [&] { map.basicClear(); },
                                            [&] { strings.insert(9, "y"); },
                                            [&] { strings.erase(9); },
                                            [&] { dead.owner()->addProperty("n", 1); },
                                            [&] { dead->notifyCreated(); },
                                            [&] { dead->notifyDestroying(); },
                                            [&] { newProperty(other->getModel(), "n")->setOwner(dead.owner()); },
                                            [&] { AbstractOwnedCollection::Operation{map}; }})
        EXPECT_EQ(thrownBy(change), "logic_error");
    EXPECT_EQ(thrownBy([&] { other->getPropertiesMutable().add(dead); }), "CannotAddNonExistentObject");
    EXPECT_EQ(thrownBy([&] { dead.owner()->getPropertyValue(map.getCollectionProperty(), {}); }), "");
    check();
    EXPECT_FALSE(d.model && d.model->findElement(ids[0], 1));
}

TEST(DeadElement, StaysReadableAndRefusesChanges)
{
    std::pair<char const*, std::function<void(Doomed&)>> const rows[] = {
        {"creation rolled back", [](Doomed& d) { d.transaction.reset(); }},
        {"destroyed before its container", [](Doomed& d) { d.commit(), d.property->destroy(), d.owner->destroy(); }},
        {"created and destroyed", [](Doomed& d) { d.owner->destroy(), d.commit(); }},
        {"destroyed with its container", [](Doomed& d) { d.commit(), d.owner->destroy(); }},
        {"model ended", [](Doomed& d) { d.commit(), d.model = Model{}; }},
    };
    for (auto const& [name, end] : rows) {
        SCOPED_TRACE(name);
        Doomed d;
        end(d);
        expectReadableAndNothingElse(d);
    }
}

TEST(DeadElement, IsToldOfByAReportThatOutlivesTheModel)
{
    World w;
    ReportRecorder::Data data;
    auto recorder = std::make_unique<ReportRecorder>(w.model);
    recorder->onContexts = [&](auto const& report) { data = report; };
    w.b->destroy();
    recorder.reset();
    w.model = Model{};
    EXPECT_FALSE(w.c);
    Value const old = data->getOldValue(w.c, ContextData::Impl::propertyAt(2));
    auto const* const members = old.peekValue<CollectionRef<ContextData::PropertyMap>>();
    ASSERT_TRUE(members);
    EXPECT_EQ((*members)->find("a").Uuid(), w.a.Uuid());
    EXPECT_EQ((*members)->find("b").Uuid(), w.b.Uuid());
}

// ---- identity

TEST(Identity, FirstElementOfAUuidStaysTheOneThatIsFound)
{
    Model const model = newModel();
    boost::uuids::uuid const id = uuid(9);
    auto const find = [&] { return model->findElement(id, 1); };
    EXPECT_FALSE(find());
    Property const first = Property::create(model, id);
    ContextData const second = ContextData::create(model, id);
    EXPECT_TRUE(second && find() == first);
    second->destroy();
    EXPECT_EQ(find(), first);
    Property const third = Property::create(model, id);   // stays behind for good
    rollBack(model, [&] {
        first->destroy();
        EXPECT_FALSE(find());   // none is promoted
        Property const fourth = Property::create(model, id);
        EXPECT_EQ(find(), fourth);
        fourth->destroy();
        EXPECT_EQ(find(), ModelElement{});   // not even a dead one
        Property::create(model, id);
    });
    EXPECT_EQ(find(), first);
    first->destroy();
    EXPECT_FALSE(find());
    Property const fifth = Property::create(model, id);
    EXPECT_TRUE(third && find() == fifth);
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

}   // namespace
}   // namespace tarn::zero

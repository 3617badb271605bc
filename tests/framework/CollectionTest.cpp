#include "support/ReportRecorder.h"
#include "tarn/zero/collections/ElementMap.h"
#include "tarn/zero/collections/ElementSequence.h"
#include "tarn/zero/collections/PrimitiveSequence.h"
#include "tarn/zero/meta/TypedElement.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tarn::zero {
namespace {

using namespace std::string_literals;
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
using Map = ContextData::PropertyMap;
using Sequence = ElementSequence<Property>;
using Strings = PrimitiveSequence<std::string>;
constexpr unsigned long PROPERTIES = ContextData::Impl::PROPERTIES;

/// A context with a and b and the active contexts x and y, a lone property c, and what does not fit.
struct World {
    Model model = newModel();
    ContextData context = newContext(model);
    Property a = add(context, "a", 1);
    Property b = add(context, "b", 2);
    Property c = newProperty(model, "c", 3);
    Property dead = newProperty(model, "dead");
    Model other = newModel();
    Property foreign = newProperty(other, "foreign");
    ContextData proxy = newContext(model);
    Map& map = context->getPropertiesMutable();
    Strings& strings = context->getActiveContextsMutable();

    World()
    {
        strings.push_back("x");
        strings.push_back("y");
        dead->destroy();
        proxy->convertToProxy({}, proxy->getProxyId(), {});
    }

    /// Makes `property` a placeholder in the context.
    void standIn(Property const& property)
    {
        property->convertToProxy(ContextData::Impl::propertyAt(PROPERTIES), property->getProxyId(), context);
    }
};

template <class T>
Value boxed(T const& payload)
{
    return Value{ValueMeta{}, payload};
}

struct Case {
    char const* name;
    std::function<void(World&)> change;
    char const* thrown;
    std::string state;   // of the context; what it was at first where something was thrown
};
char const* const same = "x,y: a=1 b=2";

// ---- collections of an element

class OwnedCollection : public testing::TestWithParam<Case> {};
TEST_P(OwnedCollection, ChangesWhollyOrRefuses)
{
    for (bool const isInside : {false, true}) {   // of an open transaction
        World w;
        support::ReportRecorder recorder{w.model};
        std::optional<Transaction> transaction;
        if (isInside)
            transaction.emplace(w.model->beginTransaction(true));
        EXPECT_EQ(thrownBy([&] { GetParam().change(w); }), GetParam().thrown);
        EXPECT_EQ(shown(w.context), GetParam().state);
        EXPECT_EQ(w.model->isInTransaction(), isInside);
        transaction.reset();
        if (isInside) {
            EXPECT_EQ(shown(w.context), same);
            EXPECT_EQ(recorder.take(), "");
        }
    }
}
INSTANTIATE_TEST_SUITE_P(
    Strings, OwnedCollection,
    testing::Values(
        Case{"PushBack", [](World& w) { w.strings.push_back("x"); }, "", "x,y,x: a=1 b=2"},
        Case{"InsertFirst", [](World& w) { w.strings.insert(0, "z"); }, "", "z,x,y: a=1 b=2"},
        Case{"InsertLast", [](World& w) { w.strings.insert(2, "z"); }, "", "x,y,z: a=1 b=2"},
        Case{"InsertPastTheEnd", [](World& w) { w.strings.insert(3, "z"); }, "out_of_range", same},
        Case{"InsertOneOfItsOwn", [](World& w) { w.strings.insert(0, w.strings[1]); }, "", "y,x,y: a=1 b=2"},
        Case{"PushBackOneOfItsOwn", [](World& w) { w.strings.push_back(w.strings[0]); }, "", "x,y,x: a=1 b=2"},
        Case{"Erase", [](World& w) { w.strings.erase(0); }, "", "y: a=1 b=2"},
        Case{"ErasePastTheEnd", [](World& w) { w.strings.erase(2); }, "out_of_range", same},
        Case{"Remove", [](World& w) { EXPECT_TRUE(w.strings.remove("x")); }, "", "y: a=1 b=2"},
        Case{"RemoveOneOfItsOwn", [](World& w) { w.strings.remove(w.strings[1]); }, "", "x: a=1 b=2"},
        Case{"RemoveUnknown", [](World& w) { EXPECT_FALSE(w.strings.remove("z")); }, "", same},
        Case{"Replace", [](World& w) { w.strings.replace(1, "z"); }, "", "x,z: a=1 b=2"},
        Case{"ReplacePastTheEnd", [](World& w) { w.strings.replace(2, "z"); }, "out_of_range", same},
        Case{"At", [](World& w) { w.strings.at(w.strings.indexOf("y") + 1); }, "out_of_range", same},
        Case{"Clear", [](World& w) { w.strings.clear(); }, "", ": a=1 b=2"},
        Case{"GenericAdd", [](World& w) { w.strings.genericAdd(boxed(std::string{"z"})); }, "", "x,y,z: a=1 b=2"},
        Case{"GenericAddOfEmpty", [](World& w) { w.strings.genericAdd(Value{}); }, "", "x,y,: a=1 b=2"},
        Case{"GenericAddOfAnotherType", [](World& w) { w.strings.genericAdd(boxed(1)); }, "CannotAddIncompatibleTypes",
             same},
        Case{"GenericRemove", [](World& w) { w.strings.genericRemove(boxed(std::string{"y"})); }, "", "x: a=1 b=2"},
        Case{"GenericEnsureAt", [](World& w) { w.strings.genericEnsureAt(1, boxed(std::string{"z"})); }, "",
             "x,z: a=1 b=2"},
        Case{"GenericEnsureAtTheEnd", [](World& w) { w.strings.genericEnsureAt(2, boxed(std::string{"z"})); }, "",
             "x,y,z: a=1 b=2"},
        Case{"GenericEnsureAtPastTheEnd", [](World& w) { w.strings.genericEnsureAt(3, boxed(std::string{"z"})); },
             "out_of_range", same},
        Case{"OfAProxy", [](World& w) { w.proxy->getActiveContextsMutable().push_back("z"); }, "CannotModifyProxy",
             same},
        Case{"ClearOfAProxy", [](World& w) { w.proxy->getActiveContextsMutable().clear(); }, "CannotModifyProxy",
             same}),
    [](auto const& info) { return info.param.name; });
INSTANTIATE_TEST_SUITE_P(
    Map, OwnedCollection,
    testing::Values(
        Case{"Add", [](World& w) { w.map.add(w.c); }, "", "x,y: a=1 b=2 c=3"},
        Case{"AddNull", [](World& w) { w.map.add(Property{}); }, "CannotAddNonExistentObject", same},
        Case{"AddDead", [](World& w) { w.map.add(w.dead); }, "CannotAddNonExistentObject", same},
        Case{"AddContext", [](World& w) { w.map.addElement(newContext(w.model)); }, "CannotAddIncompatibleTypes", same},
        Case{"AddItself", [](World& w) { w.map.addElement(w.context); }, "CannotAddIncompatibleTypes", same},
        Case{"AddForeign", [](World& w) { w.map.add(w.foreign); }, "CannotCreateCrossModelAssociation", same},
        Case{"AddAgain", [](World& w) { w.map.add(w.a); }, "UniquenessConstraint", same},
        Case{"AddTakenName", [](World& w) { w.map.add(newProperty(w.model, "a")); }, "UniquenessConstraint", same},
        Case{"AddToProxy", [](World& w) { w.proxy->getPropertiesMutable().add(w.c); }, "CannotModifyProxy", same},
        Case{"ReadProxy", [](World& w) { w.proxy->getProperties(); }, "CannotModifyProxy", same},
        Case{"Remove", [](World& w) { EXPECT_TRUE(w.map.remove(w.a)); }, "", "x,y: b=2"},
        Case{"RemoveUnknown", [](World& w) { EXPECT_FALSE(w.map.remove(w.c)); }, "", same},
        Case{"RemoveNull", [](World& w) { EXPECT_FALSE(w.map.remove(Property{})); }, "", same},
        Case{"RemoveContext", [](World& w) { EXPECT_FALSE(w.map.removeElement(w.context)); }, "", same},
        Case{"RemoveOtherOfTheName", [](World& w) { EXPECT_FALSE(w.map.remove(newProperty(w.model, "a"))); }, "", same},
        Case{"Clear", [](World& w) { w.map.clear(); }, "", "x,y:"},
        Case{"NamesAreBytes",
             [](World& w) {
                 w.a->setName("\xc3\xa4");
                 w.b->setName("B");
                 w.map.add(w.c);
                 add(w.context, "", 0);
                 add(w.context, "B\0c"s, 4);
             },
             "", "x,y: =0 B=2 B\0c=4 c=3 \xc3\xa4=1"s},
        Case{"GenericAdd", [](World& w) { w.map.genericAdd(boxed(w.c)); }, "", "x,y: a=1 b=2 c=3"},
        Case{"GenericAddOfAPlainHandle", [](World& w) { w.map.genericAdd(boxed(ModelElement{w.c})); }, "",
             "x,y: a=1 b=2 c=3"},
        Case{"GenericAddOfAnotherType", [](World& w) { w.map.genericAdd(boxed(1)); }, "CannotAddIncompatibleTypes",
             same},
        Case{"GenericAddOfAContext", [](World& w) { w.map.genericAdd(boxed(w.context)); }, "CannotAddIncompatibleTypes",
             same},
        Case{"GenericAddOfNothing", [](World& w) { w.map.genericAdd(Value{}); }, "CannotAddNonExistentObject", same},
        Case{"GenericRemove", [](World& w) { w.map.genericRemove(boxed(w.b)); }, "", "x,y: a=1"},
        Case{"GenericEnsure",
             [](World& w) {
                 w.map.genericEnsureAt(0, boxed(w.a));
                 w.map.genericEnsureAt(0, boxed(w.c));
             },
             "", "x,y: a=1 b=2 c=3"},
        Case{"OperationNotCommitted",
             [](World& w) {
                 AbstractOwnedCollection::Operation const operation{w.map};
                 w.map.add(w.c);
                 w.map.remove(w.a);
             },
             "", same},
        Case{"OperationCommitted",
             [](World& w) {
                 AbstractOwnedCollection::Operation operation{w.map};
                 w.map.add(w.c);
                 w.map.remove(w.a);
                 operation.commit();
             },
             "", "x,y: b=2 c=3"}),
    [](auto const& info) { return info.param.name; });

TEST(OwnedCollection, TellsWhatItIs)
{
    World w;
    EXPECT_TRUE(w.map.isMapInterface() && !w.map.isSequenceInterface() && !w.map.isMultimapInterface());
    EXPECT_TRUE(w.strings.isSequenceInterface() && !w.strings.isMapInterface());
    EXPECT_TRUE(w.map.isComposite());
    EXPECT_EQ(w.map.owner(), w.context);
    EXPECT_EQ(w.map.getCollectionProperty()->getName(), u"properties");
    EXPECT_EQ(w.strings.getCollectionProperty()->getName(), u"activeContexts");
    EXPECT_EQ(w.map.getGiveUpDescriptor().kind(), OCDChangeDescriptor::Kind::GiveUp);
    EXPECT_FALSE(w.map.genericEmpty() || w.strings.genericEmpty());
    EXPECT_EQ(thrownBy([&] { w.map.modifying(w.map.getGiveUpDescriptor()); }), "logic_error");   // no transaction
    support::ReportRecorder recorder{w.model};
    commit(w.model, [&] { w.strings.modifying(w.strings.getGiveUpDescriptor()); });
    EXPECT_EQ(recorder.take(), "~context(active=x,y)");
}

TEST(OwnedCollection, RefusedStepIsNoStep)
{
    World w;
    support::rollBack(w.model, [&] {
        EXPECT_EQ(thrownBy([&] { w.map.inverseAdd(w.a); }), "UniquenessConstraint");
        w.map.inverseRemove(w.c);   // is not there
    });
    EXPECT_EQ(shown(w.context), same);
}

TEST(OwnedCollection, SharedCollectionKeepsItsElement)
{
    auto w = std::make_unique<World>();
    CollectionRef<Map> const map = w->context.properties();
    w.reset();
    EXPECT_EQ(map.size(), 0u);   // its model ended
    EXPECT_FALSE(map->owner());
    EXPECT_EQ(map->find("a"), Property{});
}

// ---- a sequence of elements

TEST(ElementSequence, HoldsEachElementOnceInTheGivenOrder)
{
    World w;
    Sequence sequence;
    Property const d = newProperty(w.model, "d");
    auto const order = [&] {
        std::string names;
        for (Property const& property : sequence)
            names += property.name();
        return names;
    };
    struct Row {
        std::function<void()> change;
        char const* thrown;
        char const* order;
    };
    Row const rows[] = {
        {[&] { sequence.add(w.b); }, "", "b"},
        {[&] { sequence.add(w.a); }, "", "ba"},
        {[&] { sequence.add(w.b); }, "CannotAddSecondObject", "ba"},
        {[&] { sequence.add(Property{}); }, "CannotAddNonExistentObject", "ba"},
        {[&] { sequence.add(w.dead); }, "CannotAddNonExistentObject", "ba"},
        {[&] { sequence.addElement(w.context); }, "CannotAddIncompatibleTypes", "ba"},
        {[&] { sequence.insert(0, w.c); }, "", "cba"},
        {[&] { sequence.insert(0, w.c); }, "CannotAddSecondObject", "cba"},
        {[&] { sequence.insert(4, d); }, "out_of_range", "cba"},
        {[&] { sequence.insert(3, d); }, "", "cbad"},
        {[&] { sequence.genericEnsureAt(0, boxed(d)); }, "", "dcba"},
        {[&] { sequence.genericEnsureAt(0, boxed(d)); }, "", "dcba"},
        {[&] { sequence.genericEnsureAt(9, boxed(d)); }, "", "cbad"},
        {[&] { sequence.genericAdd(boxed(d)); }, "CannotAddSecondObject", "cbad"},
        {[&] { sequence.genericAdd(boxed(std::string{})); }, "CannotAddIncompatibleTypes", "cbad"},
        {[&] { sequence.genericRemove(boxed(w.b)); }, "", "cad"},
        {[&] { sequence.erase(1); }, "", "cd"},
        {[&] { sequence.erase(2); }, "out_of_range", "cd"},
        {[&] { EXPECT_FALSE(sequence.remove(w.a)); }, "", "cd"},
        {[&] { w.c->destroy(); }, "", "cd"},   // nobody tells a collection that belongs to nobody
        {[&] { sequence.clear(); }, "", ""},
    };
    for (Row const& row : rows) {
        EXPECT_EQ(thrownBy(row.change), row.thrown) << row.order;
        EXPECT_EQ(order(), row.order);
    }
    EXPECT_TRUE(sequence.genericEmpty() && sequence.isSequenceInterface() && !sequence.isMapInterface());
    EXPECT_EQ(sequence.indexOf(w.a), Sequence::npos);
}

TEST(ElementSequence, DescribesItsChanges)
{
    Property const property = newProperty(newModel(), "p");
    OCDChangeDescriptorOfModelElementSequence const descriptor{OCDChangeDescriptor::Kind::Add, 3, property};
    std::unique_ptr<OCDChangeOfModelElementSequence> const change = descriptor.createChange();
    EXPECT_EQ(change->kind(), OCDChangeDescriptor::Kind::Add);
    EXPECT_EQ(change->index(), 3u);
    EXPECT_EQ(change->element(), property);
}

// ---- detached copies

TEST(DetachedCollection, LivesAsLongAsItsHandlesAndTouchesNoModel)
{
    World w;
    std::vector<Property> const members{w.a, w.b, w.a};
    Property const twin = newProperty(w.model, "a");
    CollectionRef<Map> const map{*Map::detached(members).release()};
    CollectionRef<Map> const second = map;
    support::ReportRecorder recorder{w.model};
    EXPECT_EQ(map.size(), 2u);
    map->add(w.c);
    EXPECT_EQ(thrownBy([&] { map->add(twin); }), "UniquenessConstraint");
    map->remove(w.a);
    map->add(w.foreign);
    EXPECT_EQ(recorder.take(), "");
    EXPECT_EQ(second->find("c"), w.c);
    EXPECT_FALSE(second->containsKey("a"));
    EXPECT_FALSE(map->getCollectionProperty());
    EXPECT_EQ(shown(w.context), same);
    AbstractOwnedCollection::Operation{*map}.commit();
    map->clear();
    EXPECT_TRUE(second->empty());

    CollectionRef<Strings> const strings{*Strings::detached({"q"}).release()};
    strings->push_back("r");
    EXPECT_EQ(strings->indexOf("r"), 1u);
}

// ---- placeholders of elements of other models

TEST(Proxy, RefusesEveryChangeOfItself)
{
    World w;
    w.standIn(w.a);
    EXPECT_TRUE(w.a->isProxy());
    for (auto const& change : std::vector<std::function<void()>>{
             [&] { w.a->setName("z"); }, [&] { w.a->setName("a"); }, [&] { w.a->setValue(9); },
             [&] { w.a->setOwner({}); }, [&] { w.b->setOwner(w.proxy); },
             [&] { w.proxy->createIntoProperties(std::make_unique<Property::Builder>(), {}); }})
        EXPECT_EQ(thrownBy(change), "CannotModifyProxy");
    EXPECT_EQ(shown(w.context), "x,y: b=2");
    EXPECT_EQ(w.a.name() + w.a->getValue().asString(), "a1");
}

TEST(Proxy, StandsInATableOfItsOwnUntilTheElementComes)
{
    World w;
    support::ReportRecorder recorder{w.model};
    ProxyId const id = w.a->getProxyId();
    EXPECT_EQ(w.a->getPersistentProxyId(true), id);
    EXPECT_EQ(thrownBy([&] { w.a->convertToProxy({}, ProxyId{}, w.context); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { w.a->convertToProxy({}, id, {}); }), "logic_error");   // contained elsewhere
    w.standIn(w.a);
    EXPECT_TRUE(w.map.containsProxy(id) && w.map.containsElement(w.a) && !w.map.containsKey("a"));
    EXPECT_EQ(w.map.size(), 1u);
    EXPECT_EQ(w.a.owner(), w.context);
    EXPECT_FALSE(w.model->findElement(id.element(), 1));
    EXPECT_FALSE(w.map.peekResolveProxy(id));
    EXPECT_FALSE(w.map.resolveProxy(id));
    EXPECT_TRUE(w.map.containsProxy(id));
    EXPECT_TRUE(w.context->inverseContainsProxyTo(w.a, ContextData::Impl::propertyAt(PROPERTIES)));

    Property const real = Property::create(w.model, id.element());
    real->setName("real");
    EXPECT_EQ(w.map.peekResolveProxy(id), real);
    auto const read = [&](ModelElement::Impl::ReflectionPrivateTag tag) {
        w.context->getPropertyValue(ContextData::Impl::propertyAt(PROPERTIES), tag);
        return shown(w.context);
    };
    EXPECT_EQ(read(ModelElement::Impl::IN_MEMORY_ONLY), "x,y: b=2");
    EXPECT_EQ(read(ModelElement::Impl::NO_PROXY_RESOLVE), "x,y: b=2");
    support::rollBack(w.model, [&] {
        EXPECT_EQ(read(ModelElement::Impl::PUBLIC_ACCESS), "x,y: b=2 real=undefined");
        EXPECT_FALSE(w.map.containsProxy(id));
    });
    EXPECT_TRUE(w.map.containsProxy(id));
    EXPECT_EQ(w.a.owner(), w.context);
    EXPECT_EQ(w.map.resolveProxy(id), real);
    EXPECT_EQ(shown(w.context), "x,y: b=2 real=undefined");
    EXPECT_FALSE(w.map.hasProxies());
}

TEST(Proxy, IsUndoneWithItsTransaction)
{
    World w;
    support::rollBack(w.model, [&] {
        commit(w.model, [&] { w.standIn(w.a); });
        Property const real = Property::create(w.model, w.a.Uuid());
        EXPECT_EQ(w.model->findElement(w.a.Uuid(), 1), real);
    });
    EXPECT_FALSE(w.a->isProxy());
    EXPECT_EQ(shown(w.context), same);
    EXPECT_EQ(w.model->findElement(w.a.Uuid(), 1), w.a);
    w.a->setValue(5);
    EXPECT_EQ(shown(w.context), "x,y: a=5 b=2");
}

TEST(Proxy, OutlivesADestroyedContainerWithoutIt)
{
    World w;
    w.b->destroy();
    w.standIn(w.a);   // the context holds nothing but a placeholder
    support::rollBack(w.model, [&] { w.context->destroy(); });
    EXPECT_EQ(w.a.owner(), w.context);
    EXPECT_TRUE(w.map.containsElement(w.a));
    w.context->destroy();
    EXPECT_TRUE(w.a);
    EXPECT_TRUE(w.a->isTopLevel());
    w.context = ContextData{};
    w.a->destroy();
    EXPECT_FALSE(w.a);
}

TEST(Proxy, IsClonedAsOne)
{
    World w;
    w.standIn(w.a);
    Model const other = newModel();
    ContextData const clone = w.context->cloneTo(other, true);
    EXPECT_EQ(shown(clone), ": b=2");
    ASSERT_EQ(clone.properties()->proxies().size(), 1u);
    EXPECT_EQ(clone.properties()->proxies().front().Uuid(), w.a.Uuid());
    EXPECT_EQ(clone.properties()->proxies().front().owner(), clone);
    EXPECT_EQ(thrownBy([&] { w.proxy->cloneTo(other, false); }), "CannotModifyProxy");
    EXPECT_EQ(other->elements().size(), 3u);
}

}   // namespace
}   // namespace tarn::zero

#include "support/Allocations.h"
#include "support/Elements.h"
#include "tarn/zero/collections/ElementMap.h"
#include "tarn/zero/collections/ElementSequence.h"
#include "tarn/zero/collections/PrimitiveSequence.h"
#include "tarn/zero/meta/TypedElement.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace tarn::zero {
namespace {

using namespace std::string_literals;
using namespace support;
using Map = ContextData::PropertyMap;
using Sequence = ElementSequence<Property>;
using Strings = PrimitiveSequence<std::string>;
constexpr unsigned long PROPERTIES = ContextData::Impl::PROPERTIES;

/// A context with a and b and the active contexts x and y, a lone property c, one that is named a too, and what does
/// not fit.
struct World {
    Model model = newModel();
    ContextData context = newContext(model);
    Property a = add(context, "a", 1);
    Property b = add(context, "b", 2);
    Property c = newProperty(model, "c", 3);
    Property twin = newProperty(model, "a");
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

// ---- collections of an element

char const* const same = "x,y: a=1 b=2";

TEST(OwnedCollection, ChangesWhollyOrRefuses)
{
    struct Row {
        char const* name;
        std::function<void(World&)> change;
        char const* thrown;
        std::string state;   // of the context
    };
    Row const rows[] = {
        {"insert last", [](World& w) { w.strings.insert(2, "z"); }, "", "x,y,z: a=1 b=2"},
        {"insert past the end", [](World& w) { w.strings.insert(3, "z"); }, "out_of_range", same},
        {"insert one of its own", [](World& w) { w.strings.insert(0, w.strings[1]); }, "", "y,x,y: a=1 b=2"},
        {"push back one of its own", [](World& w) { w.strings.push_back(w.strings[0]); }, "", "x,y,x: a=1 b=2"},
        {"erase past the end", [](World& w) { w.strings.erase(2); }, "out_of_range", same},
        {"remove one of its own", [](World& w) { EXPECT_TRUE(w.strings.remove(w.strings[1])); }, "", "x: a=1 b=2"},
        {"replace past the end", [](World& w) { w.strings.replace(2, "z"); }, "out_of_range", same},
        {"at past the end", [](World& w) { w.strings.at(w.strings.indexOf("y") + 1); }, "out_of_range", same},
        {"generic add", [](World& w) { w.strings.genericAdd(boxed("z"s)); }, "", "x,y,z: a=1 b=2"},
        {"generic add of empty", [](World& w) { w.strings.genericAdd(Value{}); }, "", "x,y,: a=1 b=2"},
        {"generic add, wrong", [](World& w) { w.strings.genericAdd(boxed(1)); }, "CannotAddIncompatibleTypes", same},
        {"generic remove", [](World& w) { w.strings.genericRemove(boxed("y"s)); }, "", "x: a=1 b=2"},
        {"ensure at end", [](World& w) { w.strings.genericEnsureAt(2, boxed("z"s)); }, "", "x,y,z: a=1 b=2"},
        {"ensure past end", [](World& w) { w.strings.genericEnsureAt(3, boxed("z"s)); }, "out_of_range", same},
        {"push to proxy", [](World& w) { w.proxy->getActiveContextsMutable().push_back("z"); }, "CannotModifyProxy",
         same},
        {"add null", [](World& w) { w.map.add(Property{}); }, "CannotAddNonExistentObject", same},
        {"add dead", [](World& w) { w.map.add(w.dead); }, "CannotAddNonExistentObject", same},
        {"add context", [](World& w) { w.map.addElement(newContext(w.model)); }, "CannotAddIncompatibleTypes", same},
        {"add itself", [](World& w) { w.map.addElement(w.context); }, "CannotAddIncompatibleTypes", same},
        {"add foreign", [](World& w) { w.map.add(w.foreign); }, "CannotCreateCrossModelAssociation", same},
        {"add a taken name", [](World& w) { w.map.add(w.twin); }, "UniquenessConstraint", same},
        {"add to proxy", [](World& w) { w.proxy->getPropertiesMutable().add(w.c); }, "CannotModifyProxy", same},
        {"operate on proxy", [](World& w) { AbstractOwnedCollection::Operation{w.proxy->getPropertiesMutable()}; },
         "CannotModifyProxy", same},
        // By design: a proxy is not even read.
        {"read proxy", [](World& w) { w.proxy->getProperties(); }, "CannotModifyProxy", same},
        {"add what is elsewhere", [](World& w) { newContext(w.model)->getPropertiesMutable().add(w.a); }, "",
         "x,y: b=2"},
        {"taken name", [](World& w) { w.a->setName("b"); }, "UniquenessConstraint", same},
        {"owner with the name", [](World& w) { w.twin->setOwner(w.context); }, "UniquenessConstraint", same},
        {"foreign owner", [](World& w) { w.foreign->setOwner(w.context); }, "CannotCreateCrossModelAssociation", same},
        {"remove unknown", [](World& w) { EXPECT_FALSE(w.map.remove(w.c)); }, "", same},
        {"remove null", [](World& w) { EXPECT_FALSE(w.map.remove(Property{})); }, "", same},
        {"remove other", [](World& w) { EXPECT_FALSE(w.map.remove(w.twin)); }, "", same},
        {"names are bytes",
         [](World& w) {
             w.a->setName("\xc3\xa4");
             w.b->setName("B");
             add(w.context, "", 0);
             add(w.context, "B\0c"s, 4);
         },
         "", "x,y: =0 B=2 B\0c=4 \xc3\xa4=1"s},
        {"generic add", [](World& w) { w.map.genericAdd(boxed(ModelElement{w.c})); }, "", "x,y: a=1 b=2 c=3"},
        {"generic number", [](World& w) { w.map.genericAdd(boxed(1)); }, "CannotAddIncompatibleTypes", same},
        {"generic context", [](World& w) { w.map.genericAdd(boxed(w.context)); }, "CannotAddIncompatibleTypes", same},
        {"generic nothing", [](World& w) { w.map.genericAdd(Value{}); }, "CannotAddNonExistentObject", same},
        {"generic remove", [](World& w) { w.map.genericRemove(boxed(w.b)); }, "", "x,y: a=1"},
        {"ensure present", [](World& w) { w.map.genericEnsureAt(0, boxed(w.a)); }, "", same},
        {"ensure absent", [](World& w) { w.map.genericEnsureAt(0, boxed(w.c)); }, "", "x,y: a=1 b=2 c=3"},
        {"clone", [](World& w) { w.context->cloneTo(w.model, true); }, "", same},
        {"create under a known UUID", [](World& w) { Property::create(w.model, w.a.Uuid()); }, "", same},
        {"become a proxy", [](World& w) { w.standIn(w.a); }, "", "x,y: b=2"},
        {"build",
         [](World& w) {
             ContextData::Builder context{w.model};
             context.doAddActiveContexts({std::string(100, 'n'), "y"});
             context.doAddProperties(std::make_unique<Property::Builder>());
             context.create({});
         },
         "", same},
        {"operation not committed",
         [](World& w) {
             AbstractOwnedCollection::Operation const operation{w.map};
             w.map.add(w.c);
         },
         "", same},
    };
    for (Row const& row : rows)
        for (bool const isInside : {false, true}) {   // of an open transaction
            SCOPED_TRACE(row.name);
            World w;
            std::optional<Transaction> transaction;
            if (isInside)
                transaction.emplace(w.model->beginTransaction(true));
            EXPECT_EQ(thrownBy([&] { row.change(w); }), row.thrown);
            EXPECT_EQ(shown(w.context), row.state);
            EXPECT_EQ(w.model->isInTransaction(), isInside);
            transaction.reset();
            EXPECT_EQ(shown(w.context), isInside ? same : row.state);
        }
    for (Row const& row : rows) {   // any allocation may fail
        bool failed = true;
        for (std::size_t skipped = 0; failed; ++skipped) {
            SCOPED_TRACE(row.name + (", allocation " + std::to_string(skipped)));
            World w;
            std::size_t const elements = w.model->elements().size();
            try {
                FailingAllocation const failing{skipped};
                failed = false;
                commit(w.model, [&] { row.change(w); });
            } catch (std::bad_alloc const&) {
                failed = true;
            } catch (std::exception const&) {}
            if (failed) {
                EXPECT_EQ(shown(w.context), same);
                EXPECT_EQ(w.model->elements().size(), elements);
                commit(w.model, [&] { thrownBy([&] { row.change(w); }); });
            }
            EXPECT_EQ(shown(w.context), row.state);
        }
    }
}

TEST(OwnedCollection, TellsWhatItIs)
{
    World w;
    EXPECT_TRUE(w.map.isMapInterface() && !w.map.isSequenceInterface() && !w.map.isMultimapInterface());
    EXPECT_TRUE(w.strings.isSequenceInterface() && !w.strings.isMapInterface());
    EXPECT_TRUE(w.map.isComposite() && !w.map.genericEmpty() && !w.strings.genericEmpty());
    EXPECT_EQ(w.map.owner(), w.context);
    EXPECT_EQ(w.map.getCollectionProperty()->getName(), u"properties");
    EXPECT_EQ(w.strings.getCollectionProperty()->getName(), u"activeContexts");
    EXPECT_EQ(w.map.getGiveUpDescriptor().kind(), OCDChangeDescriptor::Kind::GiveUp);
    EXPECT_EQ(thrownBy([&] { w.map.modifying(w.map.getGiveUpDescriptor()); }), "logic_error");   // no transaction
    rollBack(w.model, [&] {   // a refused step is no step
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
    OCDChangeDescriptorOfModelElementSequence const descriptor{OCDChangeDescriptor::Kind::Add, 3, d};
    auto const change = descriptor.createChange();
    EXPECT_TRUE(change->kind() == OCDChangeDescriptor::Kind::Add && change->index() == 3 && change->element() == d);
}

// ---- detached copies

TEST(DetachedCollection, LivesAsLongAsItsHandlesAndTouchesNoModel)
{
    World w;
    CollectionRef<Map> const map{*Map::detached({w.a, w.b, w.twin}).release()};
    CollectionRef<Map> const second = map;
    EXPECT_TRUE(map.size() == 2 && map->find("a") == w.a && !map->getCollectionProperty());
    map->add(w.c);
    map->add(w.foreign);
    EXPECT_EQ(thrownBy([&] { map->add(w.twin); }), "UniquenessConstraint");
    map->remove(w.a);
    EXPECT_TRUE(second->find("c") == w.c && second->find("foreign") == w.foreign && !second->containsKey("a"));
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
    ProxyId const id = w.a->getProxyId();
    EXPECT_EQ(w.a->getPersistentProxyId(true), id);
    EXPECT_EQ(thrownBy([&] { w.a->convertToProxy({}, ProxyId{}, w.context); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { w.a->convertToProxy({}, id, {}); }), "logic_error");   // contained elsewhere
    w.standIn(w.a);
    EXPECT_TRUE(w.map.containsProxy(id) && w.map.containsElement(w.a) && !w.map.containsKey("a"));
    EXPECT_TRUE(w.map.size() == 1 && w.a.owner() == w.context && !w.model->findElement(id.element(), 1));
    EXPECT_FALSE(w.map.peekResolveProxy(id) || w.map.resolveProxy(id));
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
    rollBack(w.model, [&] {
        EXPECT_EQ(read(ModelElement::Impl::PUBLIC_ACCESS), "x,y: b=2 real=undefined");
        EXPECT_FALSE(w.map.containsProxy(id));
    });
    EXPECT_TRUE(w.map.containsProxy(id) && w.a.owner() == w.context);
    EXPECT_EQ(w.map.resolveProxy(id), real);
    EXPECT_EQ(shown(w.context), "x,y: b=2 real=undefined");
    EXPECT_FALSE(w.map.hasProxies());
}

TEST(Proxy, IsUndoneWithItsTransaction)
{
    World w;
    rollBack(w.model, [&] {
        commit(w.model, [&] { w.standIn(w.a); });
        Property const real = Property::create(w.model, w.a.Uuid());
        EXPECT_EQ(w.model->findElement(w.a.Uuid(), 1), real);
    });
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
    rollBack(w.model, [&] { w.context->destroy(); });
    EXPECT_TRUE(w.a.owner() == w.context && w.map.containsElement(w.a));
    w.context->destroy();
    EXPECT_TRUE(w.a && w.a->isTopLevel());
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
    clone->destroy();
    EXPECT_EQ(other->elements().size(), 1u);   // the placeholder stays
}

}   // namespace
}   // namespace tarn::zero

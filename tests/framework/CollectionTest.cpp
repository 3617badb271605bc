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
constexpr auto publicAccess = ModelElement::Impl::PUBLIC_ACCESS;

meta::Property ofContext(unsigned long index)
{
    return ContextData::Impl::propertyAt(index);
}

/// A world with what does not fit in.
struct Crowd : World {
    Property twin = newProperty(model, "a");
    Property dead = newProperty(model, "dead");
    Model other = newModel();
    Property foreign = newProperty(other, "foreign");
    ContextData proxy = newContext(model);
    Map& map = c->getPropertiesMutable();
    Strings& strings = c->getActiveContextsMutable();

    Crowd()
    {
        dead->destroy();
        proxy->convertToProxy({}, proxy->getProxyId(), {});
    }

    /// Makes `property` a placeholder in c.
    void standIn(Property const& property) { property->convertToProxy(ofContext(2), property->getProxyId(), c); }
    /// Sets by a meta property: 1 to 3 are those of a property.
    template <class T>
    void reflect(Property const& property, unsigned long index, T const& payload)
    {
        property->setPropertyValue(Property::Impl::propertyAt(index), boxed(payload), publicAccess);
    }
    void build(char const* name)
    {
        auto builder = std::make_unique<Property::Builder>();
        builder->doSetName(name);
        c->createIntoProperties(std::move(builder), {});
    }
};

// ---- changes of an element and of its collections

char const* const same = "x,y: a=1 b=2";
char const* const wrongType = "CannotAddIncompatibleTypes";
char const* const cast = "CannotCastIncompatibleTypes";
char const* const absent = "CannotAddNonExistentObject";
char const* const taken = "UniquenessConstraint";
char const* const beyond = "CannotCreateCrossModelAssociation";
char const* const proxied = "CannotModifyProxy";

TEST(OwnedCollection, ChangesWhollyOrRefuses)
{
    struct Row {
        char const* name;
        std::function<void(Crowd&)> change;
        char const* thrown;
        std::string state;   // of the context
    };
    Row const rows[] = {
        {"insert past the end", [](Crowd& w) { w.strings.insert(3, "z"); }, "out_of_range", same},
        {"insert one of its own", [](Crowd& w) { w.strings.insert(0, w.strings[1]); }, "", "y,x,y: a=1 b=2"},
        {"push back one of its own", [](Crowd& w) { w.strings.push_back(w.strings[0]); }, "", "x,y,x: a=1 b=2"},
        {"erase past the end", [](Crowd& w) { w.strings.erase(2); }, "out_of_range", same},
        {"remove one of its own", [](Crowd& w) { EXPECT_TRUE(w.strings.remove(w.strings[1])); }, "", "x: a=1 b=2"},
        {"replace past the end", [](Crowd& w) { w.strings.replace(2, "z"); }, "out_of_range", same},
        {"at past the end", [](Crowd& w) { w.strings.at(w.strings.indexOf("y") + 1); }, "out_of_range", same},
        {"generic add", [](Crowd& w) { w.strings.genericAdd(boxed("z"s)); }, "", "x,y,z: a=1 b=2"},
        {"generic add of empty", [](Crowd& w) { w.strings.genericAdd(Value{}); }, "", "x,y,: a=1 b=2"},
        {"generic add, wrong", [](Crowd& w) { w.strings.genericAdd(boxed(1)); }, wrongType, same},
        {"generic remove", [](Crowd& w) { w.strings.genericRemove(boxed("y"s)); }, "", "x: a=1 b=2"},
        {"ensure at end", [](Crowd& w) { w.strings.genericEnsureAt(2, boxed("z"s)); }, "", "x,y,z: a=1 b=2"},
        {"ensure past end", [](Crowd& w) { w.strings.genericEnsureAt(3, boxed("z"s)); }, "out_of_range", same},
        {"push to proxy", [](Crowd& w) { w.proxy->getActiveContextsMutable().push_back("z"); }, proxied, same},
        {"add null", [](Crowd& w) { w.map.add(Property{}); }, absent, same},
        {"add dead", [](Crowd& w) { w.map.add(w.dead); }, absent, same},
        {"add context", [](Crowd& w) { w.map.addElement(newContext(w.model)); }, wrongType, same},
        {"add itself", [](Crowd& w) { w.map.addElement(w.c); }, wrongType, same},
        {"add foreign", [](Crowd& w) { w.map.add(w.foreign); }, beyond, same},
        {"add a taken name", [](Crowd& w) { w.map.add(w.twin); }, taken, same},
        {"add to proxy", [](Crowd& w) { w.proxy->getPropertiesMutable().add(w.lone); }, proxied, same},
        {"operate on proxy", [](Crowd& w) { AbstractOwnedCollection::Operation{w.proxy->getPropertiesMutable()}; },
         proxied, same},
        // By design: a proxy is not even read.
        {"read proxy", [](Crowd& w) { w.proxy->getProperties(); }, proxied, same},
        {"add what is elsewhere", [](Crowd& w) { w.d->getPropertiesMutable().add(w.a); }, "", "x,y: b=2"},
        {"taken name", [](Crowd& w) { w.a->setName("b"); }, taken, same},
        {"owner with the name", [](Crowd& w) { w.twin->setOwner(w.c); }, taken, same},
        {"foreign owner", [](Crowd& w) { w.foreign->setOwner(w.c); }, beyond, same},
        {"remove unknown", [](Crowd& w) { EXPECT_FALSE(w.map.remove(w.lone)); }, "", same},
        {"remove null", [](Crowd& w) { EXPECT_FALSE(w.map.remove(Property{})); }, "", same},
        {"remove other", [](Crowd& w) { EXPECT_FALSE(w.map.remove(w.twin)); }, "", same},
        {"names are bytes",
         [](Crowd& w) {
             w.a->setName("\xc3\xa4");
             w.b->setName("B");
             add(w.c, "", 0);
             add(w.c, "B\0c"s, 4);
         },
         "", "x,y: =0 B=2 B\0c=4 \xc3\xa4=1"s},
        {"generic add", [](Crowd& w) { w.map.genericAdd(boxed(ModelElement{w.lone})); }, "", "x,y: a=1 b=2 lone=3"},
        {"generic number", [](Crowd& w) { w.map.genericAdd(boxed(1)); }, wrongType, same},
        {"generic context", [](Crowd& w) { w.map.genericAdd(boxed(w.c)); }, wrongType, same},
        {"generic nothing", [](Crowd& w) { w.map.genericAdd(Value{}); }, absent, same},
        {"generic remove", [](Crowd& w) { w.map.genericRemove(boxed(w.b)); }, "", "x,y: a=1"},
        {"ensure present", [](Crowd& w) { w.map.genericEnsureAt(0, boxed(w.a)); }, "", same},
        {"ensure absent", [](Crowd& w) { w.map.genericEnsureAt(0, boxed(w.lone)); }, "", "x,y: a=1 b=2 lone=3"},
        {"reflect a name", [](Crowd& w) { w.reflect(w.a, 1, "z"s); }, "", "x,y: b=2 z=1"},
        {"reflect a taken name", [](Crowd& w) { w.reflect(w.a, 1, "b"s); }, taken, same},
        {"reflect a wrong name", [](Crowd& w) { w.reflect(w.a, 1, 1); }, cast, same},
        {"reflect a value", [](Crowd& w) { w.reflect(w.a, 2, PropertyValue{false}); }, "", "x,y: a=false b=2"},
        {"reflect a wrong value", [](Crowd& w) { w.reflect(w.a, 2, "z"s); }, cast, same},
        {"reflect an owner", [](Crowd& w) { w.reflect(w.lone, 3, w.c); }, "", "x,y: a=1 b=2 lone=3"},
        {"reflect a wrong owner", [](Crowd& w) { w.reflect(w.a, 3, w.b); }, cast, same},
        {"reflect nothing",
         [](Crowd& w) { w.b->setPropertyValue(Property::Impl::propertyAt(2), Value{}, publicAccess); }, "",
         "x,y: a=1 b=undefined"},
        {"reflect a list", [](Crowd& w) { w.c->setPropertyValue(ofContext(1), boxed("z"s), publicAccess); },
         "InvalidValue", same},
        {"reflect what it has not", [](Crowd& w) { w.a->setPropertyValue(ofContext(1), boxed("z"s), publicAccess); },
         "InvalidValue", same},
        {"clone", [](Crowd& w) { w.c->cloneTo(w.model, true); }, "", same},
        {"clone to nowhere", [](Crowd& w) { w.c->cloneTo(Model{}, true); }, "logic_error", same},
        {"clone one to nowhere", [](Crowd& w) { w.a->cloneTo(Model{}, true); }, "logic_error", same},
        {"create under a known UUID", [](Crowd& w) { Property::create(w.model, w.a.Uuid()); }, "", same},
        {"become a proxy", [](Crowd& w) { w.standIn(w.a); }, "", "x,y: b=2"},
        {"build",
         [](Crowd& w) {
             ContextData::Builder context{w.model};
             context.doAddActiveContexts({std::string(100, 'n'), "y"});
             context.doAddProperties(std::make_unique<Property::Builder>());
             context.create({});
         },
         "", same},
        {"build inside", [](Crowd& w) { w.build("n"); }, "", "x,y: a=1 b=2 n=undefined"},
        {"build a taken name", [](Crowd& w) { w.build("b"); }, taken, same},
        {"build nothing", [](Crowd& w) { w.c->createIntoProperties(std::unique_ptr<Property::Builder>{}, {}); },
         "InvalidValue", same},
        {"operation not committed",
         [](Crowd& w) {
             AbstractOwnedCollection::Operation const operation{w.map};
             w.map.add(w.lone);
         },
         "", same},
    };
    for (Row const& row : rows)
        for (bool const isInside : {false, true}) {   // of an open transaction
            SCOPED_TRACE(row.name);
            Crowd w;
            std::size_t const elements = w.model->elements().size();
            std::optional<Transaction> transaction;
            if (isInside)
                transaction.emplace(w.model->beginTransaction(true));
            EXPECT_EQ(thrownBy([&] { row.change(w); }), row.thrown);
            EXPECT_EQ(shown(w.c), row.state);
            EXPECT_EQ(w.model->isInTransaction(), isInside);
            transaction.reset();
            EXPECT_EQ(shown(w.c), isInside ? same : row.state);
            EXPECT_TRUE(!isInside || w.model->elements().size() == elements);
        }
    bool failed = true;
    for (Row const& row : rows)   // any allocation may fail
        for (std::size_t skipped = 0; failed || skipped == 0; ++skipped) {
            SCOPED_TRACE(row.name + (", allocation " + std::to_string(skipped)));
            Crowd w;
            std::size_t const elements = w.model->elements().size();
            try {
                FailingAllocation const failing{skipped};
                failed = false;
                commit(w.model, [&] { row.change(w); });
            } catch (std::bad_alloc const&) {
                failed = true;
                EXPECT_EQ(shown(w.c), same);
                EXPECT_EQ(w.model->elements().size(), elements);
                commit(w.model, [&] { thrownBy([&] { row.change(w); }); });
            } catch (std::exception const&) {}
            EXPECT_EQ(shown(w.c), row.state);
        }
}

TEST(OwnedCollection, TellsWhatItIs)
{
    Crowd w;
    EXPECT_TRUE(w.map.isMapInterface() && !w.map.isSequenceInterface() && !w.map.isMultimapInterface());
    EXPECT_TRUE(w.strings.isSequenceInterface() && !w.strings.isMapInterface());
    EXPECT_TRUE(w.map.isComposite() && !w.map.genericEmpty() && !w.strings.genericEmpty());
    EXPECT_TRUE(w.map.owner() == w.c && w.map.getCollectionProperty() == ofContext(2));
    EXPECT_EQ(w.strings.getCollectionProperty(), ofContext(1));
    EXPECT_EQ(w.map.getGiveUpDescriptor().kind(), OCDChangeDescriptor::Kind::GiveUp);
    EXPECT_EQ(thrownBy([&] { w.map.modifying(w.map.getGiveUpDescriptor()); }), "logic_error");   // no transaction
    rollBack(w.model, [&] {   // a refused step is no step
        EXPECT_EQ(thrownBy([&] { w.map.inverseAdd(w.a); }), taken);
        w.map.inverseRemove(w.lone);   // is not there
    });
    EXPECT_EQ(w.state(), World{}.state());
    CollectionRef<Map> const map = World{}.c.properties();   // of a model that is gone
    EXPECT_EQ(map.size(), 0u);
    EXPECT_TRUE(!map->owner() && map->find("a") == Property{});
}

// ---- collections of their own

TEST(ElementSequence, HoldsEachElementOnceInTheGivenOrder)
{
    Crowd w;
    Sequence sequence;
    Property const c = newProperty(w.model, "c"), d = newProperty(w.model, "d");
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
        {[&] { sequence.add(Property{}); }, absent, "ba"},
        {[&] { sequence.add(w.dead); }, absent, "ba"},
        {[&] { sequence.addElement(w.c); }, wrongType, "ba"},
        {[&] { sequence.insert(0, c); }, "", "cba"},
        {[&] { sequence.insert(0, c); }, "CannotAddSecondObject", "cba"},
        {[&] { sequence.insert(4, d); }, "out_of_range", "cba"},
        {[&] { sequence.insert(3, d); }, "", "cbad"},
        {[&] { sequence.genericEnsureAt(0, boxed(d)); }, "", "dcba"},
        {[&] { sequence.genericEnsureAt(0, boxed(d)); }, "", "dcba"},
        {[&] { sequence.genericEnsureAt(9, boxed(d)); }, "", "cbad"},
        {[&] { sequence.genericAdd(boxed(d)); }, "CannotAddSecondObject", "cbad"},
        {[&] { sequence.genericAdd(boxed(""s)); }, wrongType, "cbad"},
        {[&] { sequence.genericRemove(boxed(w.b)); }, "", "cad"},
        {[&] { sequence.erase(1); }, "", "cd"},
        {[&] { sequence.erase(2); }, "out_of_range", "cd"},
        {[&] { EXPECT_FALSE(sequence.remove(w.a)); }, "", "cd"},
        {[&] { c->destroy(); }, "", "cd"},   // nobody tells a collection that belongs to nobody
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

TEST(DetachedCollection, LivesAsLongAsItsHandlesAndTouchesNoModel)
{
    Crowd w;
    CollectionRef<Map> const map{*Map::detached({w.a, w.b, w.twin}).release()};
    CollectionRef<Map> const second = map;
    EXPECT_TRUE(map.size() == 2 && map->find("a") == w.a && !map->getCollectionProperty());
    map->add(w.lone);
    map->add(w.foreign);
    EXPECT_EQ(thrownBy([&] { map->add(w.twin); }), taken);
    map->remove(w.a);
    EXPECT_TRUE(second->find("lone") == w.lone && second->find("foreign") == w.foreign && !second->containsKey("a"));
    EXPECT_EQ(w.state(), World{}.state());
    AbstractOwnedCollection::Operation{*map}.commit();
    map->clear();
    EXPECT_TRUE(second->empty());

    CollectionRef<Strings> const strings{*Strings::detached({"q"}).release()};
    strings->push_back("r");
    EXPECT_EQ(strings->indexOf("r"), 1u);
}

// ---- placeholders of elements of other models

TEST(Proxy, StandsInATableOfItsOwnUntilTheElementComes)
{
    Crowd w;
    ProxyId const id = w.a->getProxyId();
    EXPECT_EQ(w.a->getPersistentProxyId(true), id);
    EXPECT_EQ(thrownBy([&] { w.a->convertToProxy({}, ProxyId{}, w.c); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { w.a->convertToProxy({}, id, {}); }), "logic_error");   // contained elsewhere
    w.standIn(w.a);
    for (auto const& change : std::vector<std::function<void()>>{
             [&] { w.a->setName("z"); }, [&] { w.a->setName("a"); }, [&] { w.a->setValue(9); },
             [&] { w.a->setOwner({}); }, [&] { w.b->setOwner(w.proxy); },
             [&] { w.proxy->createIntoProperties(std::make_unique<Property::Builder>(), {}); }})
        EXPECT_EQ(thrownBy(change), proxied);
    EXPECT_TRUE(w.a->isProxy() && w.a.name() == "a" && w.a->getValue() == PropertyValue(1) && w.a.owner() == w.c);
    EXPECT_TRUE(w.map.containsProxy(id) && w.map.containsElement(w.a) && !w.map.containsKey("a"));
    EXPECT_TRUE(w.map.size() == 1 && !w.model->findElement(id.element(), 1));
    EXPECT_FALSE(w.map.peekResolveProxy(id) || w.map.resolveProxy(id));
    EXPECT_TRUE(w.c->inverseContainsProxyTo(w.a, ofContext(2)));

    Property const real = Property::create(w.model, id.element());
    real->setName("real");
    EXPECT_EQ(w.map.peekResolveProxy(id), real);
    auto const read = [&](ModelElement::Impl::ReflectionPrivateTag tag) {
        w.c->getPropertyValue(ofContext(2), tag);
        return shown(w.c);
    };
    EXPECT_EQ(read(ModelElement::Impl::IN_MEMORY_ONLY), "x,y: b=2");
    EXPECT_EQ(read(ModelElement::Impl::NO_PROXY_RESOLVE), "x,y: b=2");
    rollBack(w.model, [&] {
        EXPECT_EQ(read(publicAccess), "x,y: b=2 real=undefined");
        EXPECT_FALSE(w.map.containsProxy(id));
    });
    EXPECT_TRUE(w.map.containsProxy(id) && w.a.owner() == w.c);
    EXPECT_EQ(w.map.resolveProxy(id), real);
    EXPECT_EQ(shown(w.c), "x,y: b=2 real=undefined");
    EXPECT_FALSE(w.map.hasProxies());
}

TEST(Proxy, IsUndoneWithItsTransactionAndOutlivesItsContainer)
{
    Crowd w;
    w.b->destroy();
    rollBack(w.model, [&] {
        commit(w.model, [&] { w.standIn(w.a); });
        Property const real = Property::create(w.model, w.a.Uuid());
        EXPECT_EQ(w.model->findElement(w.a.Uuid(), 1), real);
    });
    EXPECT_EQ(w.model->findElement(w.a.Uuid(), 1), w.a);
    w.a->setValue(5);
    EXPECT_EQ(shown(w.c), "x,y: a=5");
    w.standIn(w.a);   // the context holds nothing but a placeholder
    rollBack(w.model, [&] { w.c->destroy(); });
    EXPECT_TRUE(w.a.owner() == w.c && w.map.containsElement(w.a));
    w.c->destroy();
    EXPECT_TRUE(w.a && w.a->isTopLevel());
    w.c = ContextData{};
    w.a->destroy();
    EXPECT_FALSE(w.a);
}

TEST(Proxy, IsClonedAsOne)
{
    Crowd w;
    w.standIn(w.a);
    Model const other = newModel();
    ContextData const clone = w.c->cloneTo(other, true);
    EXPECT_EQ(shown(clone), ": b=2");
    ASSERT_EQ(clone.properties()->proxies().size(), 1u);
    EXPECT_EQ(clone.properties()->proxies().front().Uuid(), w.a.Uuid());
    EXPECT_EQ(clone.properties()->proxies().front().owner(), clone);
    EXPECT_EQ(thrownBy([&] { w.proxy->cloneTo(other, false); }), proxied);
    EXPECT_EQ(other->elements().size(), 3u);
    clone->destroy();
    EXPECT_EQ(other->elements().size(), 1u);   // the placeholder stays
}

}   // namespace
}   // namespace tarn::zero

#include "support/Allocations.h"
#include "support/ReportRecorder.h"
#include "tarn/zero/collections/ElementMap.h"
#include "tarn/zero/collections/ElementSequence.h"
#include "tarn/zero/collections/PrimitiveSequence.h"
#include "tarn/zero/meta/Package.h"

#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
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

struct Change {
    char const* name;
    std::function<void(Crowd&)> change;
    char const* thrown;
    std::string state;   // of the context
};
Change const CHANGES[] = {
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
    {"operate on proxy", [](Crowd& w) { AbstractOwnedCollection::Operation{w.proxy->getPropertiesMutable()}; }, proxied,
     same},
    // By design: a proxy is not even read.
    {"read proxy", [](Crowd& w) { w.proxy->getProperties(); }, proxied, same},
    {"add by its place", [](Crowd& w) { w.d->getPropertiesMutable().add(*w.map.begin()); }, "", "x,y: b=2"},
    {"remove by its place", [](Crowd& w) { w.map.remove(*w.map.begin()); }, "", "x,y: b=2"},
    {"add a proxy of elsewhere",
     [](Crowd& w) { w.foreign->convertToProxy({}, w.foreign->getProxyId(), {}), w.map.add(w.foreign); }, beyond, same},
    {"basic add context", [](Crowd& w) { w.map.basicAdd(w.d); }, wrongType, same},
    {"inverse add context", [](Crowd& w) { w.map.inverseAdd(w.d); }, wrongType, same},
    {"inverse add taken", [](Crowd& w) { w.map.inverseAdd(w.twin); }, taken, same},
    {"copy other values", [](Crowd& w) { w.map.basicCopyValues(Sequence{}); }, "logic_error", same},
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
    {"reflect nothing", [](Crowd& w) { w.b->setPropertyValue(Property::Impl::propertyAt(2), Value{}, publicAccess); },
     "", "x,y: a=1 b=undefined"},
    {"reflect a list", [](Crowd& w) { w.c->setPropertyValue(ofContext(1), boxed("z"s), publicAccess); }, "InvalidValue",
     same},
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

TEST(OwnedCollection, ChangesWhollyOrRefuses)
{
    enum class Around { Nothing, RolledBack, Committed, Frozen };
    for (Change const& row : CHANGES)
        for (Around const around : {Around::Nothing, Around::RolledBack, Around::Committed, Around::Frozen}) {
            SCOPED_TRACE(row.name);
            Crowd w;
            std::size_t const elements = w.model->elements().size();
            bool const isInside = around != Around::Nothing, isFrozen = around == Around::Frozen;
            ReportRecorder recorder{w.model};
            recorder.onContexts = [&](auto const& data) {
                ShallowChangeReport<ContextData> const report{data};
                EXPECT_TRUE(row.state != same || report.modified().empty()) << "what is refused is not recorded";
            };
            std::optional<Transaction> transaction;
            if (isInside)
                transaction.emplace(w.model->beginTransaction(true));
            std::optional<Model::Freezer> frozen;
            if (isFrozen)
                frozen.emplace(w.model);
            std::string const thrown = thrownBy([&] { row.change(w); });
            EXPECT_TRUE(thrown == row.thrown || (isFrozen && thrown == "ModelFrozen")) << thrown;
            EXPECT_TRUE(!isFrozen || row.state == same || thrown == "ModelFrozen") << thrown;
            EXPECT_EQ(shown(w.c), isFrozen ? same : row.state);
            EXPECT_EQ(w.model->isInTransaction(), isInside);
            if (around == Around::Committed || isFrozen)
                transaction->commit(boost::none);
            transaction.reset();
            bool const isUndone = isFrozen || around == Around::RolledBack;
            EXPECT_EQ(shown(w.c), isUndone ? same : row.state);
            EXPECT_TRUE(!isUndone || w.model->elements().size() == elements);
        }
}

TEST(OwnedCollection, LosesNothingWithoutMemory)
{
    bool failed = true;
    for (Change const& row : CHANGES)
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

TEST(OwnedCollection, DescribesItself)
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

/// Notes the changes that it announces: "+0b -2a".
struct Announced : Sequence {
    using Sequence::Sequence;
    void modifying(OCDChangeDescriptor const& descriptor) override
    {
        Sequence::modifying(descriptor);
        auto const change = dynamic_cast<OCDChangeDescriptorOfModelElementSequence const&>(descriptor).createChange();
        bool const isAdd = change->kind() == OCDChangeDescriptor::Kind::Add;
        EXPECT_TRUE(isAdd || change->kind() == OCDChangeDescriptor::Kind::Remove);
        log +=
            (isAdd ? '+' : '-') + std::to_string(change->index()) + elementCast<Property>(change->element())->getName();
    }
    std::string log;
};

TEST(ElementSequence, HoldsEachElementOnceInTheGivenOrder)
{
    Crowd w;
    Announced sequence;
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
        char const* announced = "";
    };
    Row const rows[] = {
        {[&] { sequence.add(w.b); }, "", "b", "+0b"},
        {[&] { sequence.add(w.a); }, "", "ba", "+1a"},
        {[&] { sequence.add(w.b); }, "CannotAddSecondObject", "ba"},
        {[&] { sequence.add(Property{}); }, absent, "ba"},
        {[&] { sequence.add(w.dead); }, absent, "ba"},
        {[&] { sequence.addElement(w.c); }, wrongType, "ba"},
        {[&] { sequence.insert(0, c); }, "", "cba", "+0c"},
        {[&] { sequence.insert(0, c); }, "CannotAddSecondObject", "cba"},
        {[&] { sequence.insert(4, d); }, "out_of_range", "cba"},
        {[&] { sequence.insert(3, d); }, "", "cbad", "+3d"},
        {[&] { sequence.genericEnsureAt(0, boxed(d)); }, "", "dcba", "-3d+0d"},
        {[&] { sequence.genericEnsureAt(0, boxed(d)); }, "", "dcba"},
        {[&] { sequence.genericEnsureAt(9, boxed(d)); }, "", "cbad", "-0d+3d"},
        {[&] { sequence.genericEnsureAt(0, boxed(ModelElement{w.c})); }, wrongType, "cbad"},
        {[&] { sequence.genericEnsureAt(0, boxed(ModelElement{})); }, absent, "cbad"},
        {[&] { sequence.genericEnsureAt(1, boxed(w.lone)); }, "", "clonebad", "+1lone"},
        {[&] { sequence.remove(sequence.at(1)); }, "", "cbad", "-1lone"},
        {[&] { sequence.genericAdd(boxed(d)); }, "CannotAddSecondObject", "cbad"},
        {[&] { sequence.genericAdd(boxed(""s)); }, wrongType, "cbad"},
        {[&] { sequence.genericRemove(boxed(w.b)); }, "", "cad", "-1b"},
        {[&] { sequence.erase(1); }, "", "cd", "-1a"},
        {[&] { sequence.erase(2); }, "out_of_range", "cd"},
        {[&] { EXPECT_FALSE(sequence.remove(w.a)); }, "", "cd"},
        {[&] { c->destroy(); }, "", "cd"},   // nobody notifies a collection that belongs to nobody
        {[&] { sequence.genericEnsureAt(1, boxed(c)); }, "", "dc", "-0c+1c"},
        {[&] { sequence.clear(); }, "", "", "-0d-0c"},
    };
    for (Row const& row : rows) {
        EXPECT_EQ(thrownBy(row.change), row.thrown) << row.order;
        EXPECT_EQ(order(), row.order);
        EXPECT_EQ(std::exchange(sequence.log, {}), row.announced) << row.order;
    }
    EXPECT_TRUE(sequence.genericEmpty() && sequence.isSequenceInterface() && !sequence.isMapInterface());
    Announced owned{*w.c.get(), 2, false};
    EXPECT_EQ(thrownBy([&] { owned.inverseAdd(w.a); }), "logic_error");   // no transaction
    commit(w.model, [&] { owned.add(w.a), owned.inverseAdd(w.b), owned.inverseRemove(w.a); });
    EXPECT_EQ(owned.log, "+0a+1b-0a");
}

TEST(ElementSequence, TakesAnElementByItsPlaceInAnother)
{
    Model const model = newModel();
    meta::Package const one = meta::Package::create(model, {}), two = meta::Package::create(model, {});
    meta::Package const inner[] = {meta::Package::create(model, {}), meta::Package::create(model, {})};
    for (meta::Package const& package : inner)
        package->setParentPackage(one);
    two->getPackagesMutable().add(one->getPackages().at(0));
    EXPECT_TRUE(one->getPackages().size() == 1 && one->getPackages().at(0) == inner[1]);
    two->getPackagesMutable().add(one->getPackages().at(0));   // the last one
    EXPECT_TRUE(two->getPackages().size() == 2 && two->getPackages().at(1) == inner[1]);
    EXPECT_TRUE(inner[0]->container() == two && inner[1]->container() == two && one->getPackages().empty());
}

// ---- the table of a map

std::size_t s_keyReads = 0;
struct CountingKey : NameKey {
    std::string const& operator()(Property::Impl const& element) const { return ++s_keyReads, element.getName(); }
};

TEST(KeyedElements, ReadsAboutAsManyKeysAsThereAreChanges)
{
    using Table = detail::KeyedElements<std::string, Property, CountingKey>;
    constexpr std::size_t count = 2000;
    Model const model = newModel();
    std::vector<Property> named;
    for (std::size_t i = 0; i != 2 * count; ++i)
        named.push_back(newProperty(model, std::to_string(10000 + i)));
    auto const enter = [](Table& table, Property const& property) {
        table.reserveFor(property);
        table.insert(property);
    };
    struct Row {
        char const* name;
        std::function<void(Table&, std::size_t)> step;   // one of `count`, on a table of as many
        std::size_t left;
    };
    Row const rows[] = {
        {"from the front", [](Table& table, std::size_t) { table.erase(*table.begin()); }, 0},
        {"from the back", [](Table& table, std::size_t) { table.erase(*std::prev(table.end())); }, 0},
        {"from both ends",
         [](Table& table, std::size_t i) { table.erase(i % 2 ? *table.begin() : *std::prev(table.end())); }, 0},
        {"in any order",
         [&](Table& table, std::size_t i) {
             table.erase(named[i * 7 % count]);
             EXPECT_EQ(table.empty(), table.begin() == table.end());
         },
         0},
        {"first out, one in behind",
         [&](Table& table, std::size_t i) { table.erase(*table.begin()), enter(table, named[count + i]); }, count},
        {"last out, one in behind",
         [&](Table& table, std::size_t i) { table.erase(*std::prev(table.end())), enter(table, named[count + i]); },
         count},
        {"renamed in any order",
         [&](Table& table, std::size_t i) { table.erase(named[i * 7 % count]), enter(table, named[i * 7 % count]); },
         count},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        Table table;
        for (std::size_t i = 0; i != count; ++i)
            enter(table, named[i * 11 % count]);
        table.begin();
        s_keyReads = 0;
        for (std::size_t i = 0; i != count; ++i)
            row.step(table, i);
        EXPECT_LT(s_keyReads, 16 * count);
        EXPECT_EQ(table.size(), row.left);
        std::size_t inOrder = 0;
        Property const* last = nullptr;
        for (Property const& property : table) {
            inOrder += !last || (*last)->getName() < property->getName() ? 1 : 0;
            EXPECT_EQ(table.find(property->getName()), last = &property);
        }
        EXPECT_EQ(inOrder, row.left);
    }
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
    w.b->setName("z"), w.foreign->setName("a");   // the keys stay
    EXPECT_TRUE(map->find("b") == w.b && !map->containsKey("z") && map->containsElement(w.b));
    EXPECT_TRUE(*map->begin() == w.b && *std::prev(map->end()) == w.lone);
    EXPECT_EQ(thrownBy([&] { map->add(w.b); }), taken);
    w.standIn(w.b);
    EXPECT_EQ(thrownBy([&] { map->add(w.b); }), taken);
    EXPECT_TRUE(map->remove(w.foreign) && map->remove(w.b) && map->size() == 1);
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
    EXPECT_EQ(thrownBy([&] { w.standIn(real); }), taken);   // one placeholder of each identity
    EXPECT_TRUE(!real->isProxy() && w.map.proxies() == std::vector<Property>{w.a});
    Property const second = Property::create(w.model, id.element());
    second->convertToProxy({}, id, {});
    EXPECT_EQ(thrownBy([&] { w.map.add(second); }), taken);
    EXPECT_FALSE(w.map.containsElement(second) || w.map.remove(second));
    second->destroy();
    real->setName("real");
    EXPECT_EQ(w.map.peekResolveProxy(id), real);
    auto const read = [&](ModelElement::Impl::ReflectionPrivateTag tag) {
        w.c->getPropertyValue(ofContext(2), tag);
        return shown(w.c);
    };
    EXPECT_EQ(read(ModelElement::Impl::IN_MEMORY_ONLY), "x,y: b=2");
    EXPECT_EQ(read(ModelElement::Impl::NO_PROXY_RESOLVE), "x,y: b=2");
    EXPECT_EQ(w.map.resolveProxy(id), real);
    EXPECT_EQ(shown(w.c), "x,y: b=2 real=undefined");
    EXPECT_TRUE(!w.map.hasProxies() && w.a->isTopLevel());
}

TEST(Proxy, IsResolvedByReadingWithoutAReportAndOnlyWhereThatCanBe)
{
    struct Row {
        char const* name;
        std::function<void(Crowd&, Property const& real)> before;
        char const* read;
    };
    char const* const unresolved = "x,y: b=2 + proxy";
    Row const rows[] = {
        {"free", [](Crowd&, Property const&) {}, "x,y: b=2 real=undefined"},
        {"here already", [](Crowd& w, Property const& real) { real->setOwner(w.c); }, "x,y: b=2 real=undefined"},
        {"name taken", [](Crowd&, Property const& real) { real->setName("b"); }, unresolved},
        {"elsewhere", [](Crowd& w, Property const& real) { real->setOwner(w.d); }, unresolved},
        {"gone", [](Crowd&, Property const& real) { real->destroy(); }, unresolved},
        {"another class",
         [](Crowd& w, Property const& real) { real->destroy(), ContextData::create(w.model, w.a.Uuid()); }, unresolved},
    };
    enum class Around { Nothing, Committed, RolledBack, Frozen, Savepoint };
    for (Row const& row : rows)
        for (auto const around :
             {Around::Nothing, Around::Committed, Around::RolledBack, Around::Frozen, Around::Savepoint}) {
            SCOPED_TRACE(row.name + std::to_string(static_cast<int>(around)));
            Crowd w;
            w.standIn(w.a);
            Property const real = Property::create(w.model, w.a.Uuid());
            real->setName("real");
            row.before(w, real);
            auto const state = [&] { return shown(w.c) + (w.map.hasProxies() ? " + proxy" : ""); };
            std::string const before = state();
            ReportRecorder recorder{w.model};
            std::uint64_t const structure = w.model->structureVersion();
            {
                std::optional<Transaction> transaction, inner;
                if (around != Around::Nothing)
                    transaction.emplace(w.model->beginTransaction(true));
                if (around == Around::Savepoint)
                    inner.emplace(w.model->beginTransaction(true));
                std::optional<Model::Freezer> frozen;
                if (around == Around::Frozen)
                    frozen.emplace(w.model);
                EXPECT_EQ(thrownBy([&] { w.c->getPropertyValue(ofContext(2), publicAccess); }), "");
                EXPECT_EQ(state(), around == Around::Frozen ? before : row.read);
                EXPECT_EQ(w.model->structureVersion() != structure, state() != before);
                if (inner)
                    inner->commit(boost::none), inner.reset();
                if (around != Around::Nothing && around != Around::RolledBack)
                    transaction->commit(boost::none);
            }
            EXPECT_EQ(recorder.take(), "");
            EXPECT_EQ(state(), around == Around::RolledBack || around == Around::Frozen ? before : row.read);
            EXPECT_EQ(w.a->isTopLevel(), !w.map.hasProxies());
            rollBack(w.model, [&] {   // together with changes that are told
                w.c->getPropertyValue(ofContext(2), publicAccess);
                add(w.c, "n"), w.b->setName("m");
                if (real)
                    real->setName("q"), real->destroy();
            });
            EXPECT_EQ(state(), around == Around::RolledBack || around == Around::Frozen ? before : row.read);
            commit(w.model, [&] { w.c->getPropertyValue(ofContext(2), publicAccess), add(w.c, "n"); });
            EXPECT_EQ(recorder.take(), "+n; context");
        }
    Crowd const w;
    EXPECT_EQ(thrownBy([&] { w.proxy->getPropertyValue(ofContext(2), publicAccess); }), "");
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

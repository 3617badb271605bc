#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"

#include "support/Printers.h"
#include "support/ReportRecorder.h"
#include "tarn/zero/Query.h"
#include "tarn/zero/meta/TypedElement.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace studio::data {
namespace {

using namespace support;
using namespace tarn::zero;
using ModelBuilder = ModelElement::Builder;
using MetaProperty = meta::Property;

constexpr auto publicAccess = ModelElement::Impl::PUBLIC_ACCESS;

constexpr auto contextProperty = &ContextData::Impl::propertyAt;
constexpr auto propertyProperty = &Property::Impl::propertyAt;

/// Context C with a=1 and b=2, context D with a=3, a lone property l.
struct World {
    Model model = newModel();
    ContextData c = newContext(model);
    ContextData d = newContext(model);
    Property a = add(c, "a", 1);
    Property b = add(c, "b", 2);
    Property other = add(d, "a", 3);
    Property lone = newProperty(model, "l", 4);

    std::string state() const { return shown(c) + " |" + shown(d) + " | " + lone.name() + (lone.owner() ? "*" : ""); }
};

// ---- clones

TEST(Clone, CarriesThePropertiesAndNothingElse)
{
    World w;
    w.c->getActiveContextsMutable().push_back("x");
    for (bool const keepsUuids : {true, false}) {
        Model const target = newModel();
        ReportRecorder recorder{target};
        ContextData const clone = w.c->cloneTo(target, keepsUuids);
        // By design: the copy's active contexts are empty.
        EXPECT_EQ(shown(clone), ": a=1 b=2");
        EXPECT_EQ(recorder.take(), "+a +b; +context");
        EXPECT_EQ(clone.Uuid() == w.c.Uuid(), keepsUuids);
        EXPECT_EQ(clone.properties()->find("b").Uuid() == w.b.Uuid(), keepsUuids);
        EXPECT_EQ(clone.properties()->find("b").owner(), clone);
        EXPECT_EQ(target->elements().size(), 3u);
        Property const lone = w.a->cloneTo(target, keepsUuids);
        EXPECT_TRUE(lone.name() == "a" && lone->getValue() == PropertyValue(1) && !lone.owner());
    }
    EXPECT_EQ(thrownBy([&] { w.c->cloneTo(Model{}, true); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { w.a->cloneTo(Model{}, true); }), "logic_error");
}

// ---- builders

std::unique_ptr<Property::Builder> propertyBuilder(std::string const& name, PropertyValue const& value)
{
    auto builder = std::make_unique<Property::Builder>();
    builder->doSetName(name);
    builder->doSetValue(value);
    return builder;
}

TEST(Builder, MakesATreeInOneTransaction)
{
    Model const model = newModel();
    ReportRecorder recorder{model};
    ContextData::Builder builder{model};
    builder.doAddActiveContexts("dropped");
    builder.doClearActiveContexts();
    builder.doAddProperties(propertyBuilder("dropped", 0));
    builder.doClearProperties();
    EXPECT_FALSE(builder.isSet(1) || builder.isSet(2) || builder.isSet(1000));
    builder.doAddActiveContexts({"x", "y"});
    builder.doAddActiveContexts("x");
    builder.doAddProperties(propertyBuilder("b", 1));
    builder.doAddProperties(propertyBuilder("a", "t"));
    EXPECT_TRUE(builder.isSet(1) && builder.isSet(2));
    ContextData const made = builder.createContextData(true, uuid(5));
    EXPECT_EQ(shown(made), "x,y,x: a=t b=1");
    EXPECT_EQ(made.Uuid(), uuid(5));
    EXPECT_EQ(recorder.take(), "+b +a; +context");
    EXPECT_EQ(model->elements().size(), 3u);

    builder.doAddProperties(propertyBuilder("a", "again"));
    EXPECT_EQ(thrownBy([&] { builder.create({}); }), "UniquenessConstraint");
    EXPECT_EQ(recorder.take(), "");
    EXPECT_EQ(model->elements().size(), 3u);
    EXPECT_EQ(thrownBy([] { ContextData::Builder{}.create({}); }), "logic_error");   // no model
}

TEST(Builder, RoutesMetaPropertiesAndHandsOnTheRest)
{
    Model const model = newModel();
    ContextData::Builder context{model};
    Property::Builder property{model};
    auto nested = [](auto builder) -> std::unique_ptr<ModelBuilder> { return builder; };
    std::unique_ptr<ModelBuilder> good = nested(propertyBuilder("p", 1));
    std::unique_ptr<ModelBuilder> wrong = nested(std::make_unique<ContextData::Builder>());
    std::unique_ptr<ModelBuilder> none;
    struct Row {
        std::function<std::uint64_t()> set;
        char const* thrown;
        std::uint64_t bit;
    };
    char const* const cast = "CannotCastIncompatibleTypes";
    Row const rows[] = {
        {[&] { return context.setOrAdd(contextProperty(1), boxed(std::string{"x"})); }, "", 2},
        {[&] { return context.setOrAdd(contextProperty(1), boxed(1)); }, cast, 0},
        {[&] { return context.setOrAdd(contextProperty(2), boxed(1)); }, "InvalidValue", 0},
        {[&] { return context.setOrAdd(propertyProperty(1), boxed(std::string{})); }, "InvalidValue", 0},
        {[&] { return context.setOrAdd(MetaProperty{}, boxed(1)); }, "InvalidValue", 0},
        {[&] { return context.setOrAdd(contextProperty(2), wrong); }, "InvalidValue", 0},
        {[&] { return context.setOrAdd(contextProperty(2), none); }, "InvalidValue", 0},
        {[&] { return context.setOrAdd(contextProperty(1), good); }, "InvalidValue", 0},
        {[&] { return context.setOrAdd(contextProperty(2), good); }, "", 4},
        {[&] { return property.setOrAdd(propertyProperty(1), boxed(std::string{"n"})); }, "", 2},
        {[&] { return property.setOrAdd(propertyProperty(2), boxed(PropertyValue{8})); }, "", 4},
        {[&] { return property.setOrAdd(propertyProperty(2), boxed(8.0)); }, cast, 0},
        {[&] { return property.setOrAdd(propertyProperty(3), boxed(ContextData{})); }, "InvalidValue", 0},
        {[&] { return property.setOrAdd(propertyProperty(3), wrong); }, "InvalidValue", 0},
    };
    for (Row const& row : rows) {
        std::uint64_t bit = 0;
        EXPECT_EQ(thrownBy([&] { bit = row.set(); }), row.thrown);
        EXPECT_EQ(bit, row.bit);
    }
    EXPECT_TRUE(wrong);   // not taken
    EXPECT_FALSE(good);   // taken
    EXPECT_EQ(property.getName() + property.getValue().asString(), "n8");
    EXPECT_EQ(shown(context.createContextData(true, {})), "x: p=1");
}

TEST(Builder, OrchestratorTellsWhoMadeWhat)
{
    Model const model = newModel();
    ReportRecorder recorder{model};
    {
        ContextData::Builder root{model};
        auto nested = propertyBuilder("p", 1);
        Property::Builder* const raw = nested.get();
        root.doAddProperties(std::move(nested));
        ModelBuilder::Orchestrator orchestrator{&root};
        orchestrator.addBuilder(raw);
        auto apart = propertyBuilder("q", 2);
        orchestrator.addBuilder(apart.get());
        EXPECT_FALSE(orchestrator.getCreatedElement(&root));
        orchestrator.commit();
        EXPECT_EQ(orchestrator.getCreatedElement(raw)->container(), orchestrator.getCreatedElement(&root));
        EXPECT_TRUE(orchestrator.getCreatedElement(apart.get())->isTopLevel());
        EXPECT_FALSE(orchestrator.getCreatedElement(nullptr));
        apart.reset();   // may go before the orchestrator
    }
    EXPECT_EQ(recorder.take(), "+p +q; +context");
    {
        ContextData::Builder root{model};
        ModelBuilder::Orchestrator const orchestrator{&root};
        root.create({});   // joins it
    }
    EXPECT_EQ(recorder.take(), "");
}

TEST(Builder, MakesAPropertyInsideAContext)
{
    World w;
    EXPECT_EQ(w.c->createIntoProperties(propertyBuilder("n", 7), uuid(3)).Uuid(), uuid(3));
    EXPECT_EQ(thrownBy([&] { w.c->createIntoProperties(propertyBuilder("n", 8), {}); }), "UniquenessConstraint");
    EXPECT_EQ(thrownBy([&] { w.c->createIntoProperties(std::unique_ptr<Property::Builder>{}, {}); }), "InvalidValue");
    EXPECT_EQ(shown(w.c), ": a=1 b=2 n=7");
    EXPECT_EQ(w.model->elements().size(), 7u);
}

// ---- reflection

TEST(Reflection, ReadsAndWritesByMetaProperty)
{
    World w;
    auto const has = [](ModelElement const& element, MetaProperty const& property) {
        return element->hasPropertyValue(property, publicAccess);
    };
    auto const get = [](ModelElement const& element, MetaProperty const& property) {
        return element->getPropertyValue(property, publicAccess);
    };
    EXPECT_TRUE(has(w.lone, propertyProperty(1)) && has(w.lone, propertyProperty(2)));
    EXPECT_TRUE(has(w.a, propertyProperty(3)) && !has(w.lone, propertyProperty(3)));
    EXPECT_TRUE(!has(w.c, contextProperty(1)) && has(w.c, contextProperty(2)));
    EXPECT_FALSE(has(w.c, propertyProperty(1)) || has(w.a, contextProperty(1)) || has(w.a, MetaProperty{}));

    EXPECT_EQ(get(w.a, propertyProperty(1)).getValue<std::string>(), "a");
    EXPECT_EQ(get(w.a, propertyProperty(2)).getValue<PropertyValue>(), PropertyValue(1));
    EXPECT_EQ(get(w.a, propertyProperty(3)).getValue<ContextData>(), w.c);
    EXPECT_TRUE(get(w.a, contextProperty(1)).isEmpty());
    using Map = CollectionRef<ContextData::PropertyMap>;
    using Strings = CollectionRef<ContextData::Impl::ActiveContexts>;
    EXPECT_EQ(&**get(w.c, contextProperty(2)).peekValue<Map>(), &w.c->getProperties());   // the live one
    Value const strings = get(w.c, contextProperty(1));
    (*strings.peekValue<Strings>())->push_back("x");
    EXPECT_TRUE(has(w.c, contextProperty(1)));

    struct Row {
        ModelElement element;
        MetaProperty property;
        Value value;
        char const* thrown;
    };
    char const* const cast = "CannotCastIncompatibleTypes";
    Row const rows[] = {
        {w.a, propertyProperty(1), boxed(std::string{"z"}), ""},
        {w.a, propertyProperty(2), boxed(PropertyValue{false}), ""},
        {w.b, propertyProperty(2), Value{}, ""},   // empty: undefined
        {w.lone, propertyProperty(3), boxed(w.d), ""},
        {w.a, propertyProperty(1), boxed(1), cast},
        {w.a, propertyProperty(2), boxed(std::string{}), cast},
        {w.a, propertyProperty(3), boxed(w.b), cast},
        {w.a, propertyProperty(1), boxed(std::string{"b"}), "UniquenessConstraint"},
        {w.a, contextProperty(1), boxed(std::string{}), "InvalidValue"},
        {w.c, contextProperty(1), boxed(std::string{"y"}), "InvalidValue"},
    };
    for (Row const& row : rows)
        EXPECT_EQ(thrownBy([&] { row.element->setPropertyValue(row.property, row.value, publicAccess); }), row.thrown);
    EXPECT_EQ(w.state(), "x: b=undefined z=false |: a=3 l=4 | l*");
}

TEST(Reflection, OppositeSideIsKeptInStep)
{
    World w;
    EXPECT_EQ(w.a->containmentFeature(), contextProperty(2));
    EXPECT_FALSE(w.lone->containmentFeature() || w.a->isReflective() || !(w.a->This() == w.a));
    EXPECT_TRUE(w.c->inverseContains(w.a, contextProperty(2)));
    EXPECT_FALSE(w.c->inverseContains(w.lone, contextProperty(2)) || w.c->inverseContains(w.a, contextProperty(1)));
    EXPECT_EQ(thrownBy([&] { w.c->inverseAdd(w.lone, contextProperty(1)); }), "InvalidValue");
    EXPECT_EQ(thrownBy([&] { w.c->inverseAdd(w.lone, contextProperty(2)); }), "logic_error");   // no transaction
    commit(w.model, [&] {
        w.c->inverseAdd(w.lone, contextProperty(2));
        w.lone->basicSetOwner(w.c);
        w.c->inverseRemove(w.b, contextProperty(2));
    });
    EXPECT_EQ(w.state(), ": a=1 l=4 |: a=3 | l*");
    EXPECT_EQ(thrownBy([&] { w.c->checkCircularContainment(w.a); }), "CircularContainment");
    EXPECT_EQ(thrownBy([&] { w.c->checkCircularContainment(w.c); }), "CircularContainment");
    EXPECT_EQ(thrownBy([&] { w.a->checkCircularContainment(w.c); }), "");
}

// ---- queries

TEST(Constrainables, FindTheVeryElement)
{
    World w;
    AbstractQuery const query{w.model};
    Property::Constrainables const property{query, Property::metaClass(), SearchClassMatchMode::ExactClass};
    ContextData::Constrainables const context{query, ContextData::metaClass(), SearchClassMatchMode::ExactClass};
    ConstrainablesOf<ModelElement> const any{query, ModelElement::metaClass(),
                                             SearchClassMatchMode::ClassAndSubclasses};
    ConstrainablesOf<ModelElement> const none{query, ModelElement::metaClass(), SearchClassMatchMode::ExactClass};
    EXPECT_EQ(query.find(property == w.b), std::vector<ModelElement>{w.b});
    EXPECT_EQ(query.find(context == w.d), std::vector<ModelElement>{w.d});
    EXPECT_EQ(query.find(any.any()).size(), 6u);
    EXPECT_TRUE(query.find(none.any()).empty());
    w.c->destroy();
    EXPECT_TRUE(query.find(property == w.b).empty());
    EXPECT_EQ(query.find(property.any()).size(), 2u);
}

// ---- the hook for scripting hosts

std::vector<AbstractOwnedCollection*> s_invalidated;

TEST(Invalidation, PassesEachCollectionOnceToTheHook)
{
    World w;
    s_invalidated.clear();
    ElementImpl::m_callback = [](AbstractOwnedCollection& collection) {
        s_invalidated.push_back(&collection);
        EXPECT_TRUE(collection.owner());   // still alive
    };
    w.c->destroy();
    w.c->destroy();
    std::vector<AbstractOwnedCollection*> const expected{&w.c->getActiveContextsMutable(),
                                                         &w.c->getPropertiesMutable()};
    EXPECT_EQ(s_invalidated, expected);
    w.a->destroy();   // has none
    w.model = Model{};
    ElementImpl::m_callback = nullptr;
    EXPECT_EQ(s_invalidated.size(), 4u);   // and those of the other context
}

}   // namespace
}   // namespace studio::data

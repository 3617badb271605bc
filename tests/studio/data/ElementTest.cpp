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
#include <utility>
#include <vector>

namespace studio::data {
namespace {

using namespace support;
using namespace tarn::zero;
using ModelBuilder = ModelElement::Builder;

constexpr auto publicAccess = ModelElement::Impl::PUBLIC_ACCESS;
constexpr auto contextProperty = &ContextData::Impl::propertyAt;
constexpr auto propertyProperty = &Property::Impl::propertyAt;

// ---- clones

TEST(Clone, CarriesThePropertiesAndNothingElse)
{
    World w;
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
    std::unique_ptr<ModelBuilder> good = propertyBuilder("p", 1), none;
    std::unique_ptr<ModelBuilder> wrong = std::make_unique<ContextData::Builder>();
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
        {[&] { return context.setOrAdd(meta::Property{}, boxed(1)); }, "InvalidValue", 0},
        {[&] { return context.setOrAdd(contextProperty(2), wrong); }, "InvalidValue", 0},
        {[&] { return context.setOrAdd(contextProperty(2), none); }, "InvalidValue", 0},
        {[&] { return context.setOrAdd(contextProperty(1), good); }, "InvalidValue", 0},
        {[&] { return context.setOrAdd(meta::Property{}, good); }, "InvalidValue", 0},
        {[&] { return property.setOrAdd(meta::Property{}, boxed(1)); }, "InvalidValue", 0},
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
    EXPECT_TRUE(wrong && !good);   // not taken, taken
    EXPECT_EQ(property.getName() + property.getValue().asString(), "n8");
    EXPECT_EQ(shown(context.createContextData(true, {})), "x: p=1");
}

TEST(Builder, RefusesWhatItCannotMake)
{
    Model const model = newModel();
    ReportRecorder recorder{model};
    ContextData::Builder root{model}, other{model};
    EXPECT_EQ(thrownBy([&] { root.doAddProperties(nullptr); }), "InvalidValue");
    EXPECT_EQ(thrownBy([&] { root.doAddProperties(std::make_unique<ContextData::Builder>()); }), "InvalidValue");
    EXPECT_FALSE(root.isSet(2));
    EXPECT_EQ(thrownBy([&] { ModelBuilder::Orchestrator{nullptr}; }), "logic_error");
    {
        ModelBuilder::Orchestrator first{&root};
        ModelBuilder::Orchestrator second{&other};
        for (auto const& misuse : std::vector<std::function<void()>>{
                 [&] { first.addBuilder(nullptr); }, [&] { first.addBuilder(&other); },
                 [&] { ModelBuilder::Orchestrator{&root}; }, [&] { root.setModel(newModel()); },
                 [&] { first.setCreatedElement(&other, {}); }})
            EXPECT_EQ(thrownBy(misuse), "logic_error");
        second.commit();
        for (auto const& late : std::vector<std::function<void()>>{[&] { second.commit(); }, [&] { other.create({}); },
                                                                   [&] { second.addBuilder(&root); }})
            EXPECT_EQ(thrownBy(late), "logic_error");
    }
    EXPECT_EQ(model->elements().size(), 0u) << "the inner one is gone with the outer one";
    root.doAddProperties(propertyBuilder("a", 1));
    root.doAddProperties(propertyBuilder("a", 2));
    {
        ModelBuilder::Orchestrator first{&root};
        EXPECT_EQ(thrownBy([&] { root.create({}); }), "UniquenessConstraint");
        EXPECT_EQ(thrownBy([&] { first.commit(); }), "logic_error") << "half a tree";
    }
    root.doClearProperties();
    EXPECT_TRUE(root.create({}) && root.create({}));   // as often as one likes, on its own
    EXPECT_EQ(recorder.take(), "+context; +context");
}

TEST(Builder, WithoutNotificationReportsNothingUntilAnnounced)
{
    Model const model = newModel();
    ReportRecorder recorder{model};
    ContextData::Builder context{model};
    context.doAddProperties(propertyBuilder("a", 1));
    auto const property = propertyBuilder("b", 2);
    property->setModel(model);
    Property const lone = property->createProperty(false, uuid(4));
    ContextData const made = context.createContextData(false, uuid(5));
    lone->setValue(3);
    commit(model, [&] { rollBack(model, [&] { made->addProperty("c", 4); }), lone->setName("z"); });
    EXPECT_EQ(shown(made) + lone.name() + lone->getValue().asString(), ": a=1z3");
    EXPECT_EQ(recorder.take(), "");
    EXPECT_FALSE(model->findElement(uuid(5), 1) || !model->elements().empty());
    rollBack(model, [&] { context.createContextData(false, {})->notifyCreated(); });
    commit(model, [&] { made->notifyCreated(); });
    EXPECT_EQ(recorder.take(), "+a; +context");
    EXPECT_TRUE(model->findElement(uuid(5), 1) == made && model->elements().size() == 2u);
    lone->destroy();
    EXPECT_EQ(recorder.take(), "");
}

TEST(Builder, OrchestratorFindsWhatABuilderMade)
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

// ---- reflection

TEST(Reflection, ReadsByMetaProperty)
{
    World w;
    auto const has = [](ModelElement const& element, meta::Property const& property) {
        return element->hasPropertyValue(property, publicAccess);
    };
    auto const get = [](ModelElement const& element, meta::Property const& property) {
        return element->getPropertyValue(property, publicAccess);
    };
    EXPECT_TRUE(has(w.lone, propertyProperty(1)) && has(w.lone, propertyProperty(2)) && has(w.a, propertyProperty(3)));
    EXPECT_TRUE(has(w.c, contextProperty(1)) && has(w.c, contextProperty(2)));
    EXPECT_FALSE(has(w.lone, propertyProperty(3)) || has(w.d, contextProperty(1)) || has(w.c, propertyProperty(1)) ||
                 has(w.a, contextProperty(1)) || has(w.a, meta::Property{}));
    EXPECT_EQ(get(w.a, propertyProperty(1)).getValue<std::string>(), "a");
    EXPECT_EQ(get(w.a, propertyProperty(2)).getValue<PropertyValue>(), PropertyValue(1));
    EXPECT_EQ(get(w.a, propertyProperty(3)).getValue<ContextData>(), w.c);
    EXPECT_TRUE(get(w.a, contextProperty(1)).isEmpty());
    using Map = CollectionRef<ContextData::PropertyMap>;
    using Strings = CollectionRef<ContextData::Impl::ActiveContexts>;   // both are the live ones
    EXPECT_EQ(&**get(w.c, contextProperty(2)).peekValue<Map>(), &w.c->getProperties());
    EXPECT_EQ(&**get(w.c, contextProperty(1)).peekValue<Strings>(), &w.c->getActiveContexts());
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
    EXPECT_EQ(w.state(), "x,y: a=1 lone=3 | : | lone*");
    meta::Property const stranger = propertyProperty(2);   // has the index of the context's properties
    EXPECT_FALSE(w.c->inverseContains(w.a, stranger) || w.c->inverseContainsProxyTo(w.a, stranger));
    for (auto const& [refused, thrown] : std::vector<std::pair<std::function<void()>, char const*>>{
             {[&] { w.c->inverseAdd(w.b, stranger); }, "InvalidValue"},
             {[&] { w.c->inverseRemove(w.a, stranger); }, "InvalidValue"},
             {[&] { w.b->_inverseAddThis(w.c.get(), stranger, true); }, "InvalidValue"},
             {[&] { w.b->_inverseAddThis(w.c.get(), stranger, false); }, "InvalidValue"},
             {[&] { w.a->_inverseRemoveThis(w.c.get(), stranger); }, "InvalidValue"},
             {[&] { w.c->_setContainedByThis(w.b.get(), stranger); }, "InvalidValue"},
             {[&] { w.b->basicSetContainer(w.c.get(), stranger, 3); }, "InvalidValue"},
             {[&] { w.b->convertToProxy(stranger, w.b->getProxyId(), w.c); }, "InvalidValue"},
             {[&] { w.a->createChanges()->setOldContainer(w.c, stranger); }, "InvalidValue"},
             {[&] { w.c->basicSetContainer(w.d.get(), contextProperty(2), 3); }, "InvalidValue"},
             {[&] { w.d->_setContainedByThis(w.c.get(), contextProperty(2)); }, "InvalidValue"},
             {[&] { w.c->inverseAdd(w.d, contextProperty(2)); }, "CannotAddIncompatibleTypes"},
             {[&] { w.d->_inverseAddThis(w.c.get(), contextProperty(2), false); }, "CannotAddIncompatibleTypes"}})
        commit(w.model, [&, &refused = refused, thrown = thrown] { EXPECT_EQ(thrownBy(refused), thrown); });
    EXPECT_EQ(w.state(), "x,y: a=1 lone=3 | : | lone*");
    EXPECT_EQ(thrownBy([&] { w.c->checkCircularContainment(w.a); }), "CircularContainment");
    EXPECT_EQ(thrownBy([&] { w.c->checkCircularContainment(w.c); }), "CircularContainment");
    EXPECT_EQ(thrownBy([&] { w.a->checkCircularContainment(w.c); }), "");
}

// ---- queries

TEST(Constrainables, FindTheVeryElement)
{
    World w;
    AbstractQuery const query{w.model};
    using Any = ConstrainablesOf<ModelElement>;
    auto const exact = SearchClassMatchMode::ExactClass;
    Property::Constrainables const property{query, Property::metaClass(), exact};
    ContextData::Constrainables const context{query, ContextData::metaClass(), exact};
    Any const any{query, ModelElement::metaClass(), SearchClassMatchMode::ClassAndSubclasses};
    EXPECT_EQ(query.find(property == w.b), std::vector<ModelElement>{w.b});
    EXPECT_EQ(query.find(context == w.d), std::vector<ModelElement>{w.d});
    EXPECT_EQ(query.find(any.any()).size(), 5u);
    EXPECT_TRUE(query.find(Any{query, ModelElement::metaClass(), exact}.any()).empty());
    w.c->destroy();
    EXPECT_TRUE(query.find(property == w.b).empty());
    EXPECT_EQ(query.find(property.any()).size(), 1u);
}

// ---- the hook for scripting hosts

std::vector<AbstractOwnedCollection*> s_invalidated;

TEST(Invalidation, PassesEachCollectionOnceToTheHook)
{
    World w;
    ElementImpl::m_callback = [](AbstractOwnedCollection& collection) {
        s_invalidated.push_back(&collection);
        EXPECT_TRUE(collection.owner());   // still alive
    };
    w.c->destroy();
    w.c->destroy();
    std::vector<AbstractOwnedCollection*> const expected{&w.c->getActiveContextsMutable(),
                                                         &w.c->getPropertiesMutable()};
    EXPECT_EQ(std::exchange(s_invalidated, {}), expected);
    w.lone->destroy();   // has none
    w.model = Model{};
    ElementImpl::m_callback = nullptr;
    EXPECT_EQ(s_invalidated.size(), 2u);   // those of the other context
}

}   // namespace
}   // namespace studio::data

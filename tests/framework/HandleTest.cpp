#include "tarn/zero/ModelElement.h"

#include "support/Hooked.h"
#include "support/Printers.h"
#include "support/ReportRecorder.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
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

TEST(Handle, KnowsItsClass)
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
    dead->destroy();   // without effect, as the next four
    dead->destroyRecursively(true, true, true);
    dead->basicSetOwner({});
    dead->undoCreation();
    dead.owner()->undoCreation();
    ContextData const other = newContext(d.model ? d.model : newModel());
    auto& strings = dead.owner()->getActiveContextsMutable();
    auto& map = dead.owner()->getPropertiesMutable();
    constexpr auto tag = ModelElement::Impl::PUBLIC_ACCESS;
    for (auto const& change : std::vector<std::function<void()>>{
             [&] { dead->setName("q"); },
             [&] { dead->setName("p"); },
             [&] { dead->setValue(6); },
             [&] { dead->setOwner({}); },
             [&] { dead->setOwner(other); },
             [&] { dead->notifyModifying(Property::Impl::NAME); },
             [&] { dead->convertToProxy({}, dead->getProxyId(), {}); },
             [&] { dead->notifyCreated(); },
             [&] { dead->enterSilently(); },
             [&] { dead->notifyDestroying(); },
             [&] { dead->makeUncontained(); },
             [&] { dead->doDestroy(true, true); },
             [&] { static_cast<void>(dead->begin()); },
             [&] { other->_setContainedByThis(dead.get(), ContextData::Impl::PROPERTIES); },
             [&] { dead.owner()->addProperty("n", 1); },
             [&] { dead.owner()->createIntoProperties({nullptr}, {}); },
             [&] { dead.owner()->inverseRemove(dead, ContextData::Impl::propertyAt(2)); },
             [&] { dead->setPropertyValue(Property::Impl::propertyAt(2), boxed(PropertyValue{}), tag); },
             [&] { strings.push_back("y"); },
             [&] { strings.remove("none"); },
             [&] { strings.clear(); },
             [&] { map.add(newProperty(other->getModel(), "n")); },
             [&] { map.remove(dead); },
             [&] { map.clear(); },
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

TEST(LiveElement, RefusesWhatItsStateForbids)
{
    World w;
    w.d->convertToProxy({}, w.d->getProxyId(), {});
    auto const makeInto = [&] { w.d->createIntoProperties(std::make_unique<Property::Builder>(), {}); };
    EXPECT_EQ(thrownBy(makeInto), "CannotModifyProxy");
    EXPECT_EQ(thrownBy([&] { w.d->addProperty("n", 1); }), "CannotModifyProxy");
    EXPECT_EQ(thrownBy([&] { w.model->addDeepListener<ReportRecorder>(nullptr); }), "logic_error");
    for (bool const opens : {false, true}) {
        std::optional<Transaction> transaction;
        if (opens)
            transaction.emplace(w.model->beginTransaction(true));
        EXPECT_EQ(thrownBy([&] { w.a->notifyCreated(); }), "logic_error");
        EXPECT_EQ(thrownBy([&] { w.a->enterSilently(); }), "logic_error");
        EXPECT_EQ(thrownBy([&] { w.a->notifyDestroying(); }), "logic_error");
        w.a->undoCreation();
    }
    EXPECT_EQ(thrownBy([&] { w.c->doDestroy(false, false); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { w.c->destroyRecursively(false, false, false); }), "logic_error");
    EXPECT_TRUE(w.state() == "x,y: a=1 b=2 | : | lone" && w.model->elements().size() == 5u);
    w.d = ContextData::create(w.model, {});
    w.d->_setContainedByThis(w.lone.get(), ContextData::Impl::PROPERTIES);   // silent, also outside of a transaction
    EXPECT_EQ(w.lone.owner(), w.d);
    w.c->destroy();   // nothing was left half-way
    EXPECT_FALSE(w.c || w.a);
}

// ---- hooks

/// Element 1 with the parts 2 and 3.
Hooked tree(Model const& model, bool notify = true)
{
    Hooked::Builder builder{model};
    builder.addPart(uuid(2));
    builder.addPart(uuid(3));
    return Hooked{static_cast<Hooked::Impl*>(builder.doCreate(notify, uuid(1)).get())};
}

struct HookTest : testing::Test {
    ~HookTest() override { Hooked::Impl::hook = {}; }
    Hooked find(std::uint8_t id) { return Hooked{static_cast<Hooked::Impl*>(model->findElement(uuid(id), 1).get())}; }

    Model model = newModel();
};

TEST_F(HookTest, RunsOnceForEachElementAndMayRefuse)
{
    struct Refusal {};
    struct Row {
        std::function<void()> run;
        char const* log;
        std::size_t before, after;
    };
    for (Row const& row :
         {Row{[&] { Hooked::Impl::createIn(model, uuid(1)); }, "+1", 0, 1}, Row{[&] { tree(model); }, "+1+2+3", 0, 3},
          Row{[&] { tree(model, false); }, "", 0, 0},
          Row{[&] { commit(model, [&] { tree(model, false)->notifyCreated(); }); }, "+2+3+1", 0, 3},
          Row{[&] { find(1)->destroy(); }, "-1-2-3", 3, 0}, Row{[&] { find(2)->destroy(); }, "-2", 3, 2},
          Row{[&] { rollBack(model, [&] { find(1)->destroy(); }); }, "-1-2-3", 3, 3}}) {
        std::size_t const steps = std::string{row.log}.size() / 2;
        for (std::size_t refused = 0; refused <= steps; ++refused) {   // at last none
            Hooked::Impl::hook = {};
            model = newModel();
            if (row.before != 0)
                tree(model);
            std::string log;
            Hooked::Impl::hook = [&](char sign, Hooked const& element) {
                log += sign + std::to_string(element.Uuid().data[15]);
                if (log.size() == 2 * (refused + 1))
                    throw Refusal{};
            };
            bool refusal = false;
            try {
                row.run();
            } catch (Refusal const&) {
                refusal = true;
            }
            EXPECT_EQ(refusal, refused != steps) << row.log;
            EXPECT_EQ(log, std::string(row.log).substr(0, 2 * (refused + 1)));
            EXPECT_EQ(model->elements().size(), refusal ? row.before : row.after) << row.log << refused;
            EXPECT_TRUE(!find(1) || row.before == 0 || find(1)->parts.size() + 1 == model->elements().size());
        }
    }
}

TEST_F(HookTest, MayChangeWhatIsBeingDestroyed)
{
    Hooked const root = tree(model), part = find(2), other = Hooked::Impl::createIn(model, {});
    Hooked::Impl::hook = [&](char sign, Hooked const&) {
        if (sign == '-')
            find(1)->parts.add(Hooked::Impl::createIn(model, {}));
    };
    EXPECT_EQ(thrownBy([&] { root->destroy(); }), "logic_error");   // it takes nothing in any more
    EXPECT_TRUE(root && part && model->elements().size() == 4u);
    Hooked::Impl::hook = [&](char, Hooked const& element) {
        element->destroy();   // is on its way
        root->destroy();
        if (element == part)
            other->parts.add(part);   // does not save it
    };
    root->destroy();
    EXPECT_TRUE(!root && !part && other->parts.empty());
    EXPECT_EQ(model->elements().size(), 1u);
}

// ---- dead elements and reports

TEST(DeadElement, IsInAReportThatOutlivesTheModel)
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

TEST(Identity, NilMakesAFreshRandomUuid)
{
    Model const model = newModel();
    boost::uuids::uuid const one = newContext(model).Uuid();
    EXPECT_EQ(one.version(), boost::uuids::uuid::version_random_number_based);
    EXPECT_EQ(one.variant(), boost::uuids::uuid::variant_rfc_4122);
    EXPECT_NE(one, newContext(model).Uuid());
}

}   // namespace
}   // namespace tarn::zero

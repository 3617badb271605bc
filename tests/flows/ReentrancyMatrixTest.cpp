#include "studio/data/ContextView.h"
#include "support/Contexts.h"
#include "support/Mirrors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Whoever is called may do anything. One table has the ways to be called, one what is done there, one who was made in
// which order; every cell is run, with every call that the trigger makes as the one that acts. Afterwards all values
// are those of a fresh evaluation, and all mirrors are like their sources.

namespace studio::data {
namespace {

using support::context;
using support::Handle;
using support::Provider;
using Release = std::function<void()>;

struct Refusal {};

/// The callback that acts: of an expression, of a handle that a view detaches, of a listener on the shared model or on
/// the view's.
enum class Actor { Subscriber, Detached, Foreign, Intruder };

/// The objects that the acting callback belongs to.
struct Turn {
    std::size_t engine;
    Release self;
    Release sibling;
};
struct World;
struct Action {
    char const* name;
    void (*act)(World&, Turn const&);
    bool unbinds = false;   // a release unbinds its symbols for all who name them
    bool throws = false;
};

/// A listener that knows nothing of what it hears.
struct Listening : tarn::zero::Listener {
    Listening(World& surrounding, tarn::zero::Model const& watched, Actor who, std::size_t at)
        : world{surrounding}, model{watched}, actor{who}, place{at}
    {
        model->addDeepListener(this);
    }
    ~Listening() override { model->removeListener(this); }
    template <class Report>
    void transactionCommitted(Report const& report);

    World& world;
    tarn::zero::Model model;
    Actor actor;
    std::size_t place;
};

/// Providers, and what an arrangement names in that order: E an engine with handles, V a view with handles, F a
/// listener. Handles come in pairs of one text or one context. The calls after the first `skips` follow the plan.
struct World {
    struct Held {
        std::string text;
        Handle handle;
        bool isWhole = false;
    };
    struct Side {
        std::unique_ptr<ExpressionEngine> engine;
        std::deque<Held> held;
    };
    struct Panel {
        boost::uuids::uuid id;
        std::unique_ptr<ContextHandleImpl> handle;
        int calls = 0;
    };

    World(std::string arrangement, Actor who) : actor{who}
    {
        root->addProperty("ref", child);
        char const needed = who == Actor::Subscriber ? 'E' : who == Actor::Foreign ? 'F' : 'V';
        if (arrangement.find(needed) == std::string::npos)
            arrangement += needed;
        for (char const letter : arrangement)
            letter == 'E' ? makeEngine() : letter == 'V' ? makeView() : listen(shared(), Actor::Foreign);
    }
    static tarn::zero::Model const& shared() { return ContextProvider::sharedModel(); }

    void makeEngine()
    {
        sides.push_back({std::make_unique<ExpressionEngine>(root), {}});
        for (char const* const text : {"x", "x + y", "ref.v", "(added ?? 0) + (ref.w ?? 0) + (ref.next.v ?? 0)"})
            hold(sides.size() - 1, text), hold(sides.size() - 1, text);
    }
    void makeView()
    {
        view = ContextView::create(mirrors);
        hold(root), hold(root), hold(other), hold(other);
        if (actor == Actor::Intruder)
            listen(mirrors, actor);
    }
    void listen(tarn::zero::Model const& model, Actor as)
    {
        listeners.push_back(std::make_unique<Listening>(*this, model, as, listeners.size()));
    }
    void hold(std::size_t side, std::string const& text)
    {
        if (!sides[side].engine)
            return;
        std::deque<Held>& held = sides[side].held;
        Held& own = held.emplace_back(Held{text, nullptr});
        Release const self = [&own] { own.handle.reset(); };
        Release const sibling = [&held, at = held.size() - 1] {
            held[std::min(at ^ 1, held.size() - 1)].handle.reset();
        };
        own.handle = sides[side].engine->acquireExpression(
            text, [=, this, &own, mine = text + " lasts"](std::string const& heard, PropertyValue const& value) {
                EXPECT_TRUE(own.handle || !own.isWhole) << "released, and called";
                EXPECT_TRUE(!own.handle || own.handle->getValue() == value);
                act(Actor::Subscriber, {side, self, sibling});
                EXPECT_EQ(heard + " lasts", mine) << "whatever was released";
            });
        own.isWhole = true;
    }
    void hold(Provider const& provider)
    {
        if (!view || !provider)
            return;
        std::size_t const place = panels.size();
        Panel& own = panels.emplace_back(Panel{provider->getId(), nullptr});
        own.handle = view->acquire(own.id, [this, place, &own](ContextData const& data) {
            Panel& sibling = panels[std::min(place ^ 1, panels.size() - 1)];
            EXPECT_TRUE(own.handle) << "destroyed, and called";
            EXPECT_FALSE(place < 4 && sibling.handle && sibling.handle->getData()) << "all are cut off first";
            EXPECT_TRUE(++own.calls == 1 && !data);
            act(Actor::Detached, {0, [&own] { own.handle.reset(); }, [&sibling] { sibling.handle.reset(); }});
            EXPECT_EQ(panels[place].calls, 1) << "what was captured lasts";
        });
    }

    void act(Actor who, Turn const& turn)
    {
        if (who == actor && next != plan.size() && (skips == 0 || skips-- == 0))
            plan[next++]->act(*this, turn);
    }
    void write(char const* name, PropertyValue const& value) { root->setPropertyValue(name, value); }
    void touchEverything()
    {
        root->addProperty("x", 5);
        for (Provider const& provider : {root, child, other})
            for (std::string const& name : provider ? provider->getPropertyNames() : std::vector<std::string>{}) {
                PropertyValue const value = provider->getPropertyValue(name);
                provider->setPropertyValue(name, "touched");
                provider->setPropertyValue(name, value);
            }
    }

    void expectAllRight() const
    {
        EXPECT_FALSE(shared()->isInTransaction() || mirrors->isInTransaction());
        ExpressionEngine fresh{root};
        for (Side const& side : sides)
            for (Held const& held : side.held)
                if (held.handle) {
                    Handle const again = fresh.acquireExpression(held.text, [](auto&&...) {});
                    EXPECT_EQ(held.handle->getValue(), side.engine ? again->getValue() : PropertyValue()) << held.text;
                }
        std::set<boost::uuids::uuid> held;
        std::set<boost::uuids::uuid> seen;
        for (Panel const& panel : panels)
            if (panel.handle) {
                EXPECT_EQ(panel.calls, panel.handle->getData() ? 0 : 1);
                if (panel.handle->getData() && held.insert(panel.id).second)
                    expectMirror(panel.id, seen);
            }
        for (Provider const& provider : {root, child, other})
            if (view && provider) {
                EXPECT_EQ(view->getRecord(provider->getId()) != nullptr, held.count(provider->getId()) != 0);
            }
    }
    void expectMirror(boost::uuids::uuid const& id, std::set<boost::uuids::uuid>& seen) const
    {
        if (!seen.insert(id).second)
            return;
        ContextData const source{support::source(id)};
        EXPECT_EQ(support::whole(view->getData(id)), support::whole(source));
        for (Property const& property : source->getProperties())
            if (property->getValue().isContextProvider())
                expectMirror(property->getValue().getUUID(), seen);
    }

    Provider other = context({{"v", 7}});
    Provider child = context({{"v", 0}, {"w", 0}, {"next", other}});
    Provider root = context({{"x", 0}, {"y", 0}});
    Provider born;
    std::deque<Side> sides;
    tarn::zero::Model mirrors = tarn::zero::Model::create(tarn::zero::ModelSpec{});
    std::unique_ptr<ContextView> view;
    std::deque<Panel> panels;
    std::deque<std::unique_ptr<Listening>> listeners;
    Actor actor;
    std::vector<Action const*> plan;
    std::size_t skips = 0;
    std::size_t next = 0;
};

template <class Report>
void Listening::transactionCommitted(Report const&)
{
    auto& all = world.listeners;
    world.act(actor,
              {0, [&all, at = place] { all[at].reset(); }, [&all, at = place] { all[(at + 1) % all.size()].reset(); }});
}

// ---- the tables

struct Trigger {
    char const* name;
    Actor actor;
    bool letsOut;   // what is thrown
    void (*pull)(World&);
};
Trigger const TRIGGERS[] = {
    {"FirstCallOfANewText", Actor::Subscriber, true, [](World& w) { w.hold(0, "x - y"); }},
    {"FirstCallOfAKnownText", Actor::Subscriber, true, [](World& w) { w.hold(0, "x + y"); }},
    {"Change", Actor::Subscriber, true, [](World& w) { w.write("x", 1); }},
    {"ManyChanges", Actor::Subscriber, true,
     [](World& w) {
         support::inTransaction([&] { w.write("x", 1), w.write("ref", w.other), w.root->addProperty("added", 1); });
     }},
    {"Removal", Actor::Subscriber, true, [](World& w) { w.root->removeProperty("x"); }},
    {"DeathOfAProvider", Actor::Subscriber, false, [](World& w) { w.child.reset(); }},
    {"EndOfTheView", Actor::Detached, false, [](World& w) { w.view.reset(); }},
    {"EndOfARecord", Actor::Detached, false,
     [](World& w) { w.view->destroyRecord(w.view->getRecord(w.root->getId())); }},
    {"DetachByHand", Actor::Detached, false,
     [](World& w) { w.panels[0].handle.reset(), w.panels[1].handle->detach(); }},
    {"ForeignReport", Actor::Foreign, true, [](World& w) { w.write("x", 1); }},
    {"ForeignReportOfABirth", Actor::Foreign, true,
     [](World& w) {
         w.born = context({{"v", 8}});
     }},
    {"ForeignReportOfNewNames", Actor::Foreign, true,
     [](World& w) {
         support::inTransaction([&] { w.root->getProperty("y")->setName("added"), w.root->addProperty("y", 4); });
     }},
    {"ForeignReportOfNewPlaces", Actor::Foreign, true,
     [](World& w) {
         support::inTransaction([&] {
             Property const moved = w.other->getProperty("v");
             w.child->removeProperty("v");
             moved->setOwner(ContextData{support::source(w.child->getId())});
             w.other->addProperty("v", 9);
         });
     }},
    {"ViewAcquires", Actor::Intruder, true, [](World& w) { w.hold(w.child); }},
    {"ViewFollows", Actor::Intruder, true, [](World& w) { w.write("ref", w.other); }},
    {"ViewDetaches", Actor::Intruder, false,
     [](World& w) { w.panels[0].handle.reset(), w.panels[1].handle->detach(); }},
    {"ViewReleases", Actor::Intruder, false, [](World& w) { w.panels[0].handle.reset(), w.panels[1].handle.reset(); }},
};

Action const ACTIONS[] = {
    {"WritesTheSame", [](auto& w, auto&) { w.write("x", w.root->getPropertyValue("x") == PropertyValue(2) ? 3 : 2); }},
    {"WritesItBack", [](auto& w, auto&) { w.write("x", 0); }},
    {"WritesAnother", [](auto& w, auto&) { w.write("y", 3), w.write("ref.v", 4); }},
    {"WritesInATransaction",
     [](auto& w, auto&) {
         support::inTransaction([&] {
             support::rolledBack([&] { w.write("x", 6), w.write("ref", 0); });
             w.write("y", 5), w.write("ref", w.other);
         });
     }},
    {"Adds", [](auto& w, auto&) { w.root->addProperty("added", 9); }},
    {"Removes", [](auto& w, auto&) { w.root->removeProperty("x"), w.root->removeProperty("ref"); }},
    {"AcquiresTheSameText", [](auto& w, auto& turn) { w.hold(turn.engine, "x + y"), w.hold(turn.engine, "x"); }},
    {"AcquiresANewText", [](auto& w, auto& turn) { w.hold(turn.engine, "x * 2 + (ref.v ?? 0)"); }},
    {"AcquiresAContext", [](auto& w, auto&) { w.hold(w.root), w.hold(w.child); }},
    {"AcquiresInPassing",
     [](auto& w, auto& turn) {
         if (w.view && w.child)
             w.view->acquire(w.child->getId(), nullptr).reset();
         if (ExpressionEngine* const engine = w.sides[turn.engine].engine.get())
             engine->acquireExpression("ref.next", [](auto&&...) {}).reset();
     }},
    {"ReleasesItself", [](auto&, auto& turn) { turn.self(); }, true},
    {"ReleasesASibling", [](auto&, auto& turn) { turn.sibling(); }, true},
    {"ReleasesTheLast", [](auto&, auto& turn) { turn.sibling(), turn.self(); }, true},
    {"ReleasesAll",
     [](auto& w, auto& turn) {
         for (World::Held& held : w.sides[turn.engine].held)
             held.handle.reset();
         for (World::Panel& panel : w.panels)
             panel.handle.reset();
     },
     true},
    {"EndsRecords",
     [](auto& w, auto&) {
         for (Provider const& provider : {w.root, w.child})
             if (w.view && provider)
                 w.view->destroyRecord(w.view->getRecord(provider->getId()));
     }},
    {"MakesAndDropsAProvider",
     [](auto& w, auto&) {
         Provider const made = context({{"v", 1}, {"next", w.root}});
         w.write("ref", made), made->setPropertyValue("v", 2);
     }},
    {"DropsAProvider", [](auto& w, auto&) { w.child.reset(); }},
    {"DestroysItsEngine", [](auto& w, auto& turn) { w.sides[turn.engine].engine.reset(); }},
    {"DestroysTheLastEngine", [](auto& w, auto&) { w.sides.back().engine.reset(); }},
    {"DestroysTheView", [](auto& w, auto&) { w.view.reset(); }},
    {"ReplacesAListener",
     [](auto& w, auto&) {
         if (!w.listeners.empty())
             w.listeners.front().reset();
         w.listen(World::shared(), Actor::Foreign);
         ExpressionEngine const passing{w.root};
     }},
    {"Throws", [](auto&, auto&) { throw Refusal{}; }, false, true},
};

class ReentrancyMatrix : public testing::TestWithParam<Trigger> {
protected:
    /// True if the plan was begun.
    static bool run(char const* arrangement, std::vector<Action const*> const& plan, std::size_t skips)
    {
        std::string name = std::string(arrangement) + ", call " + std::to_string(skips);
        bool throws = false;
        bool unbinds = false;
        for (Action const* const action : plan) {
            name += std::string(" ") + action->name;
            throws |= action->throws;
            // What a first call throws releases, too.
            unbinds |= action->unbinds || (action->throws && (plan.size() > 1 || GetParam().pull == TRIGGERS[0].pull));
        }
        SCOPED_TRACE(name);
        std::size_t const before = World::shared()->elements().size();
        std::size_t begun = 0;
        {
            World world{arrangement, GetParam().actor};
            world.plan = plan;
            world.skips = skips;
            bool threw = false;
            try {
                GetParam().pull(world);
            } catch (Refusal const&) {
                threw = true;
            }
            begun = std::exchange(world.next, 0);
            world.plan.clear();
            EXPECT_TRUE(plan.size() > 1 || begun == 0 || threw == (throws && GetParam().letsOut));
            if (!throws && (!unbinds || plan.size() == 1))   // else what was not reached waits to be touched
                world.expectAllRight();
            for (std::size_t side = 0; unbinds && side != world.sides.size(); ++side)
                world.hold(side, "0 in [x, y, added, ref.v, ref.w, ref.next.v]");   // a new text binds for all
            world.touchEverything();
            world.expectAllRight();
        }
        EXPECT_EQ(World::shared()->elements().size(), before);
        return begun != 0;
    }
    // A call that throws when its view detaches it ends the process: DestructionDeathTest has it.
    static bool isAllowed(Action const& action) { return GetParam().actor != Actor::Detached || !action.throws; }
};

TEST_P(ReentrancyMatrix, EveryCallMayDoAnything)
{
    for (char const* const arrangement : {"E", "EE", "VE", "EV", "FEVEF"})
        for (Action const& action : ACTIONS) {
            std::size_t calls = 0;
            while (isAllowed(action) && run(arrangement, {&action}, calls))
                ASSERT_FALSE(HasFailure() || ++calls == 100);
            EXPECT_EQ(calls != 0, isAllowed(action)) << arrangement << ' ' << action.name;
        }
}

TEST_P(ReentrancyMatrix, AndTheNextCallAnythingElse)
{
    for (Action const& first : ACTIONS)
        for (Action const& second : ACTIONS)
            if (isAllowed(first) && isAllowed(second)) {
                run("FEVEF", {&first, &second}, 0);
                ASSERT_FALSE(HasFailure());
            }
}

INSTANTIATE_TEST_SUITE_P(All, ReentrancyMatrix, testing::ValuesIn(TRIGGERS),
                         [](auto const& info) { return info.param.name; });

}   // namespace
}   // namespace studio::data

#include "studio/inspect/Watcher.h"

#include "gel/ParseError.h"
#include "gel/Program.h"
#include "studio/data/EngineObserver.h"
#include "studio/data/ProviderRegistry.h"
#include "support/Allocations.h"
#include "support/Contexts.h"
#include "support/Random.h"
#include "tarn/zero/ChangeReport.h"
#include "workbench/Session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>

namespace studio::inspect {
namespace {

using data::ContextProvider;
using data::ExpressionEngine;
using data::PropertyValue;
using support::context;
using support::Handle;
using support::inTransaction;
using support::Provider;
using support::rolledBack;

// ---- why, compared with maps

using Place = std::pair<boost::uuids::uuid, std::string>;
using State = std::map<boost::uuids::uuid, std::map<std::string, PropertyValue, std::less<>>>;

bool exists(boost::uuids::uuid const& id)
{
    try {
        return data::model::getContextProvider(id) != nullptr;
    } catch (std::bad_weak_ptr const&) {
        return true;   // under construction
    }
}

State present()
{
    State state;
    for (tarn::zero::ModelElement const& element : ContextProvider::sharedModel()->elements())
        if (auto const data = data::ContextData::from(element); data && exists(element.Uuid()))
            for (auto& properties = state[element.Uuid()]; data::Property const& property : data->getProperties())
                properties[property.name()] = property->getValue();
    return state;
}

struct StateSource final : gel::DataSource {
    StateSource(State const& read, boost::uuids::uuid const& from) : state{read}, root{from} {}
    gel::Value lookup(std::string const& symbol) const override
    {
        std::string_view path = symbol;
        for (auto here = state.find(root); here != state.end();) {
            auto found = here->second.find(path);
            std::size_t const dot = path.find('.');
            if (found != here->second.end() || dot == std::string::npos)
                return found == here->second.end() ? gel::Value{} : read(found->second);
            found = here->second.find(path.substr(0, dot));
            if (found == here->second.end() || !found->second.isUUID())
                break;
            here = state.find(found->second.getUUID());
            path.remove_prefix(dot + 1);
        }
        return {};
    }
    static gel::Value read(PropertyValue const& value)
    {
        if (value.isDouble())
            return std::isnan(value.getDouble()) ? gel::Value{} : gel::Value{value.getDouble()};
        if (value.isLogical())
            return value.getBool();
        return value.isUndefined() ? gel::Value{} : gel::Value{value.asString()};
    }

    State const& state;
    boost::uuids::uuid const root;
};

std::optional<PropertyValue> at(State const& state, Place const& place)
{
    auto const context = state.find(place.first);
    if (context == state.end() || context->second.count(place.second) == 0)
        return std::nullopt;
    return context->second.find(place.second)->second;
}

/// True for two NaN, too.
bool same(std::optional<PropertyValue> const& left, std::optional<PropertyValue> const& right)
{
    return left == right || (left && right && left->isDouble() && right->isDouble() &&
                             left->getDouble() != left->getDouble() && right->getDouble() != right->getDouble());
}

/// Keeps the contexts after each commit. Registered in front of the engine, it may also write first.
struct History final : tarn::zero::Listener {
    History() { ContextProvider::sharedModel()->addDeepListener(this); }
    ~History() override { ContextProvider::sharedModel()->removeListener(this); }
    void transactionCommitted(tarn::zero::DeepChangeReport<data::Property> const& report) { note(report.report()); }
    void transactionCommitted(tarn::zero::ShallowChangeReport<data::ContextData> const& report)
    {
        note(report.report());
    }
    void note(tarn::zero::ReportData const& report)
    {
        if (report.number() <= newest)
            return;
        newest = report.number();
        states[newest] = present();
        if (!writing.empty())
            writers[newest] = writing.back();
        while (states.size() > most)
            states.erase(states.begin());
        if (auto const once = std::exchange(first, nullptr))
            once();
    }
    static void write(State& state, Place const& place, std::optional<PropertyValue> const& value)
    {
        if (value)
            state[place.first].insert_or_assign(place.second, *value);
        else if (state.count(place.first) != 0)
            state[place.first].erase(place.second);
    }
    /// Restores places; a context that is gone is there again.
    gel::Value without(gel::Program const& program, std::set<Place> const& places, std::uint64_t number)
    {
        State& state = states.at(number);
        std::vector<std::pair<Place, std::optional<PropertyValue>>> now;
        std::set<boost::uuids::uuid> gone;
        for (Place const& place : places) {
            if (state.count(place.first) == 0)
                gone.insert(place.first);
            now.emplace_back(place, at(state, place));
            write(state, place, at(states.at(number - 1), place));
        }
        gel::Value const result = program.eval(StateSource{state, root});
        for (auto const& [place, value] : now)
            write(state, place, value);
        for (boost::uuids::uuid const& id : gone)
            state.erase(id);
        return result;
    }
    std::set<Place> const& changesOf(std::uint64_t number)
    {
        std::set<Place>& places = changes[number];
        if (places.empty())
            for (std::uint64_t const each : {number - 1, number})
                for (auto const& [id, properties] : states.at(each))
                    for (auto const& [name, value] : properties)
                        if (!same(at(states.at(number - 1), {id, name}), at(states.at(number), {id, name})))
                            places.insert({id, name});
        return places;
    }

    /// Expects what restoring each property shows of the change that was seen when `seen` was the newest commit.
    void expect(Why const& why, std::string const& text, std::uint64_t seen)
    {
        gel::Program const program{text};
        auto const value = [&](std::uint64_t number) { return program.eval(StateSource{states.at(number), root}); };
        std::uint64_t number = seen;
        while (states.count(number - 1) != 0 && value(number - 1) == value(number))
            --number;
        ASSERT_TRUE(why.isComplete && why.commit == number) << describe(why, text) << " not in " << number;
        std::set<Place> deciding, named;
        for (Place const& place : changesOf(number))
            if (!(without(program, {place}, number) == value(number)))
                deciding.insert(place);
        for (PropertyChange const& change : why.changes) {
            named.insert({change.context, change.name});
            EXPECT_TRUE(same(change.before, at(states.at(number - 1), {change.contextBefore, change.nameBefore})) &&
                        same(change.after, at(states.at(number), {change.context, change.name})));
        }
        EXPECT_EQ(why.isTogether, deciding.empty()) << describe(why, text);
        EXPECT_TRUE(deciding.empty() || named == deciding) << describe(why, text);
        for (Place const& place : deciding.empty() ? named : std::set<Place>{}) {
            std::set<Place> part = named;
            part.erase(place);
            EXPECT_EQ(without(program, part, number), value(number)) << describe(why, text);
        }
        EXPECT_TRUE(named.empty() || !(without(program, named, number) == value(number))) << describe(why, text);
        together += why.isTogether ? 1 : 0;
    }

    boost::uuids::uuid root{};
    std::uint64_t newest = 0;
    std::size_t most = 1'000'000;
    std::map<std::uint64_t, State> states;
    std::map<std::uint64_t, std::set<Place>> changes;
    int together = 0;
    std::vector<std::string> writing;   // the texts whose callbacks write
    std::map<std::uint64_t, std::string> writers;
    std::function<void()> first;
};

TEST(Watcher, NamesTheChangesThatMakeTheDifference)
{
    std::vector<std::string> const names{"x", "y", "a", "b", "a.x"};
    std::vector<std::string> const texts{"x", "x && y", "x || a.x", "a.b.x + y", "a.x == b.x ? x : y", "b.a.y", "!b.x"};
    for (std::uint64_t const seed : support::seeds(40)) {
        SCOPED_TRACE(seed);
        support::Random random{seed};
        History history;
        std::vector<Provider> contexts{context(), context(), context(), context()};
        history.root = contexts[0]->getId();
        ExpressionEngine engine{contexts[0]};
        Watcher const watcher{engine};
        std::map<std::string, std::pair<PropertyValue, std::uint64_t>> seen;   // the value, and the newest commit
        std::vector<Handle> handles;
        bool isOn = false, isLate = false;
        std::uint64_t lateNumber = 0;
        auto const change = [&](bool mayDrop) {
            Provider& context = contexts[random.below(4)];
            std::string const& name = random.pick(names);
            if (mayDrop && random.oneIn(20) && context != contexts[0]) {
                // The references to the old one dangle. Callbacks of its end find the new one in its place.
                Provider const old = std::exchange(context, ContextProvider::create());
            } else if (random.oneIn(4)) {
                context->removeProperty(name);
            } else {
                PropertyValue const values[] = {0, 1, true, "", contexts[random.below(4)], std::nan("")};
                PropertyValue const& value = values[name.size() == 1 && name < "x" ? 4 : random.below(6)];
                if (context->hasProperty(name))
                    context->getProperty(name)->setValue(value);
                else
                    context->addProperty(name, value);
            }
        };
        for (std::string const& text : texts)
            handles.push_back(engine.acquireExpression(text, [&, text](auto const&, PropertyValue const& value) {
                std::uint64_t const newest = isLate ? lateNumber : history.newest;
                if (!isOn)
                    return seen[text].first = value, void();
                PropertyValue const before = std::exchange(seen[text], {value, newest}).first;
                Why const why = watcher.why(text);
                EXPECT_TRUE(why.before == before && why.after == value);
                if (isLate)
                    return;
                history.expect(why, text, newest);
                if (!random.oneIn(3) || history.writing.size() > 3)
                    return;
                history.writing.push_back(text);
                change(true);
                history.writing.pop_back();
            }));
        isOn = true;
        for (int step = 0; step != 60 && !testing::Test::HasFailure(); ++step) {
            bool const rollsBack = random.oneIn(10);
            auto const steps = [&] {
                for (std::size_t i = random.below(4) + 1; i != 0; --i)
                    change(!rollsBack);
            };
            if (random.oneIn(8))
                history.first = [&] {
                    isLate = true;   // the engine receives the first report when the second commit is made
                    lateNumber = history.newest + 1;
                    inTransaction(steps);
                    isLate = false;
                };
            rollsBack ? rolledBack(steps) : inTransaction(steps);
            history.first = nullptr;
            for (auto const& [text, last] : seen)
                if (last.second != 0)
                    history.expect(watcher.why(text), text, last.second);
        }
        for (Commit const& commit : watcher.commits())
            EXPECT_EQ(commit.callback, history.writers[commit.number]) << commit.number;
    }
}

#ifdef CORPUS   // the recorded sessions are there
#ifdef NDEBUG
constexpr std::size_t EVERY = 1;   // flip is checked
#else
constexpr std::size_t EVERY = 4;
#endif

TEST(Watcher, NamesTheChangesOfARecordedSession)
{
    std::filesystem::path const corpus{CORPUS};
    auto const expressions = workbench::loadExpressions((corpus / "when-expressions.json").string());
    auto const recording =
        workbench::loadRecording((corpus / "when-recorded-session.json").string(), expressions.size());
    History history;
    history.most = 2;
    workbench::Session session{expressions, recording};
    history.root = session.root()->getId();
    Watcher const watcher{session.expressionEngine()};
    std::size_t flips = 0;
    for (workbench::Step const& step : recording.steps) {
        for (workbench::Change const& change : session.run(step).changes) {
            if (++flips % EVERY == 0)
                history.expect(watcher.why(expressions[change.expression].text), expressions[change.expression].text,
                               history.newest);
        }
        ASSERT_FALSE(testing::Test::HasFailure());
    }
    EXPECT_GT(flips, 5'000u);
    EXPECT_LT(history.together, 500);
    RecordProperty("flips", static_cast<int>(flips)), RecordProperty("together", history.together);
}
#endif

// ---- why not: every row of the guide

struct World {
    Provider far = context({{"b", 2}}), child = context({{"b", 1}}), root = context({{"x", 1}, {"y", 2}, {"a", child}});
    std::optional<ExpressionEngine> engine{root};
    support::CallRecorder calls{*engine};
    std::optional<Watcher> watcher{*engine};
    std::vector<Handle> handles;
    std::function<void()> check;

    void watch(std::string const& text, std::function<void()> then = {})
    {
        handles.push_back(calls.watch(text, std::move(then)));
    }
    void write(std::string const& name, PropertyValue const& value) { root->setPropertyValue(name, value); }
};

struct Row {
    Standstill row;
    char const* text;
    char const* symbol;
    std::function<void(World&)> arrange;   // before the check, or around it
};
PropertyValue const NAN_VALUE{std::nan("")};
Row const ROWS[] = {
    {Standstill::NotAcquired, "x ", "", [](World& w) { w.watch("x"); }},
    {Standstill::Untouched, "x", "", [](World& w) { w.watch("x"), w.write("x", 2), w.write("y", 3); }},
    {Standstill::Untouched, "x", "",
     [](World& w) { w.watch("x"), inTransaction([&] { w.write("x", 2), w.check(); }); }},
    {Standstill::SameResult, "x > 0", "x", [](World& w) { w.watch("x > 0"), w.write("x", 2), w.write("y", 3); }},
    {Standstill::Hidden, "a.b", "a.b",
     [](World& w) { w.watch("a.b"), w.root->addProperty("a.b", 5), w.write("y", 3); }},
    {Standstill::Hidden, "a.b", "a.b",
     [](World& w) { w.root->addProperty("a.b", 5), w.watch("a.b"), w.root->removeProperty("a.b"); }},
    {Standstill::Renamed, "x + y", "x",
     [](World& w) { w.watch("x + y"), w.root->getProperty("x")->setName("z"), w.root->setPropertyValue("z", 3); }},
    {Standstill::Renamed, "a.b", "a.b", [](World& w) { w.watch("a.b"), w.root->getProperty("a")->setName("z"); }},
    {Standstill::Moved, "a.b", "a.b",
     [](World& w) { w.watch("a.b"), w.child->getProperty("b")->setOwner(w.root->getProperty("x")->getOwner()); }},
    {Standstill::Unbound, "x + y", "x",
     [](World& w) { w.watch("x + y"), w.watch("-x"), w.handles.pop_back(), w.write("x", 2); }},
    {Standstill::InRound, "x * 10", "x",
     [](World& w) { w.watch("x", [&w] { w.check(); }), w.watch("x * 10"), w.write("x", 2); }},
    {Standstill::Interrupted, "x * 10", "x",
     [](World& w) {
         w.watch("x", [] { throw std::runtime_error{"planned"}; }), w.watch("x * 10");
         EXPECT_THROW(w.write("x", 2), std::runtime_error);
     }},
    {Standstill::Endless, "y", "y",
     [](World& w) {
         auto const answer = [&w](char const* name) { w.write(name, w.root->getPropertyValue(name).getDouble() + 1); };
         w.watch("x", [=] { answer("y"); }), w.watch("y", [=] { answer("x"); });
         tarn::zero::Model::Impl& model = *ContextProvider::sharedModel().get();
         std::size_t const usual = model.nestingLimit();
         model.setNestingLimit(8);
         EXPECT_THROW(w.write("x", 2), std::runtime_error);
         model.setNestingLimit(usual);
     }},
    {Standstill::RolledBack, "x", "",
     [](World& w) { rolledBack([&] { w.write("x", 5), w.watch("x"); }), w.write("y", 3); }},
    {Standstill::NotANumber, "x", "x",
     [](World& w) { w.write("x", NAN_VALUE), w.watch("x"), w.write("x", NAN_VALUE); }},
    {Standstill::ProviderGone, "x + a.b", "a.b",
     [](World& w) { w.watch("x + a.b"), rolledBack([&] { w.child.reset(); }); }},
};

TEST(Watcher, TellsEveryRowOfTheGuide)
{
    for (Row const& row : ROWS) {
        World world;
        int checks = 0;
        world.check = [&] {
            if (++checks > 1)
                return;
            WhyNot const found = world.watcher->whyNot(row.text);
            SCOPED_TRACE(describe(found, row.text));
            EXPECT_EQ(found.row, row.row) << static_cast<int>(row.row);
            EXPECT_EQ(found.symbol, row.symbol);
            EXPECT_EQ(found.since, row.row == Standstill::NotAcquired ? 0 : world.watcher->why(row.text).commit);
            EXPECT_EQ(describe(found, row.text).find(" since commit ") != std::string::npos, found.since != 0);
            auto const all = whyNot(*world.engine, row.text);
            EXPECT_TRUE(std::any_of(all.begin(), all.end(), [&](auto const& one) { return one.row == row.row; }));
            EXPECT_NE(json(found, row.text).find("\"row\":\""), std::string::npos);
        };
        row.arrange(world);
        world.check();
        EXPECT_THROW(static_cast<void>(world.watcher->whyNot("x +")), gel::ParseError);
    }
}

// ---- limits, faults, and what is destroyed meanwhile

TEST(Watcher, KeepsWithinItsLimitsAndLosesNoWriteForWantOfMemory)
{
    World w;
    int heard = 0;
    w.handles.push_back(w.engine->acquireExpression("x + 1", [&](auto const&, auto const& value) {
        if (++heard % 2 == 0 && heard > 2)
            w.write("y", value.getDouble());   // a nested commit
    }));
    w.handles.push_back(w.engine->acquireExpression("y * 2", [](auto&&...) {}));
    Watcher const few{*w.engine, {3, 1 << 20}}, small{*w.engine, {1'000, 5'000}}, one{*w.engine, {0, 0}};
    for (int i = 0; i != 49; ++i)
        w.write("x", i + 10);
    std::size_t const made = w.watcher->commits().size();
    EXPECT_EQ(few.commits().size(), 3u);
    EXPECT_EQ(one.commits().size(), 1u);
    EXPECT_TRUE(small.commits().size() > 3 && small.bytes() <= 5'000 && w.watcher->bytes() > small.bytes());
    EXPECT_EQ(few.dropped() + few.commits().size(), made);
    EXPECT_EQ(one.dropped() + 1, made);
    EXPECT_TRUE(w.watcher->why("x + 1").paths == few.why("x + 1").paths && one.why("x + 1").commit == 0);
    using Sticky = support::FailingAllocation::Sticky;
    for (Sticky const sticky : {Sticky::No, Sticky::Yes}) {
        bool happened = true;
        for (std::size_t skipped = 0; happened; ++skipped) {
            int const before = heard;
            std::uint64_t const lost = w.watcher->dropped();
            {
                support::FailingAllocation const failing{skipped, sticky};
                EXPECT_NO_THROW(w.write("x", static_cast<double>(skipped) + (sticky == Sticky::Yes ? 0.25 : 0.5)));
                happened = failing.happened();
            }
            EXPECT_EQ(heard, before + 1);
            Why const why = w.watcher->why("x + 1");
            EXPECT_TRUE(!why.isComplete || (why.after == w.handles[0]->getValue() && why.paths.at(0) == "x"))
                << describe(why, "x + 1");
            EXPECT_TRUE(why.isComplete || w.watcher->dropped() > lost || happened);
        }
    }
}

TEST(Watcher, SurvivesWhateverEndsMeanwhile)
{
    struct AtEnd final : data::EngineObserver {
        void roundsEnded() override
        {
            std::exchange(then, [] {})();
        }
        std::function<void()> then = [] {};
    };
    for (int what = 0; what != 6; ++what)
        for (int when = 0; when != 4; ++when) {
            SCOPED_TRACE(std::to_string(what) + ' ' + std::to_string(when));
            AtEnd atEnd;
            World w;
            std::optional<Watcher> later;
            w.engine->addObserver(atEnd);
            bool isDue = true;
            auto const act = [&] {
                switch (std::exchange(isDue, false) ? what : -1) {
                case -1: return;
                case 0: return w.watcher.reset();
                case 1: return w.engine.reset();
                case 2: return w.handles.clear();
                case 3: return later.emplace(*w.engine), void();
                case 4: return w.write("y", 8), w.engine.reset(), w.watcher.reset();
                default: throw std::runtime_error{"planned"};
                }
            };
            w.watch("x", [&] { when == 0 ? act() : w.write("y", 9); });
            w.watch("y", [&] { when == 1 ? act() : void(); });
            w.watch("x + y");
            if (when == 2)
                atEnd.then = act;
            try {
                w.write("x", 7);
            } catch (std::runtime_error const&) {
                EXPECT_EQ(what, 5);
            }
            if (when == 3 && what != 5)
                act();
            w.write("x", 3), w.write("y", 4);
            for (auto const* const each : {&w.watcher, &later})
                if (*each && w.engine && !w.handles.empty()) {
                    EXPECT_EQ((*each)->why("x + y").paths, std::vector<std::string>{"y"});
                    EXPECT_EQ((*each)->whyNot("x").row, Standstill::Untouched);
                    EXPECT_NE((*each)->chromeTrace().find("\"ph\":\"X\""), std::string::npos);
                } else if (*each && !w.engine) {
                    EXPECT_EQ((*each)->whyNot("x").row, Standstill::NotAcquired);
                    EXPECT_EQ((*each)->why("x").paths, std::vector<std::string>{"x"}) << "from the record";
                }
            if (w.engine)
                w.engine->removeObserver(atEnd);
        }
}

}   // namespace
}   // namespace studio::inspect

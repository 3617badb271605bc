#include "studio/host/ContextTree.h"

#include "studio/data/ContextHandleImpl.h"
#include "studio/data/ContextView.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "studio/host/Batch.h"
#include "studio/host/Put.h"
#include "studio/host/Subscriptions.h"
#include "support/Allocations.h"
#include "support/Contexts.h"
#include "support/Random.h"
#include "support/ReportRecorder.h"

#include <boost/uuid/uuid_io.hpp>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace studio::host {
namespace {

using data::ContextProvider;
using data::PropertyValue;
using support::Provider;
using Change = std::function<void(ContextTree&)>;

bool lives(boost::uuids::uuid const& id)
{
    return data::model::getContextProvider(id) != nullptr;
}

struct Trees : testing::Test {
    PropertyValue read(std::string const& path) const { return tree.root()->getPropertyValue(path); }

    ContextTree tree;
    support::ReportRecorder reports{ContextProvider::sharedModel()};
};

TEST_F(Trees, OwnWhatTheyMakeUntilItIsDropped)
{
    boost::uuids::uuid const id = tree.make("editor.document")->getId();
    EXPECT_EQ(reports.take(), "+editor +document; +context +context context");
    EXPECT_EQ(tree.make("editor.document")->getId(), id);
    EXPECT_EQ(reports.take(), "");
    put(tree.root(), "editor.document.title", "x");
    put(tree.root(), "elsewhere", id);
    tree.move("editor.document", "active");
    EXPECT_EQ(read("active.title"), PropertyValue{"x"});
    EXPECT_FALSE(tree.find("editor.document") || tree.find("editor")->hasProperty("document"));

    EXPECT_TRUE(tree.drop("active"));
    EXPECT_FALSE(tree.drop("active") || lives(id) || tree.root()->hasProperty("active"));
    EXPECT_EQ(read("elsewhere.title"), PropertyValue{});
    EXPECT_EQ(read("elsewhere"), PropertyValue{id});
}

TEST_F(Trees, RefuseWhatCannotBeAndStayAsTheyAre)
{
    tree.make("a.b.c");
    tree.make("d");
    put(tree.root(), "plain", 1);
    tree.root()->addProperty("hidden.x", 1);
    std::string deep = "a";
    for (std::size_t level = 1; level != ContextTree::MOST_LEVELS; ++level)
        deep += ".n";
    std::string const before = tree.save();
    reports.take();
    for (std::string const& path :
         std::vector<std::string>{"", ".", "a.", ".a", "a..b", "plain", "plain.x", "hidden.x"}) {
        EXPECT_FALSE(tree.find(path)) << path;
        EXPECT_THROW(tree.make(path), std::invalid_argument) << path;
        EXPECT_THROW(tree.move("a", path), std::invalid_argument) << path;
    }
    EXPECT_THROW(tree.make(deep + ".n"), std::invalid_argument);
    EXPECT_THROW(tree.drop(""), std::invalid_argument);
    for (std::string const& to : std::vector<std::string>{"a", "a.x", "a.b.x", "d", "x.y", deep})
        EXPECT_THROW(tree.move("a", to), std::invalid_argument) << to;
    EXPECT_THROW(tree.move("x", "y"), std::invalid_argument);
    auto const expectRefusals = [&] {
        for (Change const& change : std::vector<Change>{
                 [](ContextTree& t) { t.make("d"); }, [](ContextTree& t) { t.drop("d"); },
                 [](ContextTree& t) { t.move("d", "e"); }, [&](ContextTree& t) { t.restore(before, Identities::Kept); },
                 [](ContextTree& t) { batch([&] { t.make("x"); }); }, [](ContextTree&) { ContextTree{}; }})
            EXPECT_THROW(change(tree), std::logic_error);
    };
    support::rolledBack(expectRefusals);
    batch([&] { support::inTransaction(expectRefusals); });
    EXPECT_EQ(tree.save(), before);
    EXPECT_EQ(reports.take(), "");
}

TEST_F(Trees, FollowTheirBatches)
{
    boost::uuids::uuid const kept = tree.make("kept.below")->getId();
    boost::uuids::uuid made{};
    std::optional<ContextTree> brief{std::in_place}, undone;
    boost::uuids::uuid const below = brief->make("a")->getId();
    std::string const before = tree.save();
    Batch outer;
    EXPECT_THROW(batch([&] {
                     tree.drop("kept");
                     made = tree.make("kept.made")->getId();
                     batch([&] { tree.move("kept.made", "moved"); });
                     tree.restore(before, Identities::Kept);
                     EXPECT_EQ(tree.find("kept.below")->getId(), kept);
                     undone.emplace();
                     throw 1;
                 }),
                 int);
    EXPECT_EQ(tree.save(), before);
    EXPECT_FALSE(lives(made));
    EXPECT_THROW(undone->make("a"), std::logic_error);
    brief.reset();
    tree.drop("kept");
    EXPECT_TRUE(lives(kept) && lives(below));
    reports.onProperties = [](auto const&) { throw std::runtime_error{"listener"}; };
    EXPECT_THROW(outer.commit(), std::runtime_error);
    EXPECT_FALSE(lives(kept) || lives(below) || tree.find("kept"));
}

TEST_F(Trees, AreUndoneWholeWhateverAReleaseCalls)
{
    std::optional<ContextTree> brief{std::in_place};
    boost::uuids::uuid const doc = brief->make("doc")->getId();
    put(brief->find("doc"), "x", 1);
    put(tree.root(), "ref", doc);
    put(tree.root(), "n", 0);
    Subscriptions subscriptions{tree.root()};
    Subscription const kept = subscriptions.when("ref.x", [&](bool) { batch([&] { put(tree.root(), "n", 1); }); });
    {
        Batch outer;
        {
            Batch inner;
            tree.make("a");
            brief.reset();   // its contexts are released when the outermost batch has ended
            inner.rollBack();
            EXPECT_TRUE(lives(doc));
        }
        tree.make("b");
        outer.rollBack();
    }
    EXPECT_FALSE(lives(doc) || tree.find("a") || tree.find("b"));
    EXPECT_TRUE(tree.make("a.b"));
    // A commit is final, whatever a listener leaves open and throws.
    std::optional<Batch> drag;
    reports.onProperties = [&](auto const&) {
        if (!drag)
            drag.emplace(), throw std::runtime_error{"listener"};
    };
    EXPECT_THROW(batch([&] { tree.make("c"); }), std::runtime_error);
    drag->rollBack();
    EXPECT_TRUE(tree.find("c") && tree.root()->hasProperty("c"));
}

TEST_F(Trees, ComeBackFromASnapshot)
{
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    Provider const b = tree.make("a.b");
    for (auto const& [name, value] :
         std::vector<std::pair<std::string, PropertyValue>>{{"nan", std::numeric_limits<double>::quiet_NaN()},
                                                            {"inf", INFINITE},
                                                            {"-inf", -INFINITE},
                                                            {"0.1", 0.1},
                                                            {"logical", true},
                                                            {"none", {}},
                                                            {"text", "\xC3\xA4\n\""},
                                                            {"up", tree.root()->getId()},
                                                            {"", 1},
                                                            {"id as text", to_string(b->getId())},
                                                            {"foreign", support::uuid(9)}})
        b->addProperty(name, value);
    b->setActiveContexts({"x", "", "x"});
    std::string const saved = tree.save();
    reports.take();
    tree.restore(saved, Identities::Kept);
    tree.restore(saved, Identities::Fresh);
    EXPECT_EQ(reports.take(), "");

    ContextTree copy;
    copy.make("gone");
    EXPECT_THROW(copy.restore(saved, Identities::Kept), std::invalid_argument);
    EXPECT_TRUE(copy.find("gone"));
    copy.restore(saved, Identities::Fresh);
    EXPECT_FALSE(copy.find("gone"));
    EXPECT_NE(copy.find("a.b"), b);
    EXPECT_EQ(copy.root()->getPropertyValue("a.b.up"), PropertyValue{copy.root()});

    tree.move("a.b", "c");
    put(tree.root(), "c.nan", "changed");
    put(tree.root(), "c.new", 1);
    b->removeProperty("text");
    tree.drop("a");
    tree.restore(saved, Identities::Kept);
    EXPECT_EQ(tree.save(), saved);
    EXPECT_EQ(tree.find("a.b"), b);
}

TEST_F(Trees, AreReadAgainThroughReferencesElsewhere)
{
    boost::uuids::uuid const doc = tree.make("doc")->getId();
    put(tree.find("doc"), "title", "x");
    std::string const saved = tree.save();
    put(tree.find("doc"), "title", "changed");
    Provider const elsewhere = support::context({{"active", doc}});
    Subscriptions subscriptions{elsewhere};
    std::string seen;
    auto const note = [&](std::string const& title) { seen += title + ';'; };
    auto const early = data::ContextView::create({}), late = data::ContextView::create({});
    auto const earlyHandle = early->acquire(elsewhere->getId(), {});
    Subscription const before = subscriptions.show("active.title", note);
    tree.drop("doc");
    auto const lateHandle = late->acquire(elsewhere->getId(), {});
    Subscription const between = subscriptions.show("active.title ?? 'none'", note);
    tree.restore(saved, Identities::Kept);
    for (auto const* const view : {early.get(), late.get()})
        EXPECT_EQ(view->getData(doc)->getProperties().findImpl("title")->getValue(), PropertyValue{"x"});
    put(tree.find("doc"), "title", "y");
    EXPECT_EQ(seen, "changed;;none;x;x;y;y;");
}

TEST_F(Trees, RefuseATextThatIsNoSnapshot)
{
    tree.make("a.b");
    put(tree.root(), "n", 1);
    std::string const saved = tree.save();
    std::string const root = to_string(tree.root()->getId()), a = to_string(tree.find("a")->getId());
    reports.take();
    for (std::string const& text : {std::string{}, std::string{"[]"}, saved + "x", std::string(100000, '[')})
        EXPECT_THROW(tree.restore(text, Identities::Kept), std::invalid_argument);
    for (auto const& [from, to] :
         std::vector<std::pair<std::string, std::string>>{{"\"version\": 1", "\"version\": 2"},
                                                          {"\"version\": 1", "\"revision\": 1"},
                                                          {"\"id\"", "\"di\""},
                                                          {root, a},
                                                          {root, "none"},
                                                          {'"' + root + '"', "7"},
                                                          {root, to_string(boost::uuids::uuid{})},
                                                          {"\"\": {", "\"root\": {"},
                                                          {"\"a\": {", "\"x\": {"},
                                                          {"\"a.b\": {", "\"a..b\": {"},
                                                          {"\"a.b\": {", "\"a\": {"},
                                                          {"[]", "{}"},
                                                          {"[]", "[1]"},
                                                          {"1.0", "[]"},
                                                          {"1.0", "1e999"},
                                                          {"1.0", "{\"number\": \"1\"}"},
                                                          {"1.0", "{\"text\": {}}"}}) {
        std::string text = saved;
        text.replace(text.find(from), from.size(), to);
        EXPECT_THROW(tree.restore(text, Identities::Kept), std::invalid_argument) << text;
    }
    EXPECT_EQ(tree.save(), saved);
    EXPECT_EQ(reports.take(), "");
    put(tree.root(), "n", "\xFF");
    EXPECT_THROW(tree.save(), std::invalid_argument);
}

TEST(TreeWalk, AgreesWithAMapOfPaths)
{
    ContextTree tree;
    std::vector<std::string> const paths{"a", "b", "a.a", "a.b", "b.a", "a.a.a", "a.b.b", "b.a.a"};
    std::map<std::string, PropertyValue> model;   // the value of `p` in each context
    std::map<std::string, decltype(model)> saved{{tree.save(), model}};
    support::Random random{0};
    auto const isAt = [](std::string const& path, std::string const& top) {
        return (path + '.').starts_with(top + '.');
    };
    std::function<void(int)> const step = [&](int depth) {
        std::string const at = random.pick(paths), to = random.pick(paths), owner = to.substr(0, to.rfind('.'));
        auto const before = model;
        switch (random.below(7)) {
        case 0:
            tree.make(at);
            for (std::size_t end = 1; end <= at.size(); end += 2)
                model.try_emplace(at.substr(0, end));
            break;
        case 1:
            EXPECT_EQ(tree.drop(at), model.contains(at));
            std::erase_if(model, [&](auto const& node) { return isAt(node.first, at); });
            break;
        case 2:
            if (!model.contains(at) || model.contains(to) || isAt(to, at) || (owner != to && !model.contains(owner))) {
                EXPECT_THROW(tree.move(at, to), std::invalid_argument);
                break;
            }
            tree.move(at, to);
            std::erase_if(model, [&](auto const& node) { return isAt(node.first, at); });
            for (auto const& [path, value] : before)
                if (isAt(path, at))
                    model[to + path.substr(at.size())] = value;
            break;
        case 3:
            if (put(tree.root(), at + ".p", random.below(9)) != Written::Nowhere)
                model.at(at) = tree.find(at)->getPropertyValue("p");
            break;
        case 4: saved[tree.save()] = model; break;
        case 5: {
            auto const& [text, state] = *std::next(saved.begin(), static_cast<long>(random.below(saved.size())));
            tree.restore(text, random.oneIn(2) ? Identities::Kept : Identities::Fresh);
            model = state;
            break;
        }
        default:
            Batch open;
            for (std::size_t left = depth == 3 ? 0 : random.below(6); left != 0; --left)
                step(depth + 1);
            if (random.oneIn(2))
                return open.commit();
            open.rollBack();
            model = before;
        }
        for (std::string const& each : paths) {
            ASSERT_EQ(tree.find(each) != nullptr, model.contains(each)) << each;
            ASSERT_EQ(tree.root()->getPropertyValue(each + ".p"), model.contains(each) ? model[each] : PropertyValue{});
        }
    };
    for (std::uint64_t const seed : support::seeds(20)) {
        SCOPED_TRACE(seed);
        random = support::Random{seed};
        for (int i = 0; i != 100 && !testing::Test::HasFailure(); ++i)
            step(0);
    }
}

TEST(TreeMemory, RunsOutAndTheTreeIsAsBefore)
{
    std::string other;
    {
        ContextTree tree;
        put(tree.make("a.c.d"), "n", 1);
        other = tree.save();
    }
    for (Change const& change : std::vector<Change>{
             [](ContextTree& t) { t.make("a.x.y"); }, [](ContextTree& t) { t.drop("d"); },
             [](ContextTree& t) { t.move("d", "a.d"); }, [&](ContextTree& t) { t.restore(other, Identities::Kept); },
             [&](ContextTree& t) { t.restore(other, Identities::Fresh); }}) {
        ContextTree tree;
        tree.make("a.b");
        tree.make("d.e");
        std::string const before = tree.save();
        for (std::size_t skipped = 0;; ++skipped) {
            bool hasThrown = false;
            try {
                support::FailingAllocation const failing{skipped};
                change(tree);
            } catch (std::bad_alloc const&) {
                hasThrown = true;
            }
            if (!hasThrown)
                break;
            ASSERT_EQ(tree.save(), before) << skipped;
        }
        EXPECT_NE(tree.save(), before);
    }
}

}   // namespace
}   // namespace studio::host

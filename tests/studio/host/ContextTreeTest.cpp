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
#include "support/ReportRecorder.h"

#include <boost/uuid/uuid_io.hpp>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
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

TEST_F(Trees, AreUndoneWholeWhateverAReleaseCalls)
{
    std::optional<ContextTree> brief{std::in_place}, undone;
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
            undone.emplace();
            brief.reset();   // its contexts are released when the outermost batch has ended
            inner.rollBack();
            EXPECT_TRUE(lives(doc));
        }
        tree.make("b");
        EXPECT_THROW(undone->make("a"), std::logic_error);
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

#include "studio/host/Board.h"

#include "support/Contexts.h"

#include <gtest/gtest.h>

#include <optional>

namespace studio::host {
namespace {

using data::ReleasePolicy;
using support::Handle;
using support::Provider;

std::string shown(Snapshot const& snapshot)
{
    std::string text = std::to_string(snapshot.number()) + ':';
    for (auto const& [name, value] : snapshot)
        text += ' ' + std::string{name} + '=' + support::shown(value);
    return text;
}

TEST(Board, PublishesWhatACommitChanged)
{
    Provider const context = support::context({{"a", 1}, {"b", "x"}, {"c", 0}});
    data::ExpressionEngine engine{context, ReleasePolicy::KeepsShared};
    Board const board{engine, {"b", "a * 2", "b", "missing"}};
    std::shared_ptr<Snapshot const> const first = board.current();
    bool writesBack = false;
    Handle const back = engine.acquireExpression("a > 10", [&](auto const&, auto const& value) {
        if (value.getBool() && writesBack)
            context->setPropertyValue("a", 4);
    });
    struct Case {
        std::function<void()> change;
        char const* published;
    };
    for (auto const& [change, published] : {
             Case{[] {}, "1: a * 2=2 b='x' missing=undefined"},
             {[&] { context->setPropertyValue("c", 1); }, "1: a * 2=2 b='x' missing=undefined"},
             {[&] { context->setPropertyValue("a", 4); }, "2: a * 2=8 b='x' missing=undefined"},
             {[&] { support::rolledBack([&] { context->setPropertyValue("a", 5); }); },
              "2: a * 2=8 b='x' missing=undefined"},
             {[&] {
                  support::inTransaction([&] {
                      context->setPropertyValue("a", 5);
                      context->setPropertyValue("b", "y");
                      engine.updateExpression("b");
                      EXPECT_EQ(board.current()->number(), 2U) << "may still roll back";
                  });
              },
              "3: a * 2=10 b='y' missing=undefined"},
             {[&] { context->addProperty("missing", true); }, "4: a * 2=10 b='y' missing=true"},
             {[&] { context->setPropertyValue("a", 11); }, "5: a * 2=22 b='y' missing=true"},
             {[&] { context->setPropertyValue("a", 4), writesBack = true; }, "6: a * 2=8 b='y' missing=true"},
             {[&] { context->setPropertyValue("a", 12); }, "6: a * 2=8 b='y' missing=true"},
         }) {
        change();
        EXPECT_EQ(shown(*board.current()), published);
    }
    EXPECT_EQ(shown(*first), "1: a * 2=2 b='x' missing=undefined") << "never changes";
    EXPECT_EQ(*first->find("b"), "x");
    EXPECT_EQ(first->find("a"), nullptr);
    EXPECT_EQ(first->find("z"), nullptr);
    EXPECT_EQ(shown(*Board(engine, {}).current()), "1:");
}

TEST(Board, RefusesAndLeavesNothing)
{
    Provider const context = support::context({{"a", 1}});
    data::ExpressionEngine engine{context, ReleasePolicy::KeepsShared};
    data::ExpressionEngine unbinding{context};
    EXPECT_THROW((Board{unbinding, {"a"}}), std::invalid_argument);
    EXPECT_ANY_THROW((Board{engine, {"a", "b +"}}));
    support::inTransaction([&] { EXPECT_THROW((Board{engine, {"a"}}), std::logic_error); });
    EXPECT_TRUE(engine.listExpressions().empty());
    EXPECT_TRUE(unbinding.listExpressions().empty());
}

TEST(Board, AndItsEngineEndInAnyOrder)
{
    Provider const context = support::context({{"a", 1}});
    for (bool const boardFirst : {true, false})
        for (bool const inCallback : {true, false}) {
            context->setPropertyValue("a", 1);
            std::optional<data::ExpressionEngine> engine{std::in_place, context, ReleasePolicy::KeepsShared};
            std::optional<Board> board{std::in_place, *engine, std::vector<std::string>{"a"}};
            std::shared_ptr<Snapshot const> const last = board->current();
            auto const end = [&] { boardFirst ? board.reset() : engine.reset(); };
            Handle const handle = engine->acquireExpression("a == 2", [&](auto const&, auto const& value) {
                if (value.getBool() && inCallback)
                    end();
            });
            if (!inCallback)
                end();
            context->setPropertyValue("a", 2);
            EXPECT_EQ(board ? shown(*board->current()) : "", boardFirst ? "" : "1: a=1");
            board.reset();
            context->setPropertyValue("a", 3);
            EXPECT_EQ(shown(*last), "1: a=1");
        }
}

}   // namespace
}   // namespace studio::host

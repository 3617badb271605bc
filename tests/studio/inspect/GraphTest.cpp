#include "studio/inspect/Graph.h"

#include "support/Contexts.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <tuple>
#include <vector>

namespace studio::inspect {
namespace {

using support::context;
using support::Handle;
using support::Provider;

/// Returns the edges of a graph, with the kind of each node: "c:editor p:editor.dirty".
std::string edgesOf(Graph const& graph)
{
    std::string result;
    auto const name = [&](std::size_t node) {
        Graph::Node const& each = graph.nodes[node];
        return std::string{"epc"[static_cast<int>(each.kind)]} + (each.isMissing ? "?:" : ":") + each.label;
    };
    for (auto const& [from, to] : graph.edges)
        result += (result.empty() ? "" : "; ") + name(from) + ' ' + name(to);
    return result;
}

class GraphTest : public testing::Test {
protected:
    void acquire(std::string const& text)
    {
        handles.push_back(engine.acquireExpression(text, [](auto&&...) {}));
    }

    Provider const editor = context({{"dirty", true}, {"n", 1}});
    Provider const root = context({{"editor", editor}, {"tab", editor}, {"busy", false}});
    data::ExpressionEngine engine{root};
    std::vector<Handle> handles;
};

TEST_F(GraphTest, ListsEachDependencyOnce)
{
    acquire("editor.dirty && !busy && editor.dirty");
    acquire("tab.dirty || busy.x || editor.gone");
    EXPECT_EQ(edgesOf(graphOf(engine)),
              "c: p:editor; p:editor c:editor; c:editor p:editor.dirty; "
              "p:editor.dirty e:editor.dirty && !busy && editor.dirty; c: p:busy; "
              "p:busy e:editor.dirty && !busy && editor.dirty; "
              "c: p:tab; p:tab c:editor; p:editor.dirty e:tab.dirty || busy.x || editor.gone; "
              "p:busy e:tab.dirty || busy.x || editor.gone; c:editor p?:editor.gone; "
              "p?:editor.gone e:tab.dirty || busy.x || editor.gone");
    data::ExpressionEngine nowhere{Provider{}};
    Handle const handle = nowhere.acquireExpression("a", [](auto&&...) {});
    EXPECT_EQ(graphOf(nowhere).nodes.size(), 1u);
}

TEST_F(GraphTest, LeavesOutWhatIsFartherAway)
{
    acquire("editor.dirty");
    acquire("editor.n > 1");
    acquire("2 > 1");
    std::string const all = "c: p:editor; p:editor c:editor; c:editor p:editor.dirty; p:editor.dirty e:editor.dirty; "
                            "c:editor p:editor.n; p:editor.n e:editor.n > 1";
    for (auto const& [about, depth, expected] : {
             std::tuple{"editor.n > 1", 0, ""},
             {"editor.n > 1", 1, "p:editor.n e:editor.n > 1"},
             {"busy", 9, ""},
             {"", 1, "c: p:editor"},
             {"editor.n", 2,
              "p:editor c:editor; c:editor p:editor.dirty; c:editor p:editor.n; p:editor.n e:editor.n > 1"},
             {"editor.n > 1", -1, all.c_str()},
         })
        EXPECT_EQ(edgesOf(around(graphOf(engine), about, static_cast<std::size_t>(depth))), expected) << about << depth;
}

TEST_F(GraphTest, IsValidDotWhateverTheLabelsHold)
{
    root->addProperty("\\\"&\xff", "\n\x1b");
    acquire("busy == '\\\\N \"&amp;\"\xe2\x82\xac'");
    acquire("`\\\"&\xff`");
    std::string lines = "busy";
    for (int each = 0; each != 100; ++each)
        lines += " || busy";
    acquire(lines);
    std::string const text = dot(graphOf(engine));
    EXPECT_NE(text.find(R"(label="busy == '\\\\N \"&amp;amp;\")"
                        "\xe2\x82\xac"
                        R"('\nfalse", shape=box)"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find(R"(label="\\\"&amp;\\xff\n'\\n\\u{1b}'")"), std::string::npos) << text;
    EXPECT_NE(text.find("||\\n\xe2\x80\xa6\\nfalse"), std::string::npos) << text;
}

}   // namespace
}   // namespace studio::inspect

#include "studio/inspect/Graph.h"
#include "studio/inspect/Explanation.h"

#include "gel/Tree.h"
#include "studio/data/ContextProvider.h"
#include "studio/host/PathEnd.h"
#include "studio/inspect/detail/PlainText.h"
#include "studio/inspect/detail/Values.h"

#include <algorithm>
#include <limits>
#include <map>
#include <queue>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>

namespace studio::inspect {
namespace {

using NodeKind = Graph::Node::Kind;

class Builder {
public:
    void add(data::ExpressionEngine::Entry const& entry, boost::uuids::uuid const& root)
    {
        std::size_t const expression = graph.nodes.size();
        graph.nodes.push_back({NodeKind::Expression, entry.text, entry.value, {}, false});
        if (root.is_nil())
            return;
        gel::Tree const tree{entry.text};
        for (gel::Tree::Node const& node : tree.nodes()) {
            if (node.kind == gel::Tree::Kind::Symbol)
                addPath(node.name, root, expression);
        }
    }

    Graph graph;

private:
    void addPath(std::string_view path, boost::uuids::uuid const& root, std::size_t expression)
    {
        host::Walk const walk = host::walkAlong(reader, root, path);
        std::size_t from = NONE;
        for (host::Walk::Step const& step : walk.steps) {
            std::size_t const context = contextAt(step, path);
            if (from != NONE)
                connect(from, context);
            from = propertyAt(step, path);
            connect(context, from);
        }
        connect(from, expression);
    }

    std::size_t contextAt(host::Walk::Step const& step, std::string_view path)
    {
        auto const [place, isNew] = contexts.try_emplace(step.context, graph.nodes.size());
        if (isNew) {
            std::string label{path.substr(0, step.offset == 0 ? 0 : step.offset - 1)};
            graph.nodes.push_back({NodeKind::Context, std::move(label), {}, step.context, false});
        }
        return place->second;
    }

    std::size_t propertyAt(host::Walk::Step const& step, std::string_view path)
    {
        std::pair key{step.context, std::string{path.substr(step.offset, step.size)}};
        auto const [place, isNew] = properties.try_emplace(std::move(key), graph.nodes.size());
        if (isNew) {
            std::optional<data::PropertyValue> value = reader.find(step.context, place->first.second);
            bool const isMissing = !value;
            graph.nodes.push_back({NodeKind::Property, std::string{path.substr(0, step.offset + step.size)},
                                   std::move(value).value_or(data::PropertyValue{}), step.context, isMissing});
        }
        return place->second;
    }

    void connect(std::size_t from, std::size_t to)
    {
        if (edges.emplace(from, to).second)
            graph.edges.push_back({from, to});
    }

    static constexpr std::size_t NONE = std::numeric_limits<std::size_t>::max();

    host::ContextReader reader;
    std::map<boost::uuids::uuid, std::size_t> contexts;
    std::map<std::pair<boost::uuids::uuid, std::string>, std::size_t> properties;
    std::set<std::pair<std::size_t, std::size_t>> edges;
};

/// Returns the distance of each node from those with the label, up to `most`; more than that for the others.
std::vector<std::size_t> distances(Graph const& graph, std::string const& about, std::size_t most)
{
    std::vector<std::vector<std::size_t>> neighbours(graph.nodes.size());
    for (auto const& [from, to] : graph.edges) {
        neighbours[from].push_back(to);
        neighbours[to].push_back(from);
    }
    std::vector<std::size_t> result(graph.nodes.size(), std::numeric_limits<std::size_t>::max());
    std::queue<std::size_t> waiting;
    for (std::size_t node = 0; node != graph.nodes.size(); ++node) {
        if (graph.nodes[node].label == about) {
            result[node] = 0;
            waiting.push(node);
        }
    }
    for (; !waiting.empty(); waiting.pop()) {
        std::size_t const node = waiting.front();
        if (result[node] == most)
            continue;
        for (std::size_t const next : neighbours[node]) {
            if (result[next] == std::numeric_limits<std::size_t>::max()) {
                result[next] = result[node] + 1;
                waiting.push(next);
            }
        }
    }
    return result;
}

/// Returns a line of a label. DOT knows `\` escapes and, in labels, HTML entities.
std::string escaped(std::string_view text)
{
    std::string result;
    for (char const each : printable(detail::PlainText{text}.utf8)) {
        if (each == '&')
            result += "&amp;";
        else if (each == '"' || each == '\\')
            (result += '\\') += each;
        else
            result += each;
    }
    return result;
}

/// Returns the first lines of a text, of at most some 60 characters each, as far as it has blanks.
std::string wrapped(std::string_view text)
{
    static constexpr std::size_t WIDTH = 60;
    static constexpr std::size_t LINES = 6;
    std::string result;
    for (std::size_t line = 1; text.size() > WIDTH; ++line) {
        std::size_t end = text.rfind(' ', WIDTH);
        if (end == std::string_view::npos || end == 0)
            end = text.find(' ', WIDTH);
        if (end == std::string_view::npos)
            break;
        (result += escaped(text.substr(0, end))) += "\\n";
        text.remove_prefix(end + 1);
        if (line == LINES)
            return result += "\xe2\x80\xa6";
    }
    return result += escaped(text);
}

std::string attributes(Graph::Node const& node)
{
    std::string const value = escaped(detail::literal(node.value));
    switch (node.kind) {
    case NodeKind::Context:
        return "label=\"" + (node.label.empty() ? "root" : escaped(node.label)) + "\", shape=folder";
    case NodeKind::Property:
        return "label=\"" + escaped(node.label) + "\\n" + (node.isMissing ? "missing\", style=dashed" : value + '"');
    case NodeKind::Expression: break;
    }
    return "label=\"" + wrapped(node.label) + "\\n" + value + "\", shape=box, style=filled, fillcolor=\"" +
           (detail::truthOf(node.value) ? "#dcf5e3" : "#eeeeee") + "\", tooltip=\"" + escaped(node.label) + '"';
}

}   // namespace

Graph graphOf(data::ExpressionEngine const& engine)
{
    Builder builder;
    std::shared_ptr<data::ContextProvider> const& root = engine.getRoot();
    for (data::ExpressionEngine::Entry const& entry : engine.listExpressions())
        builder.add(entry, root ? root->getId() : boost::uuids::uuid{});
    return std::move(builder.graph);
}

Graph around(Graph const& graph, std::string const& about, std::size_t depth)
{
    depth = std::min(depth, graph.nodes.size());   // less than the distance of what is not connected
    std::vector<std::size_t> const distance = distances(graph, about, depth);
    std::vector<std::size_t> places(graph.nodes.size());
    Graph result;
    for (std::size_t node = 0; node != graph.nodes.size(); ++node) {
        if (distance[node] <= depth) {
            places[node] = result.nodes.size();
            result.nodes.push_back(graph.nodes[node]);
        }
    }
    for (auto const& [from, to] : graph.edges) {
        if (distance[from] <= depth && distance[to] <= depth)
            result.edges.push_back({places[from], places[to]});
    }
    return result;
}

std::string dot(Graph const& graph)
{
    std::string result = "digraph dependencies {\n    rankdir=LR;\n    node [fontname=\"sans-serif\"];\n";
    for (std::size_t node = 0; node != graph.nodes.size(); ++node)
        result += "    n" + std::to_string(node) + " [" + attributes(graph.nodes[node]) + "];\n";
    for (auto const& [from, to] : graph.edges)
        result += "    n" + std::to_string(from) + " -> n" + std::to_string(to) + ";\n";
    return result += "}\n";
}

}   // namespace studio::inspect

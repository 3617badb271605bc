#include "studio/inspect/Explanation.h"

#include "studio/inspect/detail/Conditions.h"
#include "studio/inspect/detail/Names.h"
#include "studio/inspect/detail/Values.h"

#include <boost/uuid/uuid_io.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>
#include <utility>

namespace studio::inspect {

using boost::uuids::uuid;
using detail::literal;
using gel::Tree;
using Kind = Tree::Kind;

Explanation explain(std::string const& text, std::shared_ptr<data::ContextProvider> const& root)
{
    return explain(text, root ? root->getId() : uuid{}, host::ContextReader{});
}

Explanation explain(std::string const& text, uuid const& root, host::ContextReader const& reader)
{
    Tree const tree{text};
    detail::ReaderSource const source{reader, root};
    Explanation explanation{tree, {}, tree.trace(source), {}, {}, true, {}};
    explanation.value = explanation.values.back().value();
    host::Meanings meanings;
    host::Meanings::Numbers const numbers = meanings.add(tree);
    detail::Conditions const found{tree, explanation.values, source, numbers};
    explanation.conditions = found.list();
    explanation.deciding = found.outcomes().setsThatChange(explanation.value);
    explanation.isComplete = found.outcomes().isComplete();
    if (explanation.deciding.size() > detail::Outcomes::MOST_SETS) {
        explanation.deciding.resize(detail::Outcomes::MOST_SETS);
        explanation.isComplete = false;
    }
    std::set<std::string_view> known;
    for (Tree::Node const& node : tree.nodes())
        if (node.kind == Kind::Symbol && known.insert(node.name).second) {
            host::Walk walk{host::PathEnd::Reason::NoContext, {}, {}};
            if (!root.is_nil())
                walk = host::walkAlong(reader, root, node.name);
            explanation.symbols.push_back({std::string{node.name}, std::move(walk)});
        }
    return explanation;
}

namespace {

std::string labelOf(std::string_view path, host::Walk::Step const& step)
{
    return step.offset == 0 ? "the root" : '"' + printable(path.substr(0, step.offset - 1)) + '"';
}

/// Says where a path ends, as `host::describe` does, without the path.
std::string endOfPath(Explanation::Symbol const& symbol)
{
    using Reason = host::PathEnd::Reason;
    if (symbol.walk.steps.empty())
        return "there is no context";
    host::Walk::Step const& last = symbol.walk.steps.back();
    std::string const at = labelOf(symbol.path, last);
    std::string const name = '"' + printable(std::string_view{symbol.path}.substr(last.offset, last.size)) + '"';
    std::string const id = " (" + to_string(last.context) + ')';
    switch (symbol.walk.reason) {
    case Reason::Found: return "in " + at + id;
    case Reason::Missing: return "missing: " + at + id + " has no property " + name;
    case Reason::PlainValue: return "missing: the property " + name + " of " + at + id + " is not a context";
    case Reason::Dangling:
        return "missing: the property " + name + " of " + at + id + " refers to a context that does not exist";
    case Reason::Hidden: return "not followed: " + at + id + " has a property whose own name is " + name;
    case Reason::NoContext: break;
    }
    return "there is no context";
}

nlohmann::json jsonOf(gel::Value const& value)
{
    if (value.isString())
        return value.getString();
    if (value.isLogical())
        return value.getBool();
    return value.isDouble() ? nlohmann::json(value.getDouble()) : nlohmann::json{};
}

/// The nodes that stand in a deciding set.
std::vector<bool> decidingNodes(Explanation const& explanation)
{
    std::vector<bool> decides(explanation.tree.nodes().size());
    for (auto const& set : explanation.deciding)
        for (std::uint32_t const condition : set)
            for (std::uint32_t const node : explanation.conditions[condition].nodes)
                decides[node] = true;
    return decides;
}

/// The text of a part, as far as it fits into a line.
std::string shortened(std::string_view text)
{
    constexpr std::size_t MOST = 160;
    if (text.size() <= MOST)
        return printable(text);
    std::size_t size = MOST;
    while (size != 0 && (static_cast<unsigned char>(text[size]) & 0xc0U) == 0x80)
        --size;   // not inside a character
    return printable(text.substr(0, size)) + "...";
}

/// Writes the tree, a line for each node: a chain of one operator has its operands side by side.
class TreeWriter {
public:
    explicit TreeWriter(Explanation const& explained)
        : explanation{explained}, nodes{explained.tree.nodes()}, decides{decidingNodes(explained)}
    {}

    std::string write()
    {
        pending.push_back({static_cast<std::uint32_t>(nodes.size() - 1), 0});
        while (!pending.empty()) {
            auto const [node, depth] = pending.back();
            pending.pop_back();
            line(node, depth);
            if (nodes[node].kind != Kind::Symbol)
                addParts(node, depth + 1);
        }
        return std::move(text);
    }

private:
    void line(std::uint32_t node, std::size_t depth)
    {
        std::optional<gel::Value> const& value = explanation.values[node];
        text += decides[node] ? "> " : "  ";
        text.append(2 * std::min<std::size_t>(depth, 30), ' ') += shortened(explanation.tree.textOf(nodes[node]));
        text += value ? " is " + literal(*value) : " is not needed";
        text += '\n';
    }
    void addParts(std::uint32_t node, std::size_t depth)
    {
        // Constants and patterns stand in their operator's own line.
        auto const add = [&](std::uint32_t part) {
            if (nodes[part].kind != Kind::Constant && nodes[part].kind != Kind::Pattern)
                pending.push_back({part, depth});
        };
        Kind const chain = nodes[node].kind;
        for (;;) {   // from the last operand to the first: the stack reverses them
            auto const parts = nodes[node].parts;
            for (std::size_t part = parts.size(); part-- > 1;)
                add(parts[part]);
            bool const goesOn = parts.size() == 2 && nodes[parts[0]].kind == chain;
            if (!goesOn) {
                if (!parts.empty())
                    add(parts[0]);
                return;
            }
            node = parts[0];
        }
    }

    Explanation const& explanation;
    std::span<Tree::Node const> nodes;
    std::vector<bool> const decides;
    std::vector<std::pair<std::uint32_t, std::size_t>> pending;   // nodes with their depths
    std::string text;
};

std::string describeSet(Explanation const& explanation, std::vector<std::uint32_t> const& set)
{
    std::string text;
    for (std::uint32_t const number : set) {
        Explanation::Condition const& condition = explanation.conditions[number];
        Tree::Node const& node = explanation.tree.nodes()[condition.nodes.front()];
        bool const isNegated = node.kind == Kind::NotEqual || node.kind == Kind::NotIn;
        text += (text.empty() ? "" : " and ") + shortened(explanation.tree.textOf(node)) +
                (condition.holds != isNegated ? " holds" : " does not hold");
    }
    return text;
}

}   // namespace

std::string describe(Explanation const& explanation)
{
    constexpr std::size_t MOST_SETS = 5;
    std::string text = printable(explanation.tree.text()) + " is " + literal(explanation.value) + '\n';
    for (std::size_t set = 0; set != std::min(explanation.deciding.size(), MOST_SETS); ++set)
        text += (set == 0 ? "because " : "or because ") + describeSet(explanation, explanation.deciding[set]) + '\n';
    if (explanation.deciding.size() > MOST_SETS)
        text += "and " + std::to_string(explanation.deciding.size() - MOST_SETS) +
                (explanation.isComplete ? "" : " or more") + " other sets of conditions decide, too\n";
    text += TreeWriter{explanation}.write();
    for (Explanation::Symbol const& symbol : explanation.symbols)
        text += printable(symbol.path) + ": " + literal(symbol.walk.value) + ", " + endOfPath(symbol) + '\n';
    return text;
}

std::string json(Explanation const& explanation)
{
    using Json = nlohmann::json;
    Tree const& tree = explanation.tree;
    std::vector<bool> const decides = decidingNodes(explanation);
    Json document{
        {"text", tree.text()},         {"value", jsonOf(explanation.value)}, {"nodes", Json::array()},
        {"conditions", Json::array()}, {"deciding", explanation.deciding},   {"complete", explanation.isComplete},
        {"symbols", Json::array()}};
    for (std::size_t index = 0; index != tree.nodes().size(); ++index) {
        Tree::Node const& node = tree.nodes()[index];
        Json entry{{"kind", detail::nameOf(node.kind)},
                   {"name", node.name},
                   {"offset", node.offset},
                   {"size", node.size},
                   {"parts", node.parts},
                   {"decides", decides[index] == true}};
        if (explanation.values[index])
            entry["value"] = jsonOf(*explanation.values[index]);
        document["nodes"].push_back(std::move(entry));
    }
    for (Explanation::Condition const& condition : explanation.conditions)
        document["conditions"].push_back(
            {{"nodes", condition.nodes}, {"holds", condition.holds}, {"needed", condition.isNeeded}});
    for (Explanation::Symbol const& symbol : explanation.symbols) {
        Json entry{{"path", symbol.path},
                   {"value", jsonOf(detail::languageValue(symbol.walk.value))},
                   {"end", detail::nameOf(symbol.walk.reason)},
                   {"message", endOfPath(symbol)},
                   {"steps", Json::array()}};
        for (host::Walk::Step const& step : symbol.walk.steps)
            entry["steps"].push_back({{"name", symbol.path.substr(step.offset, step.size)},
                                      {"context", to_string(step.context)},
                                      {"label", symbol.path.substr(0, step.offset == 0 ? 0 : step.offset - 1)}});
        document["symbols"].push_back(std::move(entry));
    }
    return detail::printableJson(document.dump(-1, ' ', true, Json::error_handler_t::replace));
}

}   // namespace studio::inspect

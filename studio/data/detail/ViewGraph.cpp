#include "studio/data/detail/ViewGraph.h"

#include <algorithm>

namespace studio::data::detail {

namespace {

/// Reserves capacity for `count` elements in all, growing geometrically.
template <class T>
void makeRoom(std::vector<T>& list, std::size_t count)
{
    if (list.capacity() < count)
        list.reserve(std::max(count, 2 * list.capacity()));
}

}   // namespace

void ViewGraph::enter(Id const& id)
{
    Node& entered = node(id);
    setMirrored(entered, true);
    // It has no subtree yet, so any incoming edge may be its hold without making a cycle.
    entered.hold = entered.in;
    if (!entered.hold)
        doubt(entered);
}

void ViewGraph::addReference(Id const& from, Id const& to)
{
    Node& source = node(from);
    Node& target = node(to);
    auto const [place, isNew] = source.out.try_emplace(&target, Edge{&source, &target, 0, nullptr, target.in});
    Edge& edge = place->second;
    ++edge.count;
    if (!isNew)
        return;
    source.open += target.mirrored ? 0 : 1;
    if (target.in)
        target.in->previous = &edge;
    target.in = &edge;
}

void ViewGraph::addRecord(Id const& id)
{
    node(id).hasRecord = true;
}

void ViewGraph::removeReference(Id const& from, Id const& to) noexcept
{
    auto const source = nodes.find(from);
    auto const target = nodes.find(to);
    if (source == nodes.end() || target == nodes.end())
        return;
    auto const edge = source->second.out.find(&target->second);
    if (edge != source->second.out.end() && --edge->second.count == 0)
        remove(edge->second);
}

void ViewGraph::removeRecord(Id const& id) noexcept
{
    auto const found = nodes.find(id);
    if (found == nodes.end())
        return;
    Node& node = found->second;
    node.hasRecord = false;
    if (node.mirrored && !node.hold)
        doubt(node);
    dropIfUnused(node);
}

void ViewGraph::leave(Id const& id) noexcept
{
    auto const found = nodes.find(id);
    if (found == nodes.end())
        return;
    Node& node = found->second;
    while (!node.out.empty())
        remove(node.out.begin()->second);
    setMirrored(node, false);   // only now: it may have referred to itself
    node.hold = nullptr;
    dropIfUnused(node);
}

void ViewGraph::clear() noexcept
{
    doubts.clear();
    search.clear();
    nodes.clear();
}

bool ViewGraph::isOpen(Id const& id) const noexcept
{
    auto const found = nodes.find(id);
    return found != nodes.end() && found->second.open != 0;
}

std::vector<ViewGraph::Id> ViewGraph::orphans()
{
    settle();
    gather();
    rescue();
    std::vector<Id> found;
    found.reserve(doubts.size());
    for (Node const* const node : doubts)
        found.push_back(node->id);
    return found;
}

ViewGraph::Node& ViewGraph::node(Id const& id)
{
    if (auto const found = nodes.find(id); found != nodes.end())
        return found->second;
    makeRoom(doubts, nodes.size() + 1);
    makeRoom(search, nodes.size() + 1);
    return nodes.try_emplace(id, Node{id}).first->second;
}

void ViewGraph::setMirrored(Node& node, bool mirrored) noexcept
{
    node.mirrored = mirrored;
    for (Edge const* edge = node.in; edge; edge = edge->next)
        mirrored ? --edge->from->open : ++edge->from->open;
}

void ViewGraph::remove(Edge& edge) noexcept
{
    Node& target = *edge.to;
    edge.from->open -= target.mirrored ? 0 : 1;
    (edge.previous ? edge.previous->next : target.in) = edge.next;
    if (edge.next)
        edge.next->previous = edge.previous;
    if (target.hold == &edge) {
        target.hold = nullptr;
        doubt(target);
    }
    edge.from->out.erase(&target);
    dropIfUnused(target);
}

void ViewGraph::doubt(Node& node) noexcept
{
    if (!node.doubtful)
        doubts.push_back(&node);
    node.doubtful = true;
}

void ViewGraph::dropIfUnused(Node& node) noexcept
{
    if (!node.mirrored && !node.hasRecord && !node.doubtful && !node.in)
        nodes.erase(node.id);
}

void ViewGraph::settle() noexcept
{
    std::size_t kept = 0;
    for (Node* const node : doubts) {
        node->doubtful = node->mirrored && !node->hold && !node->hasRecord;
        if (node->doubtful)
            doubts[kept++] = node;
        else
            dropIfUnused(*node);
    }
    doubts.resize(kept);
}

/// Adds the subtrees of the doubtful nodes to the doubts.
void ViewGraph::gather()
{
    for (Node* const node : doubts)
        node->pending = true;
    for (std::size_t i = 0; i != doubts.size(); ++i)
        for (auto& entry : doubts[i]->out) {
            Node& target = *entry.first;
            if (target.hold != &entry.second)
                continue;
            target.hold = nullptr;
            if (target.hasRecord)
                continue;   // still reachable
            target.pending = true;
            doubt(target);
        }
}

/// Removes from the doubts the nodes with an edge from outside of them, and what those reach.
void ViewGraph::rescue()
{
    for (Node* const node : doubts)
        for (Edge* edge = node->in; edge && node->pending; edge = edge->next)
            if (!edge->from->pending) {
                node->hold = edge;
                node->pending = false;
                search.push_back(node);
            }
    while (!search.empty()) {
        Node* const reached = search.back();
        search.pop_back();
        for (auto& entry : reached->out) {
            Node& target = *entry.first;
            if (!target.pending)
                continue;
            target.hold = &entry.second;
            target.pending = false;
            search.push_back(&target);
        }
    }
    for (Node* const node : doubts)
        node->pending = false;
    settle();
}

}   // namespace studio::data::detail

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

void ViewGraph::add(Id const& id)
{
    Node& added = node(id);
    setMirrored(added, true);
    // It has no subtree yet, so any incoming edge may be its hold without making a cycle.
    added.hold = added.in.empty() ? nullptr : &added.in.front();
    if (!added.hold)
        suspect(added);
}

void ViewGraph::addReference(Id const& from, Id const& to)
{
    Node& source = node(from);
    Node& target = node(to);
    auto const [entry, isNew] = source.out.try_emplace(&target, &source, &target);
    Edge& edge = entry->second;
    ++edge.count;
    if (!isNew)
        return;
    source.open += target.mirrored ? 0 : 1;
    target.in.push_front(edge);
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
        removeEdge(edge->second);
}

void ViewGraph::removeRecord(Id const& id) noexcept
{
    auto const found = nodes.find(id);
    if (found == nodes.end())
        return;
    Node& node = found->second;
    node.hasRecord = false;
    if (node.mirrored && !node.hold)
        suspect(node);
    dropIfUnused(node);
}

void ViewGraph::remove(Id const& id) noexcept
{
    auto const found = nodes.find(id);
    if (found == nodes.end())
        return;
    Node& node = found->second;
    while (!node.out.empty())
        removeEdge(node.out.begin()->second);
    setMirrored(node, false);   // only now: it may have referred to itself
    node.hold = nullptr;
    dropIfUnused(node);
}

void ViewGraph::clear() noexcept
{
    suspects.clear();
    search.clear();
    nodes.clear();
}

bool ViewGraph::isOpen(Id const& id) const noexcept
{
    auto const found = nodes.find(id);
    return found != nodes.end() && found->second.open != 0;
}

bool ViewGraph::isReferredTo(Id const& id) const noexcept
{
    auto const found = nodes.find(id);
    return found != nodes.end() && !found->second.in.empty();
}

std::vector<ViewGraph::Id> ViewGraph::orphans()
{
    reviewSuspects();
    gather();
    rescue();
    std::vector<Id> found;
    found.reserve(suspects.size());
    for (Node const* const node : suspects)
        found.push_back(node->id);
    return found;
}

ViewGraph::Node& ViewGraph::node(Id const& id)
{
    if (auto const found = nodes.find(id); found != nodes.end())
        return found->second;
    makeRoom(suspects, nodes.size() + 1);
    makeRoom(search, nodes.size() + 1);
    return nodes.try_emplace(id, Node{id}).first->second;
}

void ViewGraph::setMirrored(Node& node, bool mirrored) noexcept
{
    node.mirrored = mirrored;
    for (Edge& edge : node.in)
        mirrored ? --edge.from->open : ++edge.from->open;
}

void ViewGraph::removeEdge(Edge& edge) noexcept
{
    Node& target = *edge.to;
    edge.from->open -= target.mirrored ? 0 : 1;
    if (target.hold == &edge) {
        target.hold = nullptr;
        suspect(target);
    }
    edge.from->out.erase(&target);   // takes it out of the target's list, too
    dropIfUnused(target);
}

void ViewGraph::suspect(Node& node) noexcept
{
    if (!node.isSuspect)
        suspects.push_back(&node);
    node.isSuspect = true;
}

void ViewGraph::dropIfUnused(Node& node) noexcept
{
    if (!node.mirrored && !node.hasRecord && !node.isSuspect && node.in.empty())
        nodes.erase(node.id);
}

void ViewGraph::reviewSuspects() noexcept
{
    std::size_t kept = 0;
    for (Node* const node : suspects) {
        node->isSuspect = node->mirrored && !node->hold && !node->hasRecord;
        if (node->isSuspect)
            suspects[kept++] = node;
        else
            dropIfUnused(*node);
    }
    suspects.resize(kept);
}

/// Adds the subtrees of the suspect nodes to the suspects.
void ViewGraph::gather()
{
    for (Node* const node : suspects)
        node->pending = true;
    for (std::size_t i = 0; i != suspects.size(); ++i)
        for (auto& entry : suspects[i]->out) {
            Node& target = *entry.first;
            if (target.hold != &entry.second)
                continue;
            target.hold = nullptr;
            if (target.hasRecord)
                continue;   // still reachable
            target.pending = true;
            suspect(target);
        }
}

/// Removes from the suspects the nodes with an edge from outside of them, and what those reach.
void ViewGraph::rescue()
{
    for (Node* const node : suspects)
        for (Edge& edge : node->in)
            if (!edge.from->pending) {
                node->hold = &edge;
                node->pending = false;
                search.push_back(node);
                break;
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
    for (Node* const node : suspects)
        node->pending = false;
    reviewSuspects();
}

}   // namespace studio::data::detail

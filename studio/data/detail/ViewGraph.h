#pragma once

#include "tarn/zero/services/Hashers.h"

#include <boost/intrusive/list.hpp>
#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace studio::data::detail {

/// Reachability graph: which contexts of a view its records reach, updated reference by reference.
///
/// A node is a context that the view mirrors, or that one of those refers to. Every reachable mirrored node stores one
/// incoming edge as proof, its *hold*; together the holds are a spanning forest. Removing another edge costs nothing.
/// Removing a hold or a record makes only the subtree of that node suspect, and only that is searched.
class ViewGraph {
public:
    using Id = boost::uuids::uuid;

    ViewGraph() = default;
    ViewGraph(ViewGraph const&) = delete;
    ViewGraph& operator=(ViewGraph const&) = delete;

    // Updates. The first three throw only `std::bad_alloc`, and leave a graph that can be cleared.

    /// Adds a mirrored context, which has no references yet. It must not be mirrored already.
    void add(Id const& id);
    /// Adds a reference: a property of the mirrored context `from` names `to`, mirrored or not. References between the
    /// same two contexts are counted.
    void addReference(Id const& from, Id const& to);
    void addRecord(Id const& id);
    /// Removes one reference from one context to another; ignores one that does not exist.
    void removeReference(Id const& from, Id const& to) noexcept;
    void removeRecord(Id const& id) noexcept;
    /// Removes a mirrored context and its outgoing references. Ignores one that is not mirrored.
    void remove(Id const& id) noexcept;
    void clear() noexcept;

    /// True if the mirrored context refers to one that is not mirrored.
    bool isOpen(Id const& id) const noexcept;
    /// True if a mirrored context refers to that one, mirrored or not.
    bool isReferredTo(Id const& id) const noexcept;

    /// Returns the mirrored contexts that no record reaches through mirrored ones. *Cost*: proportional to the subtrees
    /// below the records and references removed since the last call, and their neighbours.
    std::vector<Id> orphans();
    /// Drops nodes that are no longer suspect from the list, and unused nodes from the graph.
    void reviewSuspects() noexcept;
    /// All nodes by id.
    auto const& allNodes() const noexcept { return nodes; }

private:
    struct Node;
    /// All references from one node to another.
    struct Edge : boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::auto_unlink>> {
        Edge(Node* source, Node* target) noexcept : from{source}, to{target} {}

        Node* from;
        Node* to;
        std::size_t count = 0;
    };
    struct Node {
        Id id;
        std::unordered_map<Node*, Edge> out{};
        boost::intrusive::list<Edge, boost::intrusive::constant_time_size<false>> in{};
        Edge* hold = nullptr;   // one of the incoming edges
        std::size_t open = 0;   // number of edges in `out` to nodes that are not mirrored
        bool mirrored = false;
        bool hasRecord = false;
        bool isSuspect = false;   // listed in `suspects`
        bool pending = false;     // not found reachable by the running search
    };

    Node& node(Id const& id);
    void setMirrored(Node& node, bool mirrored) noexcept;
    void removeEdge(Edge& edge) noexcept;
    void suspect(Node& node) noexcept;
    void dropIfUnused(Node& node) noexcept;
    void gather();
    void rescue();

    std::unordered_map<Id, Node, tarn::zero::services::hashers::TARN0Hasher<Id>> nodes;
    std::vector<Node*> suspects;   // capacity for all nodes, so that removal never allocates
    std::vector<Node*> search;     // stack of `rescue`; the same capacity
};

}   // namespace studio::data::detail

#pragma once

#include "tarn/zero/services/Hashers.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace studio::data {
class Invariants;   // of the tests: may look at everything
}

namespace studio::data::detail {

/// Reachability graph: which contexts of a view its records reach, updated reference by reference.
///
/// A node is a context that the view mirrors, or that one of those refers to. Every reachable mirrored node stores one
/// incoming edge as proof, its *hold*; together the holds are a spanning forest. Removing another edge costs nothing.
/// Removing a hold or a record makes only the subtree of that node doubtful, and only that is searched.
class ViewGraph {
public:
    using Id = boost::uuids::uuid;

    ViewGraph() = default;
    ViewGraph(ViewGraph const&) = delete;
    ViewGraph& operator=(ViewGraph const&) = delete;

    // Updates. The first three throw only `std::bad_alloc`, and leave a graph that can be cleared.

    /// Adds a mirrored context, which has no references yet. It must not be mirrored already.
    void enter(Id const& id);
    /// Adds a reference: a property of the mirrored context `from` names `to`, mirrored or not. References between the
    /// same two contexts are counted.
    void addReference(Id const& from, Id const& to);
    void addRecord(Id const& id);
    /// Removes one reference from one context to another; ignores one that does not exist.
    void removeReference(Id const& from, Id const& to) noexcept;
    void removeRecord(Id const& id) noexcept;
    /// Removes a mirrored context and its outgoing references. Ignores one that is not mirrored.
    void leave(Id const& id) noexcept;
    void clear() noexcept;

    /// True if the mirrored context refers to one that is not mirrored.
    bool isOpen(Id const& id) const noexcept;

    /// Returns the mirrored contexts that no record reaches through mirrored ones. *Cost*: proportional to the subtrees
    /// below the records and references removed since the last call, and their neighbours.
    std::vector<Id> orphans();
    /// Drops nodes that are no longer doubtful from the list, and unused nodes from the graph.
    void settle() noexcept;

private:
    friend class studio::data::Invariants;

    struct Node;
    /// All references from one node to another.
    struct Edge {
        Node* from;
        Node* to;
        std::size_t count;
        Edge* previous;   // in the list of edges to the same node
        Edge* next;
    };
    struct Node {
        Id id;
        std::unordered_map<Node*, Edge> out{};
        Edge* in = nullptr;     // first incoming edge
        Edge* hold = nullptr;   // one of the incoming edges
        std::size_t open = 0;   // number of edges in `out` to nodes that are not mirrored
        bool mirrored = false;
        bool hasRecord = false;
        bool doubtful = false;   // listed in `doubts`
        bool pending = false;    // not found reachable by the running search
    };

    Node& node(Id const& id);
    void setMirrored(Node& node, bool mirrored) noexcept;
    void remove(Edge& edge) noexcept;
    void doubt(Node& node) noexcept;
    void dropIfUnused(Node& node) noexcept;
    void gather();
    void rescue();

    std::unordered_map<Id, Node, tarn::zero::services::hashers::TARN0Hasher<Id>> nodes;
    std::vector<Node*> doubts;   // capacity for all nodes, so that removal never allocates
    std::vector<Node*> search;   // likewise
};

}   // namespace studio::data::detail

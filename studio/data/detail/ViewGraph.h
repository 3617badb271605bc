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

/// Which contexts of a view its records reach, kept up to date reference by reference.
///
/// A node is a context that the view mirrors, or that one of those refers to. Each mirrored node that was found reached
/// remembers one reference, its *hold*, by which it is. Taking away any other reference therefore needs no look at all;
/// when a hold goes, or a record, only what hung on it is in doubt, and only that is searched.
class ViewGraph {
public:
    using Id = boost::uuids::uuid;

    ViewGraph() = default;
    ViewGraph(ViewGraph const&) = delete;
    ViewGraph& operator=(ViewGraph const&) = delete;

    // What happens to the view. The first three throw only `std::bad_alloc`, and leave a graph that can be cleared.

    /// The context, which was not mirrored, is from now on; it has no references yet.
    void enter(Id const& id);
    /// A property of the mirrored context `from` now names `to`, mirrored or not. References of one context to another
    /// are counted.
    void addReference(Id const& from, Id const& to);
    void addRecord(Id const& id);
    /// One such property less; a reference that is not there is ignored.
    void removeReference(Id const& from, Id const& to) noexcept;
    void removeRecord(Id const& id) noexcept;
    /// The context is mirrored no more: its own references go. Ignores one that never came in.
    void leave(Id const& id) noexcept;
    void clear() noexcept;

    /// True if the mirrored context refers to one that is not mirrored.
    bool isOpen(Id const& id) const noexcept;

    /// The mirrored contexts that no record reaches through mirrored ones.
    /// *Cost*: what hung on the records and references that were taken away since the last call, and its neighbours.
    std::vector<Id> orphans();
    /// Forgets what is no longer in doubt, and nodes that are of no more use.
    void settle() noexcept;

private:
    friend class studio::data::Invariants;

    struct Node;
    /// All references from one node to another.
    struct Edge {
        Node* from;
        Node* to;
        std::size_t count;
        Edge* previous;   // among those to the same node
        Edge* next;
    };
    struct Node {
        Id id;
        std::unordered_map<Node*, Edge> out{};
        Edge* in = nullptr;     // the first
        Edge* hold = nullptr;   // one of `in`
        std::size_t open = 0;   // of `out`, those that lead to nodes that are not mirrored
        bool mirrored = false;
        bool hasRecord = false;
        bool doubtful = false;   // listed in `doubts`
        bool pending = false;    // not found reached by the search under way
    };

    Node& node(Id const& id);
    void setMirrored(Node& node, bool mirrored) noexcept;
    void remove(Edge& edge) noexcept;
    void doubt(Node& node) noexcept;
    void dropIfUnused(Node& node) noexcept;
    void gather();
    void rescue();

    std::unordered_map<Id, Node, tarn::zero::services::hashers::TARN0Hasher<Id>> nodes;
    std::vector<Node*> doubts;   // has room for all nodes, so that taking away needs no memory
    std::vector<Node*> search;   // has too
};

}   // namespace studio::data::detail

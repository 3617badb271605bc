#pragma once

#include "studio/data/ExpressionEngine.h"
#include "studio/inspect/Export.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace studio::inspect {

/// The dependencies of an engine: its expressions, the properties on the paths of their symbols, and the contexts that
/// these paths go through.
struct Graph {
    /// A node.
    struct Node {
        /// What a node stands for.
        enum class Kind { Expression, Property, Context };

        /// What the node stands for.
        Kind kind;
        /// The text of an expression; the path of a property or context, taken from the first symbol that goes through
        /// it. The path of the root is empty.
        std::string label;
        /// The value of an expression or property.
        data::PropertyValue value;
        /// The UUID of a context, or of the context of a property; nil for an expression.
        boost::uuids::uuid context;
        /// True for a property that a symbol names and the context does not have.
        bool isMissing;
    };
    /// A dependency of `to` on `from`: a context contains a property, a property refers to a context, or a property is
    /// read by an expression. An expression is joined to the last property of each of its paths only; the properties
    /// before it refer to the contexts on the way.
    struct Edge {
        /// Index into `nodes`.
        std::size_t from;
        /// Index into `nodes`.
        std::size_t to;
    };

    /// The nodes: each expression, property and context once.
    std::vector<Node> nodes;
    /// The dependencies, without repetitions.
    std::vector<Edge> edges;
};

/// Returns the dependencies of all expressions of an engine, in the order of their acquisition. *Throws* what
/// `host::ContextReader` throws. *Cost*: a parse of each text and a walk along each symbol.
STUDIO_INSPECT_EXPORT Graph graphOf(data::ExpressionEngine const& engine);
/// Returns the part of the graph that is at most `depth` edges away, in either direction, from the nodes with the label
/// `about`: a text, or the path of a property or context. Empty if there is no such node.
STUDIO_INSPECT_EXPORT Graph around(Graph const& graph, std::string const& about, std::size_t depth);
/// Returns the graph in the DOT language: contexts as folders, properties as ellipses, dashed where they are missing,
/// and expressions as boxes, grey where they count as false. A box shows the first lines of a long text; its tooltip is
/// all of it. The result is valid UTF-8 without control characters, whatever the labels hold.
STUDIO_INSPECT_EXPORT std::string dot(Graph const& graph);

}   // namespace studio::inspect

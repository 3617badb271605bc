#pragma once

#include "studio/data/ExpressionEngine.h"
#include "studio/inspect/Export.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace studio::inspect {

/// What depends on what: the expressions of an engine, the properties on the paths of their symbols, and the contexts
/// that these paths go through.
struct Graph {
    /// A node.
    struct Node {
        /// What a node stands for.
        enum class Kind { Expression, Property, Context };

        /// What it stands for.
        Kind kind;
        /// The text of an expression; the path of a property or context, as the first symbol that goes through it names
        /// it. The path of the root is empty.
        std::string label;
        /// The value of an expression or property.
        data::PropertyValue value;
        /// The id of a context or of the context of a property; nil for an expression.
        boost::uuids::uuid context;
        /// True for a property that a symbol names and the context does not have.
        bool isMissing;
    };
    /// A dependency: `from` contains `to`, refers to it, or is read by it. A property on the way to another one is not
    /// read by the expression: it refers to the context that contains the other one.
    struct Edge {
        /// Index into `nodes`.
        std::size_t from;
        /// Index into `nodes`.
        std::size_t to;
    };

    /// The nodes, each thing once.
    std::vector<Node> nodes;
    /// The dependencies, without repetitions.
    std::vector<Edge> edges;
};

/// Returns the dependencies of all expressions of an engine, in the order of their acquisition. *Throws* as
/// `host::ContextReader`. *Cost*: a parse of each text and a walk along each symbol.
STUDIO_INSPECT_EXPORT Graph graphOf(data::ExpressionEngine const& engine);
/// Returns the part of the graph that is at most `depth` edges away, in either direction, from the nodes with the label
/// `about`: a text, or the path of a property or context. Empty if there is no such node.
STUDIO_INSPECT_EXPORT Graph around(Graph const& graph, std::string const& about, std::size_t depth);
/// Returns the graph in the DOT language: contexts as folders, properties as ellipses, dashed where they are missing,
/// and expressions as boxes, grey where they do not hold. A box shows the first lines of a long text; its tooltip is
/// all of it. The result is valid UTF-8 without control characters, whatever the labels hold.
STUDIO_INSPECT_EXPORT std::string dot(Graph const& graph);

}   // namespace studio::inspect

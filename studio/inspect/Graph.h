#pragma once

#include "studio/data/ExpressionEngine.h"
#include "studio/inspect/Export.h"

#include <cstddef>
#include <string>
#include <vector>

namespace studio::inspect {

/// What depends on what: the expressions of an engine, the properties on the paths of their symbols, and the contexts.
struct Graph {
    /// A node.
    struct Node {
        /// What a node stands for.
        enum class Kind { Expression, Property, Context };

        /// What it stands for.
        Kind kind;
        /// The text of an expression; the path of a property or context, as the root reaches it first.
        std::string label;
        /// The value of an expression or property.
        data::PropertyValue value;
        /// The id of a context or of the context of a property; nil for an expression.
        boost::uuids::uuid context;
    };
    /// A dependency: `from` is read by, or contains, `to`.
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

/// Returns the dependencies of all expressions of an engine.
STUDIO_INSPECT_EXPORT Graph graphOf(data::ExpressionEngine const& engine);
/// Returns the part of the graph that is at most `depth` edges away from the expression or path `about`. Empty if there
/// is no such node.
STUDIO_INSPECT_EXPORT Graph around(Graph const& graph, std::string const& about, std::size_t depth);
/// Returns the graph in the DOT language.
STUDIO_INSPECT_EXPORT std::string dot(Graph const& graph);

}   // namespace studio::inspect

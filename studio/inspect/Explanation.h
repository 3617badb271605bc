#pragma once

#include "gel/Tree.h"
#include "studio/host/PathEnd.h"
#include "studio/inspect/Export.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace studio::inspect {

/// Why the value of a text is what it is.
struct Explanation {
    /// A logical sub-condition of the text: an operand of `!`, `&&` and `||`, the condition of `? :`, a logical branch
    /// of it, or the whole text; as far as it is none of these operators itself. `a != b` is the sub-condition `a == b`
    /// with `!` in front, `not in` likewise.
    struct Condition {
        /// The nodes that stand for it, as ascending indexes into `tree.nodes()`: more than one if the text repeats it.
        std::vector<std::uint32_t> nodes;
        /// True if the sub-condition holds, also where the evaluation skipped it.
        bool holds;
        /// True if the evaluation needed it.
        bool isNeeded;
    };
    /// A symbol of the text.
    struct Symbol {
        /// The dotted path.
        std::string path;
        /// The walk along it: the contexts that it goes through, and where it ends. Without steps if there is no root.
        host::Walk walk;
    };

    /// The text and its structure.
    gel::Tree tree;
    /// The value of the text.
    gel::Value value;
    /// The value of each node of the tree; empty for a node that the evaluation did not need, and for a pattern.
    std::vector<std::optional<gel::Value>> values;
    /// The sub-conditions, in order of their first places in the tree.
    std::vector<Condition> conditions;
    /// What decides: the sets of sub-conditions, as ascending indexes into `conditions`, whose opposite truths change
    /// the value of the text, while those of no proper subset do. Of a false `a && b` in which both are false that is
    /// the set of both. Smaller sets first. Empty if no sub-condition matters, as in a text without one.
    std::vector<std::vector<std::uint32_t>> deciding;
    /// False if there are so many sets that some may be missing from `deciding`, and some there may not be the
    /// smallest.
    bool isComplete;
    /// The symbols, in order of their first places in the text.
    std::vector<Symbol> symbols;
};

/// Explains the present value of `text` over the context `root`; null stands for no context. Nothing is acquired and no
/// expression or engine is affected. *Throws* `gel::ParseError` for a text that does not parse, and as
/// `host::ContextReader`. *Cost*: several evaluations; the number of deciding sets is limited to 1,024.
STUDIO_INSPECT_EXPORT Explanation explain(std::string const& text, std::shared_ptr<data::ContextProvider> const& root);

/// Explains the value that `text` has over the context `root` as `reader` reads it.
STUDIO_INSPECT_EXPORT Explanation explain(std::string const& text, boost::uuids::uuid const& root,
                                          host::ContextReader const& reader);

/// Returns the explanation as text for a programmer, a line each: the value, the sub-conditions that decide, the tree
/// with the value of each node, and the path of each symbol. Control characters are escaped.
STUDIO_INSPECT_EXPORT std::string describe(Explanation const& explanation);

/// Returns the explanation as a JSON object; docs/explanations.md describes its members.
STUDIO_INSPECT_EXPORT std::string json(Explanation const& explanation);

}   // namespace studio::inspect

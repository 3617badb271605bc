#pragma once

#include "gel/Tree.h"
#include "studio/host/PathEnd.h"
#include "studio/inspect/Export.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace studio::inspect {

/// Why the value of a text is what it is.
struct Explanation {
    /// A logical sub-condition of the text: an operand of `!`, `&&` or `||`, a condition or logical branch of `? :`, or
    /// the whole text. None of these operators is a sub-condition itself. `a != b` counts as `!(a == b)`, `not in` as
    /// `!` and `in`.
    struct Condition {
        /// The nodes that it has, as ascending indexes into `tree.nodes()`: more than one if the text repeats the
        /// sub-condition.
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
        /// The walk along the path: the contexts that it goes through, and where it ends. Has no steps if there is no
        /// root.
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
    /// What decides: each minimal set of sub-conditions, as ascending indexes into `conditions`, whose opposite truths
    /// change the value of the text. If `a` and `b` are both false, `a && b` has one such set, that of both. Smaller
    /// sets first. Empty if no sub-condition matters, as in a text that has none. Sub-conditions are told apart by the
    /// text alone: `a.x` and `b.x` are two, also while `a` and `b` refer to one context. Then a set may ask for
    /// opposite truths of both that no write can give them; `flipsOf` proposes only changes that it has verified.
    std::vector<std::vector<std::uint32_t>> deciding;
    /// False if the search was cut off at its limit: sets may then be missing from `deciding`, and some of those there
    /// may not be minimal.
    bool isComplete;
    /// The symbols, in order of their first places in the text.
    std::vector<Symbol> symbols;
};

/// Explains the present value of `text` over the context `root`; null stands for no context. Acquires nothing and
/// affects no expression or engine. *Throws* `gel::ParseError` for a text that does not parse, and what
/// `host::ContextReader` throws. *Cost*: several evaluations; the number of deciding sets is limited to 1,024.
STUDIO_INSPECT_EXPORT Explanation explain(std::string const& text, std::shared_ptr<data::ContextProvider> const& root);

/// Explains the value that `text` has over the context `root` as `reader` reads it, for instance in the past. *Throws*
/// `gel::ParseError` for a text that does not parse, and what `reader` throws.
STUDIO_INSPECT_EXPORT Explanation explain(std::string const& text, boost::uuids::uuid const& root,
                                          host::ContextReader const& reader);

/// Returns a text on one line, in which characters that a terminal obeys or that nobody sees are escaped as `\u{…}`:
/// control characters, line separators, marks of writing direction. A line feed becomes `\n`.
STUDIO_INSPECT_EXPORT std::string printable(std::string_view text);

/// Returns the explanation as lines of text for a programmer: the value, the sets that decide, the tree with the value
/// of each node, and the path of each symbol. At most five sets are listed. In the tree, `>` marks nodes that decide,
/// and `is not needed` those that the evaluation skipped. Control characters are escaped.
STUDIO_INSPECT_EXPORT std::string describe(Explanation const& explanation);

/// Returns the explanation as a JSON object; docs/explanations.md describes its members.
STUDIO_INSPECT_EXPORT std::string json(Explanation const& explanation);

}   // namespace studio::inspect

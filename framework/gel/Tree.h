#pragma once

#include "foundation/Export.h"
#include "gel/DataSource.h"
#include "gel/Value.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace gel {

/// The structure of a parsed text, for tools that show, compare or explain expressions. It is the text's own structure:
/// nothing is computed or simplified, and parentheses appear only as grouping.
/// A counted handle that is never empty: copying shares the tree, moving copies. The tree is immutable, so copies may
/// be read on several threads at once.
class STUDIO_DATA_EXPORT Tree {
public:
    /// What a node is.
    enum class Kind : std::uint8_t {
        Constant,   ///< a number, a logical, a text or `undefined`
        Symbol,
        Pattern,   ///< the right side of `=~`
        Call,      ///< of a function
        Not,
        Negate,   ///< the prefix `-`
        Multiply,
        Divide,
        Remainder,
        Add,
        Subtract,
        Coalesce,   ///< `??`
        Equal,      ///< `==` or `===`
        NotEqual,   ///< `!=` or `!==`
        Less,
        LessOrEqual,
        Greater,
        GreaterOrEqual,
        In,      ///< the parts are the operand, then the items of the list
        NotIn,   ///< as In
        Match,   ///< `=~`; the parts are the operand and a Pattern
        And,
        Or,
        Conditional   ///< `? :`; the parts are the condition and the two branches
    };

    /// A constant, a symbol, a pattern, or an operator or function with its operands.
    /// *Lifetime*: what it refers to lasts as long as the tree.
    struct Node {
        /// What the node is.
        Kind kind;
        /// The symbol as a data source is asked for it; a pattern with slashes and flags; the name of a function; the
        /// spelling of an operator: `==` also for `===`, `not in`, `?:`. Empty for a constant.
        std::string_view name;
        /// The value of a constant.
        Value constant;
        /// The position of its first byte in the text.
        std::size_t offset;
        /// The number of its bytes in the text, from its first to its last token. Parentheses around it do not count,
        /// those around its operands do.
        std::size_t size;
        /// The operands or arguments from left to right, as indexes into `nodes()`.
        std::span<std::uint32_t const> parts;
    };

    /// Parses `text`. *Throws* `ParseError` if it does not parse. *Cost*: linear, without a cache.
    explicit Tree(std::string text);

    Tree(Tree const& other) noexcept;
    Tree& operator=(Tree const& other) noexcept;
    ~Tree();

    /// The parsed text. *Lifetime*: as long as the tree.
    std::string const& text() const noexcept;

    /// All nodes, operands before their operators and from left to right; the last one is the whole expression.
    /// Recursion is not needed to visit them, and not safe: a chain of `&&` may be tens of thousands of nodes deep.
    /// *Lifetime*: as long as the tree.
    std::span<Node const> nodes() const noexcept;

    /// The node of the whole expression. *Lifetime*: as long as the tree.
    Node const& root() const noexcept { return nodes().back(); }

    /// Evaluates the text as `Program::eval` does, with the same look-ups, and returns the value of each node, in the
    /// order of `nodes()`: empty for a node that is not needed, and for a pattern. *Throws* what `source` throws, and
    /// `std::bad_alloc`. *Cost*: an evaluation, and a copy of every value.
    std::vector<std::optional<Value>> trace(DataSource const& source) const;

    /// The part of the text that `node` stands for. *Lifetime*: as long as the tree.
    std::string_view textOf(Node const& node) const noexcept;

private:
    struct Contents;

    std::shared_ptr<Contents const> m_contents;
};

}   // namespace gel

#pragma once

#include "gel/Tree.h"
#include "gel/detail/Operators.h"

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <span>
#include <string_view>
#include <vector>

namespace gel::detail {

/// The bytes of a text from `begin` up to `end`; none by default.
struct Extent {
    std::size_t begin = std::string_view::npos;
    std::size_t end = 0;
};

/// The instructions of a node, from `begin` up to `end`.
struct CodeExtent {
    std::uint32_t begin;
    std::uint32_t end;
};

/// Collects the nodes of a tree while the parser reads its text: a stack of finished operands, from which each operator
/// takes its own.
class TreeBuilder {
public:
    /// *Lifetime*: borrows `text`, as do the nodes.
    explicit TreeBuilder(std::string_view text) : m_text(text) {}
    TreeBuilder(TreeBuilder const&) = delete;
    TreeBuilder& operator=(TreeBuilder const&) = delete;

    // `position` is the index of the instruction behind the code of the node: before it runs, the value of the node is
    // on the top of the stack.

    void constant(Extent extent, Value value, std::uint32_t position);
    void symbol(Extent extent, std::string_view name, std::uint32_t position);
    void pattern(Extent extent, std::uint32_t position);

    /// Makes a node of the last `parts` operands, which reaches from the first to the last of them and over `more`: a
    /// prefix operator, the name of a function, a closing sign.
    void join(Tree::Kind kind, std::size_t parts, std::uint32_t position, Extent more = {},
              std::string_view function = {});

    /// Puts the last operand in parentheses. They belong to the node that takes it.
    void group(Extent parentheses) noexcept { m_operands.back().extent = parentheses; }

    std::span<Tree::Node const> nodes() const noexcept { return m_nodes; }
    /// The code of each node, empty for a pattern. The ends ascend.
    std::span<CodeExtent const> code() const noexcept { return m_code; }

private:
    struct Operand {
        std::uint32_t node;
        Extent extent;   // with its parentheses
    };

    void push(Tree::Kind kind, std::string_view name, Extent extent, CodeExtent code,
              std::span<std::uint32_t const> parts = {});
    /// Copies an array to where it stays as long as the nodes.
    template <class T>
    std::span<T const> keep(std::span<T const> array);

    std::string_view m_text;
    std::pmr::monotonic_buffer_resource m_memory;   // lists of operands, names of quoted symbols
    std::vector<Tree::Node> m_nodes;
    std::vector<CodeExtent> m_code;   // by node
    std::vector<Operand> m_operands;
};

/// The kind of a binary operator, other than `in`, `not in` and `=~`.
Tree::Kind kindOf(Sign sign) noexcept;

}   // namespace gel::detail

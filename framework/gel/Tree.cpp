#include "gel/Tree.h"

#include "gel/detail/Parser.h"
#include "gel/detail/TreeBuilder.h"

#include <utility>

namespace gel {

struct Tree::Contents {
    explicit Contents(std::string parsed) : text(std::move(parsed)), nodes(text) { detail::Parser::parse(text, nodes); }

    std::string text;
    detail::TreeBuilder nodes;
};

Tree::Tree(std::string text) : m_contents(std::make_shared<Contents const>(std::move(text))) {}

Tree::Tree(Tree const& other) noexcept = default;

Tree& Tree::operator=(Tree const& other) noexcept = default;

Tree::~Tree() = default;

std::string const& Tree::text() const noexcept
{
    return m_contents->text;
}

std::span<Tree::Node const> Tree::nodes() const noexcept
{
    return m_contents->nodes.nodes();
}

std::string_view Tree::textOf(Node const& node) const noexcept
{
    return std::string_view(m_contents->text).substr(node.offset, node.size);
}

}   // namespace gel

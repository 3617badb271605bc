#include "gel/Tree.h"

#include "gel/Program.h"
#include "gel/detail/Evaluator.h"
#include "gel/detail/Parser.h"
#include "gel/detail/TreeBuilder.h"

#include <utility>

namespace gel {

struct Tree::Contents {
    explicit Contents(std::string parsed)
        : text(std::move(parsed)), nodes(text), program(detail::Parser::parse(text, nodes))
    {}

    std::string text;
    detail::TreeBuilder nodes;
    Program program;   // unfolded
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

std::vector<std::optional<Value>> Tree::trace(DataSource const& source) const
{
    std::shared_ptr<Contents const> const kept = m_contents;   // a lookup may destroy this handle
    std::vector<std::optional<Value>> values(kept->nodes.nodes().size());
    detail::trace(detail::Instructions::of(kept->program), kept->nodes.code(), source, values);
    return values;
}

std::string_view Tree::textOf(Node const& node) const noexcept
{
    return std::string_view(m_contents->text).substr(node.offset, node.size);
}

}   // namespace gel

#include "gel/detail/TreeBuilder.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace gel::detail {

namespace {

std::string_view spellingOf(Tree::Kind kind) noexcept
{
    using Kind = Tree::Kind;
    switch (kind) {
    case Kind::Constant:
    case Kind::Symbol:
    case Kind::Pattern:
    case Kind::Call: break;
    case Kind::Not: return "!";
    case Kind::Negate:
    case Kind::Subtract: return "-";
    case Kind::Multiply: return "*";
    case Kind::Divide: return "/";
    case Kind::Remainder: return "%";
    case Kind::Add: return "+";
    case Kind::Coalesce: return "??";
    case Kind::Equal: return "==";
    case Kind::NotEqual: return "!=";
    case Kind::Less: return "<";
    case Kind::LessOrEqual: return "<=";
    case Kind::Greater: return ">";
    case Kind::GreaterOrEqual: return ">=";
    case Kind::In: return "in";
    case Kind::NotIn: return "not in";
    case Kind::Match: return "=~";
    case Kind::And: return "&&";
    case Kind::Or: return "||";
    case Kind::Conditional: return "?:";
    }
    return {};
}

}   // namespace

void TreeBuilder::constant(Extent extent, Value value, std::uint32_t position)
{
    push(Tree::Kind::Constant, {}, extent, {position - 1, position});
    m_nodes.back().constant = std::move(value);
}

void TreeBuilder::symbol(Extent extent, std::string_view name, std::uint32_t position)
{
    std::span<char const> const kept = keep(std::span<char const>(name));
    push(Tree::Kind::Symbol, {kept.data(), kept.size()}, extent, {position - 1, position});
}

void TreeBuilder::pattern(Extent extent, std::uint32_t position)
{
    push(Tree::Kind::Pattern, m_text.substr(extent.begin, extent.end - extent.begin), extent, {position, position});
}

void TreeBuilder::join(Tree::Kind kind, std::size_t parts, std::uint32_t position, Extent more,
                       std::string_view function)
{
    auto const first = m_operands.end() - static_cast<std::ptrdiff_t>(parts);
    Extent const extent{std::min(more.begin, first->extent.begin), std::max(more.end, m_operands.back().extent.end)};
    std::vector<std::uint32_t> indexes;
    for (auto operand = first; operand != m_operands.end(); ++operand)
        indexes.push_back(operand->node);
    m_operands.erase(first, m_operands.end());
    push(kind, kind == Tree::Kind::Call ? function : spellingOf(kind), extent,
         {m_code[indexes.front()].begin, position}, keep(std::span<std::uint32_t const>(indexes)));
}

void TreeBuilder::push(Tree::Kind kind, std::string_view name, Extent extent, CodeExtent code,
                       std::span<std::uint32_t const> parts)
{
    m_code.push_back(code);
    m_operands.push_back({static_cast<std::uint32_t>(m_nodes.size()), extent});
    m_nodes.push_back({kind, name, {}, extent.begin, extent.end - extent.begin, parts});
}

template <class T>
std::span<T const> TreeBuilder::keep(std::span<T const> array)
{
    auto* const kept = static_cast<T*>(m_memory.allocate(array.size_bytes(), alignof(T)));
    std::copy(array.begin(), array.end(), kept);
    return {kept, array.size()};
}

Tree::Kind kindOf(Sign sign) noexcept
{
    using Kind = Tree::Kind;
    switch (sign) {
    case Sign::Identical:
    case Sign::Equal: return Kind::Equal;
    case Sign::NotIdentical:
    case Sign::NotEqual: return Kind::NotEqual;
    case Sign::LessOrEqual: return Kind::LessOrEqual;
    case Sign::Less: return Kind::Less;
    case Sign::GreaterOrEqual: return Kind::GreaterOrEqual;
    case Sign::Greater: return Kind::Greater;
    case Sign::And: return Kind::And;
    case Sign::Or: return Kind::Or;
    case Sign::Coalesce: return Kind::Coalesce;
    case Sign::Plus: return Kind::Add;
    case Sign::Minus: return Kind::Subtract;
    case Sign::Times: return Kind::Multiply;
    case Sign::Over: return Kind::Divide;
    default: return Kind::Remainder;
    }
}

}   // namespace gel::detail

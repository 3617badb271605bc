#include "studio/inspect/detail/Conditions.h"

#include "gel/Eval.h"
#include "studio/inspect/detail/Values.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace studio::inspect::detail {

using Kind = gel::Tree::Kind;

namespace {

/// True for operators that combine sub-conditions and are none themselves.
constexpr bool isConnective(Kind kind) noexcept
{
    return kind == Kind::Not || kind == Kind::And || kind == Kind::Or || kind == Kind::NotEqual || kind == Kind::NotIn;
}

/// True for operators whose operands have to be looked at when the operator's value counts.
constexpr bool isComputation(Kind kind) noexcept
{
    switch (kind) {
    case Kind::Call:
    case Kind::Negate:
    case Kind::Multiply:
    case Kind::Divide:
    case Kind::Remainder:
    case Kind::Add:
    case Kind::Subtract:
    case Kind::Coalesce: return true;
    default: return false;
    }
}

/// The values of operands, under the names `p0`, `p1` and so on.
class OperandSource final : public gel::DataSource {
public:
    explicit OperandSource(std::span<gel::Value const> given) noexcept : operands{given} {}
    gel::Value lookup(std::string const& symbol) const override { return operands[std::stoul(symbol.substr(1))]; }

private:
    std::span<gel::Value const> operands;
};

/// Returns the text of an operator or function over the operands `p0`, `p1` and so on.
std::string overOperands(gel::Tree::Node const& node)
{
    if (node.kind == Kind::Negate)
        return "-p0";
    bool const isCall = node.kind == Kind::Call;
    std::string text = isCall ? std::string{node.name} + '(' : "";
    for (std::size_t part = 0; part != node.parts.size(); ++part) {
        if (part != 0)
            text += isCall ? std::string{", "} : ' ' + std::string{node.name} + ' ';
        text += 'p' + std::to_string(part);
    }
    return isCall ? text + ')' : text;
}

}   // namespace

Conditions::Conditions(gel::Tree const& parsed, std::span<std::optional<gel::Value> const> traced,
                       gel::DataSource const& read, host::Meanings::Numbers const& meanings)
    : tree{parsed}, values{traced}, known{traced.begin(), traced.end()}, source{read}, normal{meanings}
{
    symbols.reserve(tree.nodes().size());
    for (gel::Tree::Node const& node : tree.nodes())
        symbols.push_back(node.kind == Kind::Symbol ||
                          std::any_of(node.parts.begin(), node.parts.end(), [&](auto part) { return symbols[part]; }));
    assignRoles();
    findConditions();
    combine();
}

/// Visits the nodes from the root to the operands: operands have smaller indexes than their operators.
void Conditions::assignRoles()
{
    roles.resize(tree.nodes().size());
    roles.back() = Role::Value;
    for (auto node = static_cast<std::uint32_t>(roles.size()); node-- != 0;) {
        Role& role = roles[node];
        if (role == Role::Unused)
            continue;
        Kind const kind = at(node).kind;
        bool const isChoice = kind == Kind::Conditional;
        if (role == Role::Value && !isChoice && valueOf(node).isLogical())
            role = Role::Truth;
        if (!hasSymbol(node))
            continue;   // a constant
        if (role == Role::Truth && !isConnective(kind) && !isChoice)
            role = Role::Condition;
        if (role == Role::Condition || kind == Kind::NotEqual || kind == Kind::NotIn ||
            (role == Role::Value && !isChoice && !isComputation(kind)))
            continue;
        for (std::size_t part = 0; part != at(node).parts.size(); ++part) {
            bool const inherits = isChoice ? part != 0 : role == Role::Value;
            roles[at(node).parts[part]] = inherits ? role : Role::Truth;
        }
    }
}

void Conditions::findConditions()
{
    std::unordered_map<std::uint32_t, std::uint32_t> byMeaning;
    numbers.resize(roles.size());
    for (std::uint32_t node = 0; node != roles.size(); ++node) {
        Kind const kind = at(node).kind;
        bool const isNegated = kind == Kind::NotEqual || kind == Kind::NotIn;
        if (roles[node] != Role::Condition && !(roles[node] == Role::Truth && isNegated && hasSymbol(node)))
            continue;
        auto const [found, isNew] =
            byMeaning.try_emplace(normal.truth[node] / 2, static_cast<std::uint32_t>(conditions.size()));
        numbers[node] = found->second;
        if (isNew)
            conditions.push_back({{}, truthOf(valueOf(node)) != isNegated, false});
        conditions[found->second].nodes.push_back(node);
        conditions[found->second].isNeeded |= values[node].has_value();
    }
}

void Conditions::combine()
{
    all.resize(roles.size());
    for (std::uint32_t node = 0; node != roles.size(); ++node)
        if (roles[node] != Role::Unused)
            all[node] = outcomesOf(node);
}

Outcomes Conditions::outcomesOf(std::uint32_t node)
{
    gel::Tree::Node const& its = at(node);
    auto const part = [&](std::size_t index) { return std::move(all[its.parts[index]]); };
    if (!hasSymbol(node))
        return Outcomes::fixed(valueOf(node));
    bool const isNegated = its.kind == Kind::NotEqual || its.kind == Kind::NotIn;
    if (roles[node] == Role::Condition || (roles[node] == Role::Truth && isNegated)) {
        Explanation::Condition const& condition = conditions[numbers[node]];
        Outcomes result = Outcomes::condition(numbers[node], condition.holds, condition.nodes.size() > 1);
        if (isNegated)
            return Outcomes::negation(std::move(result));
        return result;
    }
    switch (its.kind) {
    case Kind::Not: return Outcomes::negation(part(0));
    case Kind::And: return Outcomes::conjunction(part(0), part(1), effort);
    case Kind::Or: return Outcomes::disjunction(part(0), part(1), effort);
    case Kind::Conditional: return Outcomes::choice(part(0), part(1), part(2), effort);
    default: break;
    }
    if (!isComputation(its.kind))
        return Outcomes::fixed(valueOf(node));
    if (effort.left == 0)
        return Outcomes::fixed(valueOf(node), false);
    std::vector<Outcomes> operands;
    for (std::size_t index = 0; index != its.parts.size(); ++index)
        operands.push_back(part(index));
    std::string const text = overOperands(its);
    return Outcomes::operation(
        operands, [&](std::span<gel::Value const> given) { return gel::eval(text, OperandSource{given}); }, effort);
}

gel::Value const& Conditions::valueOf(std::uint32_t node)
{
    if (!known[node]) {   // skipped in the evaluation: the nodes of this part are evaluated together
        gel::Tree const part{std::string{tree.textOf(at(node))}};
        std::vector<std::optional<gel::Value>> traced = part.trace(source);
        std::move(traced.begin(), traced.end(), known.begin() + static_cast<std::ptrdiff_t>(node + 1 - traced.size()));
    }
    return *known[node];
}

}   // namespace studio::inspect::detail

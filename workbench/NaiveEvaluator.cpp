#include "workbench/NaiveEvaluator.h"

#include "gel/DataSource.h"
#include "gel/Eval.h"

#include <cmath>
#include <string_view>
#include <utility>

namespace workbench {

using gel::Value;
using Kind = gel::Tree::Kind;

namespace {

bool truth(Value const& value)
{
    if (value.isString())
        return !value.getString().empty();
    return value.isNumeric() && value.getNumeric() != 0;
}

/// Undefined instead of NaN, and of an infinity that finite operands yield; 0 instead of -0.
Value sane(double result, bool fromFinite)
{
    if (std::isnan(result) || (std::isinf(result) && fromFinite))
        return {};
    return result == 0 ? 0.0 : result;
}

class Operands final : public gel::DataSource {
public:
    explicit Operands(std::vector<Value> const& values) : values{values} {}
    Value lookup(std::string const& symbol) const override { return values[std::stoul(symbol.substr(1))]; }

private:
    std::vector<Value> const& values;
};

/// Leaves one operation to the library: the text names its operands `v0`, `v1` ...
Value byLibrary(std::string const& text, std::vector<Value> const& operands)
{
    return gel::eval(text, Operands{operands});
}

std::string text(Value const& value)
{
    if (value.isString())
        return value.getString();
    if (value.isLogical())
        return value.getBool() ? "true" : "false";
    double const number = value.getDouble();
    if (std::isinf(number))
        return number < 0 ? "-Infinity" : "Infinity";
    if (std::abs(number) > 1e15 || std::floor(number) != number)
        return byLibrary("text(v0)", {value}).getString();
    return std::to_string(static_cast<long long>(number));
}

bool isOrdered(Kind kind, Value const& left, Value const& right)
{
    bool const numeric = left.isNumeric() && right.isNumeric();
    if (!numeric && !(left.isString() && right.isString()))
        return false;
    int const order = numeric ? (left.getNumeric() > right.getNumeric()) - (left.getNumeric() < right.getNumeric())
                              : left.getString().compare(right.getString());
    if (order == 0)
        return kind == Kind::LessOrEqual || kind == Kind::GreaterOrEqual;
    return (order < 0) == (kind == Kind::Less || kind == Kind::LessOrEqual);
}

Value arithmetic(Kind kind, Value const& left, Value const& right)
{
    if (kind == Kind::Add && (left.isString() || right.isString()))
        return left.isUndefined() || right.isUndefined() ? Value{} : Value{text(left) + text(right)};
    if (!left.isNumeric() || !right.isNumeric())
        return {};
    double const a = left.getNumeric();
    double const b = right.getNumeric();
    double const result = kind == Kind::Add        ? a + b
                          : kind == Kind::Subtract ? a - b
                          : kind == Kind::Multiply ? a * b
                          : kind == Kind::Divide   ? a / b
                                                   : std::fmod(a, b);
    return sane(result, std::isfinite(a) && std::isfinite(b));
}

}   // namespace

Value NaiveEvaluator::evaluate(gel::Tree const& tree)
{
    evaluated = &tree;
    found.resize(tree.nodes().size());
    return valueOf(static_cast<std::uint32_t>(tree.nodes().size() - 1));
}

/// Every operator begins with its first operand: down to the first operand of all, and back up. Only other operands
/// recurse, so that a long chain of operators does not.
Value NaiveEvaluator::valueOf(std::uint32_t index)
{
    std::vector<std::uint32_t> operators;
    auto const nodes = evaluated->nodes();
    for (; !nodes[index].parts.empty(); index = nodes[index].parts[0])
        operators.push_back(index);
    Node const& first = nodes[index];
    Value value = first.kind == Kind::Symbol ? fetched(std::string{first.name}) : first.constant;
    found[index] = value;
    for (; !operators.empty(); operators.pop_back()) {
        value = applied(nodes[operators.back()], std::move(value));
        found[operators.back()] = value;
    }
    return value;
}

Value NaiveEvaluator::applied(Node const& node, Value left)
{
    auto const part = [&](std::size_t index) { return valueOf(node.parts[index]); };
    switch (node.kind) {
    case Kind::Conditional: return part(truth(left) ? 1 : 2);
    case Kind::And: return truth(left) && truth(part(1));
    case Kind::Or: return truth(left) || truth(part(1));
    case Kind::Coalesce: return left.isUndefined() ? part(1) : left;
    case Kind::Not: return !truth(left);
    case Kind::Negate: return left.isNumeric() ? sane(-left.getNumeric(), false) : Value{};
    case Kind::Equal: return left == part(1);
    case Kind::NotEqual: return !(left == part(1));
    case Kind::Less:
    case Kind::LessOrEqual:
    case Kind::Greater:
    case Kind::GreaterOrEqual: return isOrdered(node.kind, left, part(1));
    case Kind::Match:
        return byLibrary("v0 =~ " + std::string{evaluated->nodes()[node.parts[1]].name}, {std::move(left)});
    case Kind::In:
    case Kind::NotIn:
        for (std::size_t index = 1; index < node.parts.size(); ++index)
            if (part(index) == left)
                return node.kind == Kind::In;
        return node.kind != Kind::In;
    case Kind::Call: {
        std::string call{node.name};
        std::vector<Value> arguments{std::move(left)};
        call += "(v0";
        for (std::size_t index = 1; index < node.parts.size(); ++index) {
            arguments.push_back(part(index));
            call += ", v" + std::to_string(index);
        }
        return byLibrary(call + ')', arguments);
    }
    default: return arithmetic(node.kind, left, part(1));
    }
}

Value NaiveEvaluator::fetched(std::string const& symbol)
{
    if (auto const before = known.find(symbol); before != known.end())
        return before->second;
    asked.push_back(symbol);
    Value value = lookUp(symbol);
    if (value.isDouble())
        value = sane(value.getDouble(), false);
    return known[symbol] = value;
}

}   // namespace workbench

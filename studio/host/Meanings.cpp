#include "studio/host/Meanings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <utility>

namespace studio::host {

using Kind = gel::Tree::Kind;

namespace {

/// Returns a key that is unique for a kind, name and list of numbers.
class Key {
public:
    explicit Key(Kind kind, char role = 'v', std::string_view name = {}) : text{role}
    {
        text += static_cast<char>(kind);
        text += name;
        text += '\0';   // names hold none, and nothing follows a constant
    }
    Key& add(std::uint32_t number)
    {
        text += std::to_string(number) + ',';
        return *this;
    }
    std::string take() { return std::move(text); }

private:
    std::string text;
};

/// Returns a text that no other constant has.
std::string constantKey(gel::Value const& value)
{
    if (value.isString())
        return '\'' + value.getString();
    if (value.isLogical())
        return value.getBool() ? "true" : "false";
    std::array<char, 32> digits{};
    if (value.isDouble())   // the shortest digits that read back to the number
        return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value.getDouble()).ptr};
    return {};
}

}   // namespace

Meanings::Meanings(Meanings const* known) noexcept
    : base{known}, first{known ? known->first + static_cast<std::uint32_t>(known->numbers.size()) : 0}
{}

std::uint32_t Meanings::numberOf(std::string key)
{
    for (Meanings const* table = base; table; table = table->base)
        if (auto const found = table->numbers.find(key); found != table->numbers.end())
            return found->second;
    auto const next = first + static_cast<std::uint32_t>(numbers.size());
    return numbers.try_emplace(std::move(key), next).first->second;
}

Meanings::Numbers Meanings::add(gel::Tree const& tree)
{
    Numbers all;
    for (gel::Tree::Node const& node : tree.nodes()) {
        auto const value = [&](std::size_t part) { return all.value[node.parts[part]]; };
        auto const truth = [&](std::size_t part) { return all.truth[node.parts[part]]; };
        auto const listOf = [&](Kind kind, auto const& number) {
            Key key{kind, 'v', node.name};
            for (std::size_t part = 0; part != node.parts.size(); ++part)
                key.add(number(part));
            return numberOf(key.take());
        };
        auto const pair = [&](Kind kind, std::uint32_t left, std::uint32_t right) {
            return numberOf(Key{kind}.add(left).add(right).take());
        };
        auto const addTruth = [&](std::uint32_t condition) {   // of an operator that yields a logical
            all.truth.push_back(condition);
            all.value.push_back(numberOf(Key{Kind::Not, 't'}.add(condition).take()));
        };
        auto const addValue = [&](std::uint32_t number) {
            all.value.push_back(number);
            all.truth.push_back(2 * number);
        };
        switch (node.kind) {
        case Kind::Not: addTruth(truth(0) ^ 1U); break;
        case Kind::Equal:
        case Kind::NotEqual:
            addTruth(2 * pair(Kind::Equal, std::min(value(0), value(1)), std::max(value(0), value(1))) +
                     (node.kind == Kind::NotEqual ? 1U : 0U));
            break;
        case Kind::In:
        case Kind::NotIn: {
            Key key{Kind::In};
            for (std::size_t part = 0; part != node.parts.size(); ++part)
                key.add(value(part));
            addTruth(2 * numberOf(key.take()) + (node.kind == Kind::NotIn ? 1U : 0U));
            break;
        }
        case Kind::Less:
        case Kind::LessOrEqual: addTruth(2 * pair(node.kind, value(0), value(1))); break;
        case Kind::Greater: addTruth(2 * pair(Kind::Less, value(1), value(0))); break;
        case Kind::GreaterOrEqual: addTruth(2 * pair(Kind::LessOrEqual, value(1), value(0))); break;
        case Kind::Match: addTruth(2 * pair(node.kind, value(0), value(1))); break;
        case Kind::And:
        case Kind::Or: addTruth(2 * listOf(node.kind, truth)); break;
        case Kind::Conditional:
            all.value.push_back(numberOf(Key{node.kind}.add(truth(0)).add(value(1)).add(value(2)).take()));
            all.truth.push_back(2 * numberOf(Key{node.kind, 't'}.add(truth(0)).add(truth(1)).add(truth(2)).take()));
            break;
        case Kind::Constant: addValue(numberOf(Key{node.kind, 'v', constantKey(node.constant)}.take())); break;
        case Kind::Symbol:
        case Kind::Pattern:
        case Kind::Call:
        case Kind::Negate:
        case Kind::Multiply:
        case Kind::Divide:
        case Kind::Remainder:
        case Kind::Add:
        case Kind::Subtract:
        case Kind::Coalesce: addValue(listOf(node.kind, value)); break;
        }
    }
    return all;
}

}   // namespace studio::host

#include "studio/host/Schema.h"

#include "gel/Tree.h"
#include "studio/host/SimilarName.h"
#include "studio/host/detail/Messages.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>

namespace studio::host {

using data::PropertyValue;
using detail::inQuotes;
using gel::Tree;
using Kind = Tree::Kind;

namespace {

/// The kinds that a value may have, as a set of bits.
enum Kinds : unsigned { NOTHING = 0, UNDEFINED = 1, NUMBER = 2, LOGICAL = 4, TEXT = 8, ANY = 15 };

constexpr Kinds operator|(Kinds left, Kinds right) noexcept
{
    return static_cast<Kinds>(static_cast<unsigned>(left) | static_cast<unsigned>(right));
}

Kinds kindsOf(KeyKind kind) noexcept
{
    switch (kind) {
    case KeyKind::Logical: return LOGICAL | UNDEFINED;   // the property may be absent
    case KeyKind::Number: return NUMBER | UNDEFINED;
    case KeyKind::Text:
    case KeyKind::Context: break;   // a reference is read as text
    }
    return TEXT | UNDEFINED;
}

Kinds kindsOf(gel::Value const& value) noexcept
{
    if (value.isUndefined())
        return UNDEFINED;
    return value.isDouble() ? NUMBER : value.isLogical() ? LOGICAL : TEXT;
}

Kinds resultOf(std::string_view function) noexcept
{
    static constexpr std::array<std::string_view, 5> TESTS{"contains", "startsWith", "endsWith", "like", "hasItem"};
    static constexpr std::array<std::string_view, 4> TEXTS{"lower", "upper", "trim", "text"};
    if (function == "defined" || std::count(TESTS.begin(), TESTS.end(), function) != 0)
        return LOGICAL;
    return (std::count(TEXTS.begin(), TEXTS.end(), function) != 0 ? TEXT : NUMBER) | UNDEFINED;
}

}   // namespace

/// One pass over the nodes of a text, operands first.
class Schema::Checker {
public:
    Checker(Schema const& known, Tree const& parsed) : schema{known}, tree{parsed}
    {
        for (Tree::Node const& node : tree.nodes())
            kinds.push_back(kindsOfNode(node));
        std::stable_sort(problems.begin(), problems.end(),
                         [](Problem const& left, Problem const& right) { return left.offset < right.offset; });
    }

    std::vector<Problem> problems;

private:
    Kinds kindsOfPart(Tree::Node const& node, std::size_t part) const { return kinds[node.parts[part]]; }
    Tree::Node const& partOf(Tree::Node const& node, std::size_t part) const { return tree.nodes()[node.parts[part]]; }
    void report(Tree::Node const& node, std::string message)
    {
        problems.push_back({std::move(message), node.offset, node.size});
    }

    Kinds kindsOfNode(Tree::Node const& node)
    {
        switch (node.kind) {
        case Kind::Constant: return host::kindsOf(node.constant);
        case Kind::Symbol: return kindsOfSymbol(node);
        case Kind::Pattern: return TEXT;
        case Kind::Call: return resultOf(node.name);
        case Kind::Add:
            // A text on either side makes a text, anything undefined makes undefined.
            return sumOf(kindsOfPart(node, 0), kindsOfPart(node, 1));
        case Kind::Negate:
        case Kind::Subtract:
        case Kind::Multiply:
        case Kind::Divide:
        case Kind::Remainder: return NUMBER | UNDEFINED;
        case Kind::Coalesce: {
            Kinds const left = kindsOfPart(node, 0);
            return (left & UNDEFINED) == 0 ? left : Kinds(left & ~UNDEFINED) | kindsOfPart(node, 1);
        }
        case Kind::Conditional: return kindsOfPart(node, 1) | kindsOfPart(node, 2);
        case Kind::In:
        case Kind::NotIn:
            for (std::size_t item = 1; item != node.parts.size(); ++item)
                checkEqual(node, item);
            return LOGICAL;
        case Kind::Equal:
        case Kind::NotEqual: checkEqual(node, 1); return LOGICAL;
        case Kind::Less:
        case Kind::LessOrEqual:
        case Kind::Greater:
        case Kind::GreaterOrEqual: checkOrder(node); return LOGICAL;
        case Kind::Match:
        case Kind::Not:
        case Kind::And:
        case Kind::Or: break;
        }
        return LOGICAL;
    }

    static Kinds sumOf(Kinds left, Kinds right) noexcept
    {
        Kinds result = UNDEFINED;
        if (((left | right) & TEXT) != 0)
            result = result | TEXT;
        if ((left & (NUMBER | LOGICAL)) != 0 && (right & (NUMBER | LOGICAL)) != 0)
            result = result | NUMBER;
        return result;
    }

    Kinds kindsOfSymbol(Tree::Node const& node)
    {
        if (KeyDescription const* const key = schema.find(node.name))
            return host::kindsOf(key->kind);
        SimilarName similar{node.name};
        for (auto const& entry : schema.keys)
            similar.add(entry.first);
        report(node, "unknown name " + inQuotes(node.name) + similar.question());
        return ANY;
    }

    /// Checks the first part of a node against another one.
    void checkEqual(Tree::Node const& node, std::size_t other)
    {
        if ((kindsOfPart(node, 0) & kindsOfPart(node, other)) == 0)
            return report(node, std::string{tree.textOf(partOf(node, 0))} + " is never equal to " +
                                    std::string{tree.textOf(partOf(node, other))} + ": they are of different kinds");
        checkAllowed(node, partOf(node, 0), partOf(node, other));
        checkAllowed(node, partOf(node, other), partOf(node, 0));
    }
    /// The constant that a node stands for, a negative number too; undefined for any other node.
    gel::Value constantOf(Tree::Node const& node) const
    {
        if (node.kind == Kind::Constant)
            return node.constant;
        bool const isNegated = node.kind == Kind::Negate && partOf(node, 0).constant.isDouble();
        return isNegated ? gel::Value{-partOf(node, 0).constant.getDouble()} : gel::Value{};
    }
    void checkAllowed(Tree::Node const& node, Tree::Node const& symbol, Tree::Node const& constant)
    {
        gel::Value const wanted = constantOf(constant);
        if (symbol.kind != Kind::Symbol || wanted.isUndefined())
            return;
        KeyDescription const* const key = schema.find(symbol.name);
        if (!key || key->allowed.empty())
            return;
        PropertyValue const value = wanted.isString()    ? PropertyValue{wanted.getString()}
                                    : wanted.isLogical() ? PropertyValue{wanted.getBool()}
                                                         : PropertyValue{wanted.getDouble()};
        auto const isRead = [&](PropertyValue const& allowed) {   // a reference is read as text
            return allowed.isUUID() ? value == PropertyValue{allowed.asString()} : value == allowed;
        };
        if (std::any_of(key->allowed.begin(), key->allowed.end(), isRead))
            return;
        std::string message = inQuotes(symbol.name) + " is never " + std::string{tree.textOf(constant)} + "; it may be";
        char const* separator = " ";
        for (PropertyValue const& each : key->allowed) {
            message +=
                std::exchange(separator, ", ") + (each.isString() ? inQuotes(each.getString()) : each.asString());
        }
        report(node, std::move(message));
    }
    void checkOrder(Tree::Node const& node)
    {
        Kinds const left = kindsOfPart(node, 0);
        Kinds const right = kindsOfPart(node, 1);
        bool const areNumbers = (left & (NUMBER | LOGICAL)) != 0 && (right & (NUMBER | LOGICAL)) != 0;
        bool const areTexts = (left & right & TEXT) != 0;
        if (!areNumbers && !areTexts)
            report(node, std::string{tree.textOf(node)} + " is never true: its sides have no order");
    }

    Schema const& schema;
    Tree const& tree;
    std::vector<Kinds> kinds;   // by node
};

void Schema::add(KeyDescription const& key, std::string_view at)
{
    KeyFunctions::refuseBadDescription(key);
    if (!at.empty() && (at.front() == '.' || at.back() == '.' || at.find("..") != at.npos))
        throw std::invalid_argument{"the path " + inQuotes(at) + " has an empty name"};
    std::string const path = at.empty() ? key.name : std::string{at} + '.' + key.name;
    std::map<std::string, KeyDescription, std::less<>> added;
    for (std::size_t dot = at.find('.'); !at.empty(); dot = at.find('.', dot + 1)) {
        std::string const context{at.substr(0, dot)};
        if (KeyDescription const* const known = find(context); known && known->kind != KeyKind::Context)
            throw std::invalid_argument{inQuotes(context) + " is declared, and not as a context"};
        added.try_emplace(context,
                          KeyDescription{context.substr(context.rfind('.') + 1), KeyKind::Context, {}, {}, {}});
        if (dot == at.npos)
            break;
    }
    KeyDescription const* const known = find(path);
    if (known && known->kind != key.kind)
        throw std::invalid_argument{inQuotes(path) + " is declared already, with another kind"};
    added.insert_or_assign(path, key);
    if (known)
        keys.insert_or_assign(path, key);
    keys.merge(added);
}

KeyDescription const* Schema::find(std::string_view path) const
{
    auto const found = keys.find(path);
    return found == keys.end() ? nullptr : &found->second;
}

std::vector<Schema::Problem> Schema::check(std::string const& text) const
{
    Tree const tree{text};
    return Checker{*this, tree}.problems;
}

void Schema::require(std::string const& text) const
{
    std::string message;
    for (Problem const& problem : check(text))
        message += (message.empty() ? "" : "\n") + problem.message;
    if (!message.empty())
        throw std::invalid_argument{message};
}

std::string Schema::json() const
{
    auto const jsonOf = [](PropertyValue const& value) -> nlohmann::json {
        if (value.isString())
            return value.getString();
        if (value.isLogical())
            return value.getBool();
        if (value.isUUID())
            return value.asString();
        return value.isDouble() ? nlohmann::json(value.getDouble()) : nlohmann::json{};
    };
    static constexpr std::array<char const*, 4> KINDS{"logical", "number", "text", "context"};
    nlohmann::json document = nlohmann::json::object();
    for (auto const& [path, key] : keys) {
        nlohmann::json& entry = document[path];
        entry = {{"kind", KINDS[static_cast<std::size_t>(key.kind)]}, {"description", key.description}};
        if (key.kind != KeyKind::Context)
            entry["default"] = jsonOf(key.defaultValue);
        for (PropertyValue const& value : key.allowed)
            entry["allowed"].push_back(jsonOf(value));
    }
    return document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

}   // namespace studio::host

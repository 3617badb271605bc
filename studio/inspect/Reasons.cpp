#include "studio/inspect/Reasons.h"

#include "gel/Eval.h"
#include "studio/host/Meanings.h"
#include "studio/host/Subscriptions.h"
#include "studio/inspect/Explanation.h"
#include "studio/inspect/detail/Conditions.h"
#include "studio/inspect/detail/Values.h"

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace studio::inspect {

using detail::literal;
using detail::truthOf;
using gel::Tree;
using Kind = Tree::Kind;

namespace {

constexpr std::uint32_t NONE = ~std::uint32_t{0};

bool isNegated(Tree::Node const& node) noexcept
{
    return node.kind == Kind::NotEqual || node.kind == Kind::NotIn;
}

/// Replaces each expression in braces by what `shown` returns for it. *Throws* `std::invalid_argument` for a brace that
/// is not closed.
template <class Shown>
std::string withExpressions(std::string const& sentence, Shown const& shown)
{
    std::string result;
    for (std::size_t at = 0; at != sentence.size();) {
        if (sentence[at] != '{') {
            result += sentence[at++];
            continue;
        }
        if (sentence.compare(at, 2, "{{") == 0) {
            result += '{';
            at += 2;
            continue;
        }
        std::size_t const end = sentence.find('}', at);
        if (end == std::string::npos)
            throw std::invalid_argument{"a brace in a sentence is not closed: " + sentence};
        result += shown(sentence.substr(at + 1, end - at - 1));
        at = end + 1;
    }
    return result;
}

/// The truths of the nodes that combine sub-conditions, and of these; false for all others.
std::vector<bool> truthsOf(Explanation const& explanation)
{
    auto const nodes = explanation.tree.nodes();
    std::vector<bool> truths(nodes.size());
    for (Explanation::Condition const& condition : explanation.conditions)
        for (std::uint32_t const node : condition.nodes)
            truths[node] = condition.holds != isNegated(nodes[node]);
    for (std::uint32_t node = 0; node != nodes.size(); ++node) {
        auto const part = [&](std::size_t index) { return truths[nodes[node].parts[index]]; };
        if (explanation.values[node])
            truths[node] = truthOf(*explanation.values[node]);
        else if (nodes[node].kind == Kind::Not)
            truths[node] = !part(0);
        else if (nodes[node].kind == Kind::And)
            truths[node] = part(0) && part(1);
        else if (nodes[node].kind == Kind::Or)
            truths[node] = part(0) || part(1);
        else if (nodes[node].kind == Kind::Conditional)
            truths[node] = part(0) ? part(1) : part(2);
        else if (nodes[node].kind == Kind::Constant)
            truths[node] = truthOf(nodes[node].constant);
    }
    return truths;
}

/// Returns what is shown for a condition without a sentence.
std::string withoutSentence(Reasons::Fallback const& fallback, Explanation const& explanation, std::uint32_t node,
                            std::uint32_t parent, bool holds)
{
    Tree const& tree = explanation.tree;
    Tree::Node const& its = tree.nodes()[node];
    std::string condition{tree.textOf(its)};
    if (holds && parent != NONE && tree.nodes()[parent].kind == Kind::Not)
        condition = tree.textOf(tree.nodes()[parent]);
    else if (holds)
        condition = its.kind == Kind::Symbol ? '!' + condition : "!(" + condition + ')';
    if (fallback)
        return fallback(condition);
    std::string values;
    if (its.kind != Kind::Symbol)
        for (std::string const& symbol : gel::symbols(condition))
            for (Explanation::Symbol const& known : explanation.symbols)
                if (known.path == symbol)
                    values += (values.empty() ? " (" : ", ") + symbol + " is " + literal(known.walk.value);
    return "needs " + condition + (values.empty() ? "" : values + ')');
}

}   // namespace

struct Reasons::Table {
    host::Meanings meanings;
    std::unordered_map<std::uint32_t, std::string> sentences;   // by the condition that has to hold
};

Reasons::Reasons(std::shared_ptr<data::ContextProvider> explained)
    : root{std::move(explained)}, table{std::make_unique<Table>()}
{}

Reasons::Reasons(Reasons&& other) noexcept = default;
Reasons& Reasons::operator=(Reasons&& other) noexcept = default;
Reasons::~Reasons() = default;

void Reasons::add(std::string const& condition, std::string sentence)
{
    Tree const tree{condition};
    withExpressions(sentence, [](std::string const& text) { return Tree{text}.text(); });   // throws for a bad one
    table->sentences.insert_or_assign(table->meanings.add(tree).truth.back(), std::move(sentence));
}

void Reasons::translate(Translation function)
{
    translation = std::move(function);
}

void Reasons::otherwise(Fallback function)
{
    fallback = std::move(function);
}

std::vector<std::string> Reasons::reasonFor(std::string const& text) const
{
    Explanation const explanation = explain(text, root);
    Translation const translate = translation;   // copies: the functions of the host may set others
    Fallback const other = fallback;
    std::vector<std::string> reasons;
    if (truthOf(explanation.value))
        return reasons;
    Tree const& tree = explanation.tree;
    auto const nodes = tree.nodes();
    host::Meanings meanings{&table->meanings};
    host::Meanings::Numbers const numbers = meanings.add(tree);
    host::ContextReader const reader;
    detail::ReaderSource const source{reader, root ? root->getId() : boost::uuids::uuid{}};
    auto const shown = [&](std::string const& expression) {
        return host::shown(detail::propertyValue(gel::eval(expression, source)));
    };
    std::vector<bool> const truths = truthsOf(explanation);
    std::vector<std::uint32_t> parent(nodes.size(), NONE);
    for (std::uint32_t node = 0; node != nodes.size(); ++node)
        for (std::uint32_t const part : nodes[node].parts)
            parent[part] = node;
    std::vector<bool> decides(explanation.conditions.size());
    detail::Conditions const parts{tree, explanation.values, source, numbers};
    auto const sets = parts.outcomes().setsThatMake(true);
    for (auto const& set : sets)
        for (std::uint32_t const number : set)
            decides[number] = true;

    std::map<std::size_t, std::string> found;   // by position in the text
    std::set<std::string> known;
    auto const add = [&](std::uint32_t condition) {
        // What has to hold is the opposite of what holds now, of the condition and of all that encloses it.
        auto outermost = table->sentences.end();
        std::uint32_t where = condition;
        for (std::uint32_t node = condition; node != NONE; node = parent[node]) {
            auto const its = table->sentences.find(numbers.truth[node] ^ (truths[node] ? 1U : 0U));
            if (its != table->sentences.end()) {
                outermost = its;
                where = node;
            }
        }
        std::string sentence;
        if (outermost != table->sentences.end())
            sentence = withExpressions(translate ? translate(outermost->second) : outermost->second, shown);
        else
            sentence = withoutSentence(other, explanation, condition, parent[condition], truths[condition]);
        if (!sentence.empty() && known.insert(sentence).second)
            found.emplace(nodes[where].offset, std::move(sentence));
    };
    for (std::size_t number = 0; number != decides.size(); ++number)
        if (decides[number])
            for (std::uint32_t const condition : explanation.conditions[number].nodes)
                add(condition);
    if (sets.empty())   // the whole text has to hold, as of a property that is absent
        add(static_cast<std::uint32_t>(nodes.size() - 1));
    for (auto& entry : found)
        reasons.push_back(std::move(entry.second));
    return reasons;
}

}   // namespace studio::inspect

#include "studio/commands/detail/Definitions.h"

#include "gel/Eval.h"
#include "gel/ParseError.h"
#include "gel/Program.h"
#include "gel/Tree.h"
#include "studio/commands/detail/Quoted.h"

#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

namespace studio::commands::detail {

using gel::Tree;

namespace {

// The language parses no longer text, and none that is nested deeper.
constexpr std::size_t MOST_BYTES = 65'536;
constexpr std::size_t MOST_LEVELS = 200;

bool isPlainName(std::string const& name)
{
    if (name.find('.') != std::string::npos)
        return false;
    try {
        Tree const tree{name};
        return tree.root().kind == Tree::Kind::Symbol && tree.root().name == name && tree.text() == name;
    } catch (gel::ParseError const&) {
        return false;
    }
}

}   // namespace

/// Replaces names, and keeps the chain of those that are being replaced.
class Definitions::Expansion {
public:
    explicit Expansion(Definitions const& definitions) : all{definitions.all} {}

    void append(std::string const& text)
    {
        Tree const tree{text};
        std::size_t done = 0;
        for (Tree::Node const& node : tree.nodes()) {
            if (node.kind != Tree::Kind::Symbol)
                continue;
            auto const known = all.find(std::string{node.name});
            if (known == all.end())
                continue;
            add(std::string_view{text}.substr(done, node.offset - done));
            chain.push_back(&known->first);
            if (chain.size() > MOST_LEVELS)
                throw std::length_error{"definitions refer to each other more than " + std::to_string(MOST_LEVELS) +
                                        " levels deep, from " + inQuotes(*chain.front())};
            add("(");
            append(known->second.text);
            add(")");
            chain.pop_back();
            done = node.offset + node.size;
        }
        add(std::string_view{text}.substr(done));
    }

    std::string result;

private:
    void add(std::string_view text)
    {
        if (result.size() + text.size() > MOST_BYTES)
            throw std::length_error{"with all definitions in place the text is longer than " +
                                    std::to_string(MOST_BYTES) + " bytes" +
                                    (chain.empty() ? "" : ", at " + inQuotes(*chain.back()))};
        result += text;
    }

    std::unordered_map<std::string, Definition> const& all;
    std::vector<std::string const*> chain;
};

void Definitions::add(std::string const& name, std::string const& condition)
{
    if (!isPlainName(name))
        throw std::invalid_argument{"a definition needs a plain name, which " + inQuotes(name) + " is not"};
    auto const known = all.find(name);
    if (known != all.end() && known->second.text != condition)
        throw std::invalid_argument{inQuotes(name) + " is defined already, as " + shown(known->second.text)};
    if (known == all.end()) {
        Definition made{condition, gel::symbols(condition), 1};
        std::set<std::string> const& symbols = made.symbols;
        refuseCycle(name, symbols);
        try {
            for (std::string const& symbol : symbols)
                mentions.try_emplace(symbol);
            for (std::string const& symbol : all.emplace(name, made).first->second.symbols)
                ++mentions.find(symbol)->second;
        } catch (...) {
            forgetUnused(symbols);
            throw;
        }
    } else {
        ++known->second.users;
    }
}

/// *Throws* `std::invalid_argument` with the chain of names if one of `symbols` leads to `name`.
void Definitions::refuseCycle(std::string const& name, std::set<std::string> const& symbols) const
{
    if (mentions.count(name) == 0 && symbols.count(name) == 0)
        return;                                // no text leads to it
    std::map<std::string, std::string> ways;   // from a name to the one whose text names it
    std::vector<std::pair<std::string, std::set<std::string> const*>> open{{name, &symbols}};
    while (!open.empty()) {
        auto const [from, mentioned] = std::move(open.back());
        open.pop_back();
        for (std::string const& symbol : *mentioned) {
            if (symbol == name) {
                std::string chain;
                for (std::string at = from; at != name; at = ways.at(at))
                    chain.insert(0, " -> " + at);
                throw std::invalid_argument{"a definition leads back to itself: " +
                                            shown(name + chain + " -> " + name, 1'000)};
            }
            auto const used = all.find(symbol);
            if (used != all.end() && ways.emplace(symbol, from).second)
                open.emplace_back(symbol, &used->second.symbols);
        }
    }
}

void Definitions::remove(std::string const& name) noexcept
{
    auto const known = all.find(name);
    if (known == all.end() || --known->second.users != 0)
        return;
    std::set<std::string> const symbols = std::move(known->second.symbols);
    all.erase(known);
    for (std::string const& symbol : symbols)
        --mentions.find(symbol)->second;
    forgetUnused(symbols);
}

void Definitions::forgetUnused(std::set<std::string> const& symbols) noexcept
{
    for (std::string const& symbol : symbols)
        if (auto const place = mentions.find(symbol); place != mentions.end() && place->second == 0)
            mentions.erase(place);
}

/// True if a text names a definition. The program of the text stays in the cache for its subscription.
bool Definitions::isUsedIn(std::string const& text) const
{
    gel::Program const program{text};
    for (std::size_t symbol = 0; symbol != program.symbolCount(); ++symbol)
        if (all.count(program.symbolAt(symbol)) != 0)
            return true;
    return false;
}

std::string Definitions::expanded(std::string const& text) const
{
    if (!isUsedIn(text))
        return text;
    Expansion expansion{*this};
    expansion.append(text);
    if (expansion.result != text) {
        try {
            Tree const parsed{expansion.result};
        } catch (gel::ParseError const& error) {
            throw std::length_error{"with all definitions in place the text cannot be parsed: " + error.reason()};
        }
    }
    return std::move(expansion.result);
}

}   // namespace studio::commands::detail

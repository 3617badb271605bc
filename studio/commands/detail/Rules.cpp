#include "studio/commands/detail/Rules.h"

#include "studio/commands/Implication.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <tuple>
#include <utility>

namespace studio::commands::detail {

namespace {

bool isStronger(Rule const* left, Rule const* right) noexcept
{
    return std::tie(left->declared.weight, left->number) > std::tie(right->declared.weight, right->number);
}

template <class Branches>
auto placeOf(Branches& branches, Chord chord) noexcept
{
    return std::lower_bound(branches.begin(), branches.end(), chord,
                            [](auto const& branch, Chord wanted) { return branch.chord < wanted; });
}

/// The chords under which a rule stands in a tree: none for a removal.
std::span<Chord const> keysOf(Rule const& rule) noexcept
{
    return rule.isRemoval() ? std::span<Chord const>{} : rule.keys;
}

std::span<Chord const> beginOf(KeySequence const& keys, std::size_t size) noexcept
{
    return {keys.data(), std::min(size, keys.size())};
}

}   // namespace

RuleTree::Node* RuleTree::Node::next(Chord chord) const noexcept
{
    auto const place = placeOf(branches, chord);
    return place != branches.end() && place->chord == chord ? place->node.get() : nullptr;
}

std::span<Rule const* const> RuleTree::fitting(std::span<Chord const> keys) const noexcept
{
    Node const* node = &root;
    for (Chord const chord : keys)
        if (!(node = node->next(chord)))
            return {};
    return node->rules;
}

void RuleTree::add(std::span<Rule* const> rules)
{
    for (Rule const* const rule : rules) {
        Node* node = &root;
        for (Chord const chord : keysOf(*rule)) {
            auto place = placeOf(node->branches, chord);
            if (place == node->branches.end() || place->chord != chord)
                place = node->branches.insert(place, Branch{chord, std::make_unique<Node>()});
            node = place->node.get();
            node->rules.push_back(rule);
        }
    }
    for (Rule const* const rule : rules) {
        Node* node = &root;
        for (Chord const chord : keysOf(*rule)) {
            node = node->next(chord);
            if (node->sorted == node->rules.size())
                continue;
            auto const added = node->rules.begin() + static_cast<std::ptrdiff_t>(node->sorted);
            std::sort(added, node->rules.end(), &isStronger);
            std::inplace_merge(node->rules.begin(), added, node->rules.end(), &isStronger);
            node->sorted = node->rules.size();
        }
    }
}

void RuleTree::remove(Rule const* firstGoing) noexcept
{
    ++pass;
    for (Rule const* rule = firstGoing; rule; rule = rule->nextGoing) {
        Node* node = &root;
        for (Chord const chord : keysOf(*rule)) {
            Node* const above = std::exchange(node, node->next(chord));
            if (!node)
                break;
            if (node->pass == pass)
                continue;
            node->pass = pass;
            std::erase_if(node->rules, [](Rule const* each) { return each->isGoing; });
            node->sorted = node->rules.size();
            if (node->rules.empty()) {   // so is all below
                above->branches.erase(placeOf(above->branches, chord));
                break;
            }
        }
    }
}

bool Removals::ByKeys::operator()(Rule const* left, Rule const* right) const noexcept
{
    return std::tie(left->keys, left->number) < std::tie(right->keys, right->number);
}

bool Removals::ByKeys::operator()(Rule const* left, Begin right) const noexcept
{
    return std::lexicographical_compare(left->keys.begin(), left->keys.end(), right.keys.begin(), right.keys.end());
}

/// True if a removal takes away a rule that begins with its keys.
bool Removals::takes(Rule const& removal, Rule const& rule) const
{
    if (removal.isGoing || removal.declared.source == rule.declared.source)
        return false;
    if (removal.slot == Conditions::Always || removal.slot == rule.slot)
        return true;
    auto const textOf = [&](Rule const& each) {
        return each.slot == Conditions::Always ? std::string{} : conditions.textOf(each.slot);
    };
    auto const known = implied.find({rule.slot, removal.slot});
    return known != implied.end()
               ? known->second
               : implied.try_emplace({rule.slot, removal.slot}, implies(textOf(rule), textOf(removal))).first->second;
}

/// Returns the first removal that takes a rule away; null if there is none. The first: one that is to join with the
/// next delivery never stands in for one that counts already.
Rule const* Removals::removalOf(OfCommand const& all, Rule const& rule) const
{
    Rule const* first = nullptr;
    for (std::size_t size = 0; !all.removals.empty() && size <= rule.keys.size(); ++size) {
        std::span<Chord const> const begin = beginOf(rule.keys, size);
        for (auto each = all.removals.lower_bound(ByKeys::Begin{begin});
             each != all.removals.end() && (!first || (*each)->number < first->number) &&
             std::equal(begin.begin(), begin.end(), (*each)->keys.begin(), (*each)->keys.end());
             ++each)
            if (takes(**each, rule)) {
                first = *each;
                break;
            }
    }
    return first;
}

/// Takes away the rules that begin with the keys of a removal.
void Removals::takeBelow(OfCommand const& all, Rule const& removal) const
{
    for (auto each = all.rules.lower_bound(ByKeys::Begin{removal.keys}); each != all.rules.end(); ++each) {
        Rule& rule = **each;
        std::span<Chord const> const begin = beginOf(rule.keys, removal.keys.size());
        if (!std::equal(begin.begin(), begin.end(), removal.keys.begin(), removal.keys.end()))
            return;
        if (!rule.removal && takes(removal, rule))
            rule.removal = &removal;
    }
}

/// Looks for another removal for each rule whose removal is going.
void Removals::searchAgain(OfCommand const& all) const noexcept
{
    for (Rule* const rule : all.rules) {
        if (!rule->removal || !rule->removal->isGoing)
            continue;
        rule->removal = nullptr;
        try {
            rule->removal = removalOf(all, *rule);
        } catch (std::bad_alloc const&) {
            // Without memory no implication is seen.
        }
    }
}

void Removals::add(std::span<Rule* const> rules)
{
    for (Rule* const rule : rules) {
        auto place = commands.find(rule->command());
        if (place == commands.end())
            place = commands.emplace(rule->command(), OfCommand{}).first;
        (rule->isRemoval() ? place->second.removals : place->second.rules).insert(rule);
    }
    for (Rule* const rule : rules) {
        OfCommand const& all = commands.find(rule->command())->second;
        if (rule->isRemoval())
            takeBelow(all, *rule);
        else if (!rule->removal)
            rule->removal = removalOf(all, *rule);
    }
    implied.clear();
}

void Removals::remove(Rule* firstGoing) noexcept
{
    ++pass;
    for (Rule* rule = firstGoing; rule; rule = rule->nextGoing)
        if (auto const place = commands.find(rule->command()); place != commands.end())
            (rule->isRemoval() ? place->second.removals : place->second.rules).erase(rule);
    for (Rule const* rule = firstGoing; rule; rule = rule->nextGoing) {
        auto const place = commands.find(rule->command());
        if (place == commands.end())
            continue;
        if (place->second.rules.empty() && place->second.removals.empty())
            commands.erase(place);
        else if (rule->isRemoval() && std::exchange(place->second.pass, pass) != pass)
            searchAgain(place->second);
    }
    implied.clear();
}

std::vector<Rule const*> Removals::rulesOf(std::string_view command) const
{
    auto const place = commands.find(command);
    if (place == commands.end())
        return {};
    std::vector<Rule const*> rules{place->second.rules.begin(), place->second.rules.end()};
    std::sort(rules.begin(), rules.end(), &isStronger);
    return rules;
}

}   // namespace studio::commands::detail

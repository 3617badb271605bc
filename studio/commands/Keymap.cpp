#include "studio/commands/Keymap.h"

#include "studio/commands/detail/Quoted.h"
#include "studio/commands/detail/RuleRegistry.h"
#include "studio/commands/detail/Rules.h"
#include "studio/commands/detail/TableState.h"

#include <array>
#include <map>
#include <stdexcept>
#include <utility>

namespace studio::commands {

using detail::inQuotes;
using detail::Rule;
using detail::TableState;

class STUDIO_DATA_LOCAL Keymap::State final : public detail::RuleRegistry, public detail::Follower {
public:
    State(std::shared_ptr<TableState> commands, Disabled disabled) : table{std::move(commands)}, policy{disabled} {}
    ~State() override { end(); }

    std::vector<std::size_t> add(std::vector<KeyRule> added) override;
    void remove(std::span<std::size_t const> numbers) noexcept override;
    TableState const& of() const noexcept override { return *table; }
    KeyRule const* find(std::size_t number) const noexcept override;
    Rule const* ruleOf(std::size_t number) const noexcept;

    // Follower: what was added joins with the next delivery, as commands do.
    void note(std::span<detail::Conditions::Slot const> /*settled*/) noexcept override {}
    bool isTouched() const noexcept override { return joined != nextNumber; }
    void prepare(std::span<CommandChange const> /*changes*/) override {}
    void apply() noexcept override { joined = nextNumber; }
    void report() override {}
    /// Removes everything, at the end of the key map or of the table.
    void end() noexcept override;

    bool isEmpty() const noexcept { return hasEnded || !table->isAlive(); }

    bool isDisabled(Rule const& rule) const noexcept
    {
        CommandState const* const command = table->find(rule.command());
        return command && !command->isEnabled;
    }
    bool hasJoined(Rule const& rule) const noexcept { return rule.number < joined; }
    bool isRemoved(Rule const& rule) const noexcept { return rule.removal && hasJoined(*rule.removal); }
    /// True if a rule decides, unless a stronger one does.
    bool decides(Rule const& rule) const noexcept
    {
        return hasJoined(rule) && !isRemoved(rule) && table->conditions.holds(rule.slot) &&
               (policy == Disabled::Swallowed || !isDisabled(rule));
    }

    std::shared_ptr<TableState> const table;
    Disabled const policy;
    detail::RuleTree tree;
    detail::Removals removals{table->conditions};
    std::array<Chord, MOST_CHORDS> pressed{};
    std::size_t pressedCount = 0;

private:
    void read(Rule& rule);
    /// Removes a list of rules that are going.
    void removeAll(Rule* firstGoing) noexcept;

    std::map<std::size_t, Rule> rules;   // by number
    std::size_t nextNumber = 0;
    std::size_t joined = 0;   // rules below this number were there at the last delivery
    bool hasEnded = false;
};

/// Parses the keys of a rule, and subscribes to its condition.
void Keymap::State::read(Rule& rule)
{
    KeyRule const& declared = rule.declared;
    std::string const where = "rule " + inQuotes(declared.keys) + " of " + inQuotes(declared.command);
    if (declared.command.empty() || declared.command == "-")
        throw std::invalid_argument{where + ": a rule needs a command"};
    try {
        if (!declared.keys.empty() || !rule.isRemoval())
            rule.keys = parseKeys(declared.keys);
    } catch (std::invalid_argument const& error) {
        throw std::invalid_argument{where + ", keys: " + error.what()};
    }
    rule.slot = table->addCondition(declared.when, where + ", when");
}

std::vector<std::size_t> Keymap::State::add(std::vector<KeyRule> added)
{
    if (isEmpty())
        throw std::logic_error{"the key map, or its command table, has ended"};
    std::vector<std::size_t> numbers;
    std::vector<Rule*> made;
    numbers.reserve(added.size());
    made.reserve(added.size());
    try {
        for (KeyRule& each : added) {
            Rule& rule = rules.emplace_hint(rules.end(), nextNumber, Rule{})->second;
            made.push_back(&rule);
            numbers.push_back(nextNumber);
            rule.number = nextNumber++;
            rule.declared = std::move(each);
            read(rule);
        }
        tree.add(made);
        removals.add(made);
    } catch (...) {
        Rule* going = nullptr;
        for (Rule* const rule : made) {
            rule->isGoing = true;
            rule->nextGoing = std::exchange(going, rule);
        }
        removeAll(going);
        nextNumber -= made.size();
        throw;
    }
    return numbers;
}

void Keymap::State::remove(std::span<std::size_t const> numbers) noexcept
{
    if (isEmpty())
        return end();
    Rule* going = nullptr;
    for (std::size_t const number : numbers)
        if (auto const place = rules.find(number); place != rules.end() && !place->second.isGoing) {
            place->second.isGoing = true;
            place->second.nextGoing = std::exchange(going, &place->second);
        }
    removeAll(going);
}

void Keymap::State::removeAll(Rule* firstGoing) noexcept
{
    tree.remove(firstGoing);
    removals.remove(firstGoing);
    while (firstGoing) {
        Rule const* const gone = std::exchange(firstGoing, firstGoing->nextGoing);
        table->conditions.remove(gone->slot);
        rules.erase(gone->number);
    }
}

void Keymap::State::end() noexcept
{
    hasEnded = true;
    if (table->isAlive())
        for (auto const& each : rules)
            table->conditions.remove(each.second.slot);
    tree.clear();
    removals.clear();
    rules.clear();
}

Rule const* Keymap::State::ruleOf(std::size_t number) const noexcept
{
    auto const place = rules.find(number);
    return place == rules.end() || isEmpty() ? nullptr : &place->second;
}

KeyRule const* Keymap::State::find(std::size_t number) const noexcept
{
    Rule const* const rule = ruleOf(number);
    return rule ? &rule->declared : nullptr;
}

std::string describe(KeyVerdict const& verdict)
{
    using Reason = KeyVerdict::Reason;
    std::string text = "rule " + std::to_string(verdict.rule);
    switch (verdict.reason) {
    case Reason::Wins: text += " wins"; break;
    case Reason::Pending: text += " decides: a longer sequence is pending"; break;
    case Reason::ConditionFalse: text += " does not apply: its condition is false"; break;
    case Reason::CommandDisabled: text += " runs nothing: its command is disabled"; break;
    case Reason::Weaker: text += " is weaker than rule " + std::to_string(verdict.by); break;
    case Reason::Removed: text += " was removed by rule " + std::to_string(verdict.by); break;
    }
    char const* separator = " (";
    for (std::string const& sentence : verdict.sentences)
        (text += std::exchange(separator, "; ")) += sentence;
    return text += verdict.sentences.empty() ? "" : ")";
}

Keymap::Keymap(CommandTable& table, Disabled policy) : state{std::make_shared<State>(table.state, policy)}
{
    table.state->follow(state);
}

Keymap::~Keymap()
{
    state->table->unfollow(*state);
    state->end();
}

KeyMatch Keymap::press(Chord chord) noexcept
{
    std::array<Chord, MOST_CHORDS>& pressed = state->pressed;
    pressed[state->pressedCount++] = chord;
    KeyMatch const found = match({pressed.data(), state->pressedCount});
    if (found.kind != KeyMatch::Kind::Pending)   // never at the last of all chords: no rule has more
        reset();
    return found;
}

std::span<Chord const> Keymap::pending() const noexcept
{
    return {state->pressed.data(), state->pressedCount};
}

void Keymap::reset() noexcept
{
    state->pressedCount = 0;
}

KeyMatch Keymap::match(std::span<Chord const> keys) const noexcept
{
    if (keys.empty() || state->isEmpty())
        return {};
    for (Rule const* const rule : state->tree.fitting(keys)) {
        if (!state->decides(*rule))
            continue;
        if (rule->keys.size() > keys.size())
            return {KeyMatch::Kind::Pending, rule->number, {}, {}};
        if (state->policy == Disabled::Swallowed && state->isDisabled(*rule))
            return {KeyMatch::Kind::Swallowed, rule->number, {}, {}};
        return {KeyMatch::Kind::Command, rule->number, rule->declared.command, rule->declared.arguments};
    }
    return {};
}

std::vector<KeyVerdict> Keymap::verdicts(std::span<Chord const> keys) const
{
    using Reason = KeyVerdict::Reason;
    std::shared_ptr<State> const kept = state;   // a function of the host may end the key map
    if (keys.empty() || kept->isEmpty())
        return {};
    std::vector<KeyVerdict> all;
    Rule const* deciding = nullptr;
    for (Rule const* const rule : kept->tree.fitting(keys)) {
        if (!kept->hasJoined(*rule))
            continue;
        KeyVerdict& verdict = all.emplace_back();
        verdict.rule = verdict.by = rule->number;
        verdict.isLonger = rule->keys.size() > keys.size();
        if (kept->isRemoved(*rule)) {
            verdict.reason = Reason::Removed;
            verdict.by = rule->removal->number;
        } else if (!kept->table->conditions.holds(rule->slot)) {
            verdict.reason = Reason::ConditionFalse;
        } else if (!kept->decides(*rule)) {
            verdict.reason = Reason::CommandDisabled;
        } else if (deciding) {
            verdict.reason = Reason::Weaker;
            verdict.by = deciding->number;
        } else {
            deciding = rule;
            verdict.reason = verdict.isLonger          ? Reason::Pending
                             : kept->isDisabled(*rule) ? Reason::CommandDisabled
                                                       : Reason::Wins;
        }
    }
    for (KeyVerdict& verdict : all) {
        Rule const* const rule = kept->ruleOf(verdict.rule);   // null if a function of the host has ended it
        if (rule && verdict.reason == Reason::ConditionFalse)
            verdict.sentences = kept->table->whyNot(rule->slot);
        else if (rule && verdict.reason == Reason::CommandDisabled)
            verdict.sentences = kept->table->whyDisabled(rule->command());
    }
    return all;
}

KeyRule const* Keymap::rule(std::size_t number) const noexcept
{
    return state->find(number);
}

std::vector<std::size_t> Keymap::rulesOf(std::string_view command) const
{
    if (state->isEmpty())
        return {};
    std::vector<std::size_t> numbers;
    for (Rule const* const rule : state->removals.rulesOf(command))
        if (state->hasJoined(*rule) && !state->isRemoved(*rule))
            numbers.push_back(rule->number);
    return numbers;
}

std::shared_ptr<detail::RuleRegistry> Keymap::registry() const noexcept
{
    return state;
}

}   // namespace studio::commands

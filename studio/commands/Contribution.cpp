#include "studio/commands/Contribution.h"

#include "studio/commands/Keymap.h"
#include "studio/commands/detail/MenuLists.h"
#include "studio/commands/detail/Quoted.h"
#include "studio/commands/detail/RuleRegistry.h"
#include "studio/commands/detail/TableState.h"

#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace studio::commands {

using detail::TableState;

/// What was added so far. Its end removes that.
class Contribution::State {
public:
    State(std::shared_ptr<TableState> target, std::shared_ptr<detail::MenuLists> menus,
          std::shared_ptr<detail::RuleRegistry> keys) noexcept
        : table{std::move(target)}, lists{std::move(menus)}, registry{std::move(keys)}
    {}
    State(State const&) = delete;
    State& operator=(State const&) = delete;
    ~State()
    {
        if (registry)
            registry->remove(rules);
        if (lists)
            lists->remove(entries);
        if (!table->isAlive())
            return;
        table->remove(rows);
        for (std::string const& name : definitions)
            table->definitions.remove(name);
        table->deliverAtEnd();
    }

    void add(Parts&& parts)
    {
        table->requireEngine();
        definitions.reserve(parts.definitions.size());
        for (auto& [name, condition] : parts.definitions) {
            table->define(name, condition);
            definitions.push_back(std::move(name));
        }
        rows.reserve(parts.commands.size());
        for (Command& command : parts.commands)
            rows.push_back(&table->add(std::move(command)));
        if (!parts.entries.empty())
            entries = lists->add(std::move(parts.entries));
        if (!parts.rules.empty())
            rules = registry->add(std::move(parts.rules));
        table->deliver();
    }

    std::vector<std::string> warnings() const
    {
        std::vector<std::string> found;
        auto const check = [&](std::string_view command, std::string const& part) {
            if (!command.empty() && !table->describe(command))
                found.push_back(part + " refers to the unknown command " + detail::inQuotes(command));
        };
        for (std::size_t const number : entries)
            if (MenuEntry const* const entry = lists->find(number))
                check(entry->command, "an entry of menu " + detail::inQuotes(entry->menu));
        for (std::size_t const number : rules)
            if (KeyRule const* const rule = registry->find(number)) {
                std::string_view const command = rule->command;
                check(command.starts_with('-') ? command.substr(1) : command,
                      rule->keys.empty() ? "a rule without keys" : "the rule for " + detail::inQuotes(rule->keys));
            }
        return found;
    }

private:
    std::shared_ptr<TableState> const table;
    std::shared_ptr<detail::MenuLists> const lists;         // null without menus
    std::shared_ptr<detail::RuleRegistry> const registry;   // null without a key map
    std::vector<std::string> definitions;
    std::vector<TableState::Row*> rows;   // of a table that has not ended
    std::vector<std::size_t> entries;
    std::vector<std::size_t> rules;
};

Contribution::Contribution(CommandTable& table, Menus* menus, Keymap* keymap, Parts parts)
{
    if (!menus && !parts.entries.empty())
        throw std::invalid_argument{"a contribution with entries needs menus"};
    if (!keymap && !parts.rules.empty())
        throw std::invalid_argument{"a contribution with key rules needs a key map"};
    if (menus && &menus->lists->of() != table.state.get())
        throw std::invalid_argument{"the menus of a contribution belong to another command table"};
    if (keymap && &keymap->registry()->of() != table.state.get())
        throw std::invalid_argument{"the key map of a contribution belongs to another command table"};
    // Complete before anything is called: a receiver that throws ends the contribution.
    auto made =
        std::make_unique<State>(table.state, menus ? menus->lists : nullptr, keymap ? keymap->registry() : nullptr);
    made->add(std::move(parts));
    state = std::move(made);
}

Contribution::Contribution() noexcept = default;

Contribution::~Contribution() = default;

Contribution::Contribution(Contribution&& other) noexcept = default;

Contribution& Contribution::operator=(Contribution&& other) noexcept
{
    std::unique_ptr<State> const ended =
        std::exchange(state, std::move(other.state));   // last: its end calls receivers
    return *this;
}

std::vector<std::string> Contribution::warnings() const
{
    return state ? state->warnings() : std::vector<std::string>{};
}

}   // namespace studio::commands

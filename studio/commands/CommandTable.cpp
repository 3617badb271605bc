#include "studio/commands/CommandTable.h"

#include "studio/commands/detail/TableState.h"

#include <utility>

namespace studio::commands {

namespace {

template <class Function>
std::shared_ptr<Function const> shared(Function function)
{
    return function ? std::make_shared<Function const>(std::move(function)) : nullptr;
}

}   // namespace

CommandTable::CommandTable(data::ExpressionEngine& engine) : state{std::make_shared<detail::TableState>(engine)} {}

CommandTable::~CommandTable()
{
    state->end();
}

void CommandTable::onChanged(Changed changed)
{
    state->changed = shared(std::move(changed));
}

void CommandTable::onError(host::ErrorHandler handler)
{
    state->onError = shared(std::move(handler));
}

void CommandTable::explainWith(Reasons reasons)
{
    state->reasons = shared(std::move(reasons));
}

void CommandTable::define(std::string const& name, std::string const& condition)
{
    state->define(name, condition);
}

std::string CommandTable::expanded(std::string const& condition) const
{
    return state->definitions.expanded(condition);
}

CommandState const* CommandTable::find(std::string_view id) const noexcept
{
    return state->find(id);
}

Command const* CommandTable::describe(std::string_view id) const noexcept
{
    return state->describe(id);
}

std::vector<std::string> CommandTable::list() const
{
    return state->list();
}

std::vector<std::string> CommandTable::whyDisabled(std::string_view id) const
{
    return state->whyDisabled(id);
}

}   // namespace studio::commands

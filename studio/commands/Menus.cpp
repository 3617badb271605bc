#include "studio/commands/Menus.h"

#include "studio/commands/detail/MenuLists.h"

#include <utility>

namespace studio::commands {

Menus::Menus(CommandTable& table, GroupOrder before)
    : lists{std::make_shared<detail::MenuLists>(table.state, std::move(before))}
{
    table.state->follow(lists);
}

Menus::~Menus()
{
    lists->leave();
}

void Menus::onChanged(Changed changed)
{
    lists->changed = changed ? std::make_shared<Changed const>(std::move(changed)) : nullptr;
}

std::span<MenuItem const> Menus::items(std::string_view menu) const noexcept
{
    return lists->items(menu);
}

MenuEntry const* Menus::entry(std::size_t number) const noexcept
{
    return lists->find(number);
}

std::vector<std::string> Menus::list() const
{
    return lists->list();
}

}   // namespace studio::commands

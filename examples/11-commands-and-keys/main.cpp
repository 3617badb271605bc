// Commands, a menu and keys that follow the contexts. A plugin adds a command, an entry and keys, and takes them with
// it.

#include "studio/commands/Contribution.h"
#include "studio/commands/Keymap.h"
#include "studio/host/ContextTree.h"

#include <iostream>

using namespace studio;

int main()
{
    host::ContextTree window;
    auto const editor = window.make("editor");
    editor->addProperty("dirty", false);
    editor->addProperty("readOnly", false);

    data::ExpressionEngine engine{window.root(), data::ReleasePolicy::KeepsShared};
    commands::CommandTable table{engine};
    commands::Menus menus{table};
    commands::Keymap keymap{table};
    menus.onChanged([&](std::span<commands::MenuChange const>) {
        std::cout << "menu:";
        for (commands::MenuItem const& item : menus.items("edit"))
            std::cout << " [" << item.state.title << (item.state.isEnabled ? "]" : ", disabled]");
        std::cout << '\n';
    });
    auto const press = [&](char const* keys) {
        commands::KeyMatch match;
        for (commands::Chord const chord : commands::parseKeys(keys))
            match = keymap.press(chord);
        std::cout << keys << ": " << (match.command.empty() ? "nothing" : match.command) << '\n';
    };

    commands::Contribution::Parts parts;
    parts.commands = {{.id = "save", .title = "Save", .enabled = "editor.dirty && !editor.readOnly"},
                      {.id = "cut", .title = "Cut", .enabled = "!editor.readOnly"}};
    parts.entries = {{.menu = "edit", .command = "save"}, {.menu = "edit", .command = "cut"}};
    parts.rules = {{.keys = "ctrl+s", .command = "save"}, {.keys = "ctrl+x", .command = "cut"}};
    commands::Contribution const own{table, &menus, &keymap, parts};
    press("ctrl+s");
    editor->setPropertyValue("dirty", true);
    press("ctrl+s");
    {
        commands::Contribution const plugin{
            table,
            &menus,
            &keymap,
            {.commands = {{.id = "sort", .title = "Sort", .enabled = "!editor.readOnly"}},
             .entries = {{.menu = "edit", .command = "sort"}},
             .rules = {{.keys = "ctrl+k ctrl+s", .command = "sort"}}}};
        press("ctrl+k ctrl+s");
        editor->setPropertyValue("readOnly", true);
        for (commands::KeyVerdict const& verdict : keymap.verdicts(commands::parseKeys("ctrl+k ctrl+s")))
            std::cout << describe(verdict) << '\n';
    }
    press("ctrl+k ctrl+s");
}

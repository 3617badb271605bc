#include "studio/commands/Contribution.h"
#include "studio/commands/Focus.h"
#include "studio/commands/Implication.h"
#include "studio/commands/Keymap.h"
#include "studio/commands/Manifest.h"
#include "studio/commands/Menus.h"
#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/host/ContextTree.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

// The guide to commands: its code runs, its manifest is read, its table of removals holds.
namespace studio {
namespace {

std::string guide()
{
    std::ifstream file{COMMANDS_GUIDE};
    return {std::istreambuf_iterator<char>{file}, {}};
}

TEST(CommandsGuide, ShowsCommandsThatFollowTheFocus)
{
    std::string const page = guide();
    std::size_t const begin = page.find("```json\n") + 8;
    std::string const manifest = page.substr(begin, page.find("```", begin) - begin);

    host::ContextTree window;
    auto const editor = window.make("editor");
    editor->addProperty("isEditor", true);
    editor->addProperty("title", "notes.txt");
    editor->addProperty("dirty", true);
    auto const preview = window.make("preview");
    preview->addProperty("title", "notes.txt (preview)");
    preview->addProperty("readOnly", true);
    EXPECT_EQ(commands::focus(window.root(), nullptr), host::Written::Same);
    EXPECT_EQ(commands::focus(window.root(), editor), host::Written::Added);

    data::ExpressionEngine engine{window.root(), data::ReleasePolicy::KeepsShared};
    commands::CommandTable table{engine};
    commands::Menus menus{table};
    commands::Keymap keymap{table};
    commands::Contribution const own{table, &menus, &keymap, commands::readManifest(manifest, "own.json")};

    std::string log;
    table.onChanged([&](std::span<commands::CommandChange const> changes) {
        for (commands::CommandChange const& change : changes)
            if (change.after)
                log += change.id + (change.after->isEnabled ? " is enabled: " : " is disabled: ") +
                       change.after->title + '\n';
    });
    auto const run = [&](std::string_view command, std::string_view arguments) {
        ((log += command) += arguments) += '\n';
    };
    auto const press = [&] {
        commands::KeyMatch const match = keymap.press(commands::parseChord("ctrl+s"));
        if (match.kind == commands::KeyMatch::Kind::Command)
            run(match.command, match.arguments);
    };
    press();
    EXPECT_EQ(menus.items("edit").size(), 2u);
    commands::focus(window.root(), preview);
    press();
    EXPECT_EQ(menus.items("edit").size(), 0u);
    EXPECT_EQ(log, "save\nsave is disabled: Save notes.txt (preview)\ncut is disabled: Cut\n");
    EXPECT_EQ(own.warnings(), std::vector<std::string>{"a rule without keys refers to the unknown command \"zoom\""});
    EXPECT_EQ(commands::focus(window.root(), preview), host::Written::Same);
    EXPECT_EQ(commands::focus(window.root(), nullptr), host::Written::Changed);
    EXPECT_TRUE(window.root()->getPropertyValue("focus").isUndefined());
    EXPECT_THROW(commands::focus(nullptr, editor), std::invalid_argument);
}

TEST(CommandsGuide, HasATableOfRemovalsThatHolds)
{
    std::string const page = guide();
    std::regex const row{R"(\n\| `(.*)` \| `(.*)` \| (taken away|stays) \|)"};
    int rows = 0;
    for (std::sregex_iterator each{page.begin(), page.end(), row}, end; each != end; ++each, ++rows) {
        auto const text = [&](std::size_t group) {
            return std::regex_replace((*each)[group].str(), std::regex{R"(\\\|)"}, "|");
        };
        EXPECT_EQ(commands::implies(text(1), text(2)), text(3) == "taken away") << text(1);
    }
    EXPECT_EQ(rows, 4);
}

}   // namespace
}   // namespace studio

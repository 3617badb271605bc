#pragma once

#include "studio/commands/Keymap.h"
#include "workbench/CommandFiles.h"
#include "workbench/Document.h"

#include <cstddef>
#include <string>
#include <vector>

namespace workbench {

/// What a comparison with recorded answers found.
struct CommandCheck {
    std::size_t differences = 0;
    std::vector<std::string> first;   ///< of them, a line each
    std::size_t keys = 0;             ///< the number of comparisons, as the next ones
    std::size_t menus = 0;
    std::size_t commands = 0;
    std::size_t steps = 0;
};

/// Replays a session under commands, menus and keys, and compares them with recorded answers after every step. What is
/// compared are the states as they were reported, change by change, and that those are the present ones.
CommandCheck checkCommands(CommandFiles const& files, Recording const& recording, CommandAnswers const& answers,
                           studio::commands::Keymap::Disabled policy);

}   // namespace workbench

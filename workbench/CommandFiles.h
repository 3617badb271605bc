#pragma once

#include "studio/commands/Contribution.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace workbench {

/// The commands, menus and key rules of an editor, by the numbers that they have in its files.
struct CommandFiles {
    studio::commands::Contribution::Parts parts;
    /// The rules that each removal takes away.
    std::vector<std::pair<std::size_t, std::vector<std::size_t>>> removals;
};

/// Loads a file of rules and one of commands and menus. Throws `DocumentError` for an unusable file, and for an unknown
/// key.
CommandFiles loadCommandFiles(std::string const& rules, std::string const& menus);

/// What a sequence of keys leads to.
struct KeyAnswer {
    enum class Kind { None, Pending, Rule };

    Kind kind = Kind::None;
    std::size_t rule = 0;

    friend bool operator==(KeyAnswer const&, KeyAnswer const&) = default;
};

/// The recorded answers about keys, menus and commands after a step: those that changed.
struct CommandRow {
    struct Keys {
        std::size_t sequence;
        KeyAnswer byCondition;   // whether or not the command is enabled
        KeyAnswer ofEnabled;     // if rules of disabled commands do not count
    };
    struct Menu {
        std::size_t menu;
        std::vector<std::size_t> visible;   // numbers of entries, as the next ones
        std::vector<std::size_t> disabled;
        std::vector<std::size_t> checked;
    };
    struct State {
        std::size_t command;
        bool isEnabled;
        std::optional<bool> isChecked;
    };

    std::vector<Keys> keys;
    std::vector<Menu> menus;
    std::vector<State> commands;
};

/// The recorded answers over a session.
struct CommandAnswers {
    struct Sequence {
        std::string keys;
        std::vector<std::size_t> candidates;   // rules, weakest first
    };

    std::vector<Sequence> sequences;
    std::vector<std::string> menus;
    std::vector<CommandRow> rows;   // the initial one, then one for each step
};

/// Loads answers over these files and a session of so many steps. Throws `DocumentError` as `loadCommandFiles`, and for
/// a number that stands for nothing.
CommandAnswers loadCommandAnswers(std::string const& file, CommandFiles const& files, std::size_t steps);

}   // namespace workbench

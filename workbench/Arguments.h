#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace workbench {

/// The error for an invalid command line; `what()` is one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The parsed command line.
struct Arguments {
    bool help = false;
    bool version = false;
    bool trace = false;
    bool check = false;
    bool verify = false;
    bool mirror = false;
    bool quiet = false;
    bool force = false;
    /// An expression and a step, both by number.
    struct Place {
        std::size_t expression;
        std::size_t step;
    };
    std::optional<Place> explain;
    bool commands = false;
    bool checkCommands = false;
    std::string policy;                      ///< `when`, `enabled`, or empty for both
    std::vector<std::string> commandFiles;   ///< rules, menus, session and answers, with `checkCommands`
    std::string saveSample;                  ///< a folder; empty when not requested
    std::string expressions;                 ///< a file; empty for the sample
    std::vector<std::string> recordings;     ///< files; empty if and only if `expressions` is

    /// Reads the arguments after the program's name. Options may stand anywhere; `--` ends them.
    /// Throws `UsageError` for an unknown option, for an option that would have no effect, and for an empty file name.
    static Arguments read(std::vector<std::string> const& words);

    static char const* const HELP;
};

}   // namespace workbench

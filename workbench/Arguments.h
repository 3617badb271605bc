#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace workbench {

/// A command line that makes no sense; `what()` is one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What the command line asks for.
struct Arguments {
    bool help = false;
    bool version = false;
    bool trace = false;
    bool check = false;
    bool verify = false;
    bool mirror = false;
    bool quiet = false;
    std::string saveSample;    ///< a folder; empty when not asked for
    std::string expressions;   ///< a file; empty for the sample
    std::string recording;     ///< a file; given if and only if `expressions` is

    /// Reads the arguments after the program's name. Options may stand anywhere; `--` ends them.
    static Arguments read(std::vector<std::string> const& words);

    static char const* const HELP;
};

}   // namespace workbench

#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace workbench {

/// How many columns the terminal has that the standard output goes to: what the environment variable `COLUMNS` says, or
/// else the terminal itself. None when the output goes elsewhere, and when neither says.
std::optional<std::size_t> terminalWidth();

/// Whether a person can answer: the standard input and the standard error are both a terminal.
bool canConfirm();

/// Writes a question to the standard error. Returns true if the line read from the standard input is `y` or `yes`.
bool confirm(std::string const& question);

/// Occupies each standard stream that was closed when the program started, so that no file opened later takes its
/// place; a write to it fails. A write to a broken pipe fails as well, instead of ending the program.
void protectStandardStreams();

}   // namespace workbench

#pragma once

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string>

namespace workbench {

/// Returns the width in columns of the standard output's terminal: the environment variable `COLUMNS`, otherwise what
/// the terminal reports. Empty if the output goes elsewhere, or neither is known.
std::optional<std::size_t> terminalWidth();

/// Returns true if a user can be prompted: the standard input and the standard error are both a terminal.
bool canConfirm();

/// Writes a question to the standard error. Returns true if the line read from the standard input is `y` or `yes`.
bool confirm(std::string const& question);

/// Writes what is still buffered. Throws `std::runtime_error` when that, or anything written before, failed.
void expectWritten(std::ostream& out);

}   // namespace workbench

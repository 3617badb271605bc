#pragma once

#include <cstddef>
#include <optional>
#include <ostream>

namespace workbench {

/// How much of the day is shown.
enum class Moments { All, InBrief };

/// Replays the sample day under its commands, menus and keys. Writes what a menu looked like at some moments, what keys
/// ran, and why others did not. Lines are as wide as the terminal, if there is one, but never wider than 80 columns.
void showCommandsDay(std::ostream& out, Moments which, std::optional<std::size_t> width);

}   // namespace workbench

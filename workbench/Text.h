#pragma once

#include "studio/data/PropertyValue.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace workbench {

// How things are written for people.

/// A value as it would be written in an expression or in JSON; a text that is no UTF-8 shows its bad bytes replaced.
std::string shown(studio::data::PropertyValue const& value);

/// A count with its thousands apart: 12,345.
std::string counted(std::size_t count);
/// A count and its unit, in the plural where that is due: "1 step", "12 steps".
std::string counted(std::size_t count, std::string const& unit);

/// In the unit that leaves a number below a thousand: 12 µs, 3.4 ms.
std::string lasting(std::chrono::nanoseconds time);

/// A name in double quotes, on one line and at most 60 columns wide.
std::string inQuotes(std::string_view name);

/// On one line, at most `width` columns wide on a terminal: control characters become spaces, bytes that are no UTF-8
/// become U+FFFD, and "..." stands for what is cut off. Never cuts within a character.
std::string oneLine(std::string_view text, std::size_t width = std::string::npos);

}   // namespace workbench

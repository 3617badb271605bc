#pragma once

#include "studio/data/PropertyValue.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace workbench {

// How values are written in output.

/// Returns a value as an expression or JSON would write it; bytes of a text that are not UTF-8 are replaced.
std::string shown(studio::data::PropertyValue const& value);

/// Returns a count with thousands separators: 12,345.
std::string counted(std::size_t count);
/// Returns a count and its unit, in the plural where needed: "1 step", "12 steps".
std::string counted(std::size_t count, std::string const& unit);

/// Returns a time in the unit that leaves a number below a thousand: 12 µs, 3.4 ms.
std::string lasting(std::chrono::nanoseconds time);

/// Returns a name in double quotes, on one line and at most 60 columns wide.
std::string inQuotes(std::string_view name);

/// Returns a text as one line, at most `width` columns wide on a terminal: control characters become spaces, bytes that
/// are not UTF-8 become U+FFFD, and "..." stands for what is cut off. Never cuts within a character.
std::string oneLine(std::string_view text, std::size_t width = std::string::npos);

}   // namespace workbench

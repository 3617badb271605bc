#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace studio::commands::detail {

/// Returns a text of the host or of a plugin as messages show it: shortened to so many bytes, and with escapes for
/// control characters and for bytes that are not UTF-8.
std::string shown(std::string_view text, std::size_t mostBytes = 80);
/// Returns `shown` of a text, in quotes.
std::string inQuotes(std::string_view text);

}   // namespace studio::commands::detail

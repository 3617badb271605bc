#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace studio::commands::detail {

/// Returns a text of anyone's as messages show it: without control characters, and shortened to so many bytes.
std::string shown(std::string_view text, std::size_t mostBytes = 80);
/// Returns it in quotes.
std::string inQuotes(std::string_view text);

}   // namespace studio::commands::detail

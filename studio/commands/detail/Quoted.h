#pragma once

#include <string>
#include <string_view>

namespace studio::commands::detail {

/// Returns a text of anyone's as messages show it: in quotes, on one line, and shortened if it is long.
std::string quoted(std::string_view text);

}   // namespace studio::commands::detail

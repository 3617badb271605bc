#pragma once

#include <string>

namespace studio::inspect::detail {

/// Returns the HTML page of reports; in it stands `{{title}}` for the heading and `{{data}}` for the data. It is made
/// of the files in `report/` when the library is configured.
std::string pageTemplate();

}   // namespace studio::inspect::detail

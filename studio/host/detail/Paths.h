#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace studio::host::detail {

/// *Throws* `std::invalid_argument` for a path that is empty or has an empty name.
inline void requirePath(std::string_view path)
{
    if (path.empty())
        throw std::invalid_argument{"a path cannot be empty"};
    if (path.front() == '.' || path.back() == '.' || path.find("..") != std::string_view::npos)
        throw std::invalid_argument{"the path \"" + std::string{path} + "\" has an empty name"};
}

}   // namespace studio::host::detail

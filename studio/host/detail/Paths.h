#pragma once

#include "studio/host/ContextTree.h"

#include <algorithm>
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

/// Returns the number of names in a path.
inline std::size_t levelsOf(std::string_view path) noexcept
{
    return static_cast<std::size_t>(std::count(path.begin(), path.end(), '.')) + 1;
}

/// *Throws* `std::invalid_argument` for a path that no tree has.
inline void requireTreePath(std::string_view path)
{
    requirePath(path);
    if (levelsOf(path) > ContextTree::MOST_LEVELS)
        throw std::invalid_argument{"a path has too many names: " + std::to_string(levelsOf(path))};
}

/// Returns the path of the context that holds the one at `path`; empty for the root.
inline std::string_view ownerOf(std::string_view path) noexcept
{
    std::size_t const dot = path.rfind('.');
    return path.substr(0, dot == std::string_view::npos ? 0 : dot);
}

/// Returns the last name of a path.
inline std::string_view lastName(std::string_view path) noexcept
{
    return path.substr(path.rfind('.') + 1);
}

}   // namespace studio::host::detail

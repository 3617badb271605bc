#pragma once

#include <typeinfo>

#if defined(_LIBCPP_VERSION)
#include <cstring>
#endif

namespace foundation {

/// True if both describe one type, also if a library and a program describe it each. libc++ compares addresses, and a
/// type that two modules name in templates has one description in each; libstdc++ and MSVC's library compare names.
/// Types of unnamed namespaces share names without being one: of those, only one description is one type.
inline bool isSameType(std::type_info const& left, std::type_info const& right) noexcept
{
#if defined(_LIBCPP_VERSION)
    return left == right || (std::strcmp(left.name(), right.name()) == 0 && !std::strstr(left.name(), "_GLOBAL__N_"));
#else
    return left == right;
#endif
}

}   // namespace foundation

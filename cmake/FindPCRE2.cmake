# Finds the 8-bit library of PCRE2, which Debian ships without a CMake package. Result: the target PCRE2::8BIT. On Windows the
# library's names differ for archives and for debugging.
find_path(PCRE2_INCLUDE_DIR pcre2.h)
find_library(PCRE2_8BIT_LIBRARY NAMES pcre2-8 pcre2-8-static pcre2-8d pcre2-8-staticd)
if(PCRE2_INCLUDE_DIR)
    file(STRINGS "${PCRE2_INCLUDE_DIR}/pcre2.h" _pcre2_version REGEX "^#define PCRE2_(MAJOR|MINOR) +[0-9]+")
    list(TRANSFORM _pcre2_version REPLACE "^#define PCRE2_[A-Z]+ +([0-9]+).*" "\\1")
    list(JOIN _pcre2_version "." PCRE2_VERSION)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(PCRE2
    REQUIRED_VARS PCRE2_8BIT_LIBRARY PCRE2_INCLUDE_DIR VERSION_VAR PCRE2_VERSION)
mark_as_advanced(PCRE2_INCLUDE_DIR PCRE2_8BIT_LIBRARY)

if(PCRE2_FOUND AND NOT TARGET PCRE2::8BIT)
    add_library(PCRE2::8BIT UNKNOWN IMPORTED)
    set_target_properties(PCRE2::8BIT PROPERTIES
        IMPORTED_LOCATION "${PCRE2_8BIT_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${PCRE2_INCLUDE_DIR}")
    # On Windows a header has to know that its library is an archive.
    if(WIN32 AND PCRE2_8BIT_LIBRARY MATCHES "(-staticd?\\.lib|[^l]\\.a)$")
        set_target_properties(PCRE2::8BIT PROPERTIES INTERFACE_COMPILE_DEFINITIONS PCRE2_STATIC)
    endif()
endif()

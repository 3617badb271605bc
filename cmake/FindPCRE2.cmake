# Finds the 8-bit library of PCRE2, which Debian ships without a CMake package. Result: the target PCRE2::8BIT.
find_path(PCRE2_INCLUDE_DIR pcre2.h)
find_library(PCRE2_8BIT_LIBRARY pcre2-8)
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
endif()

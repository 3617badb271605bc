# Finds the headers of Boost, of at least the version asked for, whatever their package is called.
# Result: the target Boost::headers, also when another package defined it before.
find_path(BoostHeaders_INCLUDE_DIR boost/version.hpp)
if(BoostHeaders_INCLUDE_DIR)
    file(STRINGS "${BoostHeaders_INCLUDE_DIR}/boost/version.hpp" _boost_version REGEX "^#define BOOST_VERSION ")
    string(REGEX REPLACE "[^0-9]" "" _boost_version "${_boost_version}")
    math(EXPR _boost_major "${_boost_version} / 100000")
    math(EXPR _boost_minor "${_boost_version} / 100 % 1000")
    math(EXPR _boost_patch "${_boost_version} % 100")
    set(BoostHeaders_VERSION ${_boost_major}.${_boost_minor}.${_boost_patch})
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(BoostHeaders
    REQUIRED_VARS BoostHeaders_INCLUDE_DIR VERSION_VAR BoostHeaders_VERSION)
mark_as_advanced(BoostHeaders_INCLUDE_DIR)

if(BoostHeaders_FOUND AND NOT TARGET Boost::headers)
    add_library(Boost::headers INTERFACE IMPORTED)
    set_target_properties(Boost::headers PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${BoostHeaders_INCLUDE_DIR}")
endif()

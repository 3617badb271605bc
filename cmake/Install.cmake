# Installs the library, its headers and a package that find_package(studio_data) reads.
include(CMakePackageConfigHelpers)

set(_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/studio_data")
install(TARGETS studio_data EXPORT studio_data-targets
    FILE_SET framework DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/studio_data"
    FILE_SET studio DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/studio_data")
install(EXPORT studio_data-targets NAMESPACE studio_data:: DESTINATION "${_package_dir}")

configure_package_config_file(cmake/studio_data-config.cmake.in "${PROJECT_BINARY_DIR}/studio_data-config.cmake"
    INSTALL_DESTINATION "${_package_dir}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/studio_data-config-version.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/studio_data-config.cmake"
    "${PROJECT_BINARY_DIR}/studio_data-config-version.cmake"
    cmake/FindBoostHeaders.cmake
    DESTINATION "${_package_dir}")
if(NOT BUILD_SHARED_LIBS)
    install(FILES cmake/FindPCRE2.cmake DESTINATION "${_package_dir}")
endif()

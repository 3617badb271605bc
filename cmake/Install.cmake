# Installs the library, its headers, and what find_package(studio_data) and pkg-config read.
# Components: runtime, development, tools, documentation.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(_headers "${CMAKE_INSTALL_INCLUDEDIR}/studio_data")
set(_package "${CMAKE_INSTALL_LIBDIR}/cmake/studio_data")
install(TARGETS studio_data EXPORT studio_data-targets
    RUNTIME COMPONENT runtime
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    FILE_SET framework DESTINATION "${_headers}" COMPONENT development
    FILE_SET studio DESTINATION "${_headers}" COMPONENT development)
install(TARGETS studio_data_json EXPORT studio_data-json-targets)
foreach(_set IN ITEMS studio_data-targets studio_data-json-targets)
    install(EXPORT ${_set} NAMESPACE studio_data:: DESTINATION "${_package}" COMPONENT development)
endforeach()

get_property(_components GLOBAL PROPERTY studio_data_COMPONENTS)
set(STUDIO_DATA_NEEDS "")
foreach(_component IN LISTS _components)
    install(TARGETS studio_data_${_component} EXPORT studio_data-${_component}-targets
        RUNTIME COMPONENT runtime
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development
        FILE_SET headers DESTINATION "${_headers}" COMPONENT development)
    install(EXPORT studio_data-${_component}-targets NAMESPACE studio_data:: DESTINATION "${_package}"
        COMPONENT development)
    get_property(_needs GLOBAL PROPERTY studio_data_${_component}_NEEDS)
    set(_pc_needs "")
    foreach(_need IN LISTS _needs)
        string(APPEND _pc_needs ", studio_data-${_need} = ${PROJECT_VERSION}")
    endforeach()
    string(APPEND STUDIO_DATA_NEEDS "set(studio_data_${_component}_needs ${_needs})\n")
    configure_file(cmake/studio_data-component.pc.in "${PROJECT_BINARY_DIR}/studio_data-${_component}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/studio_data-${_component}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endforeach()
list(JOIN _components " " STUDIO_DATA_COMPONENTS)

configure_package_config_file(cmake/studio_data-config.cmake.in "${PROJECT_BINARY_DIR}/studio_data-config.cmake"
    INSTALL_DESTINATION "${_package}" NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/studio_data-config-version.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/studio_data-config.cmake"
    "${PROJECT_BINARY_DIR}/studio_data-config-version.cmake"
    cmake/FindBoostHeaders.cmake
    DESTINATION "${_package}" COMPONENT development)

# A pkg-config file that holds wherever the whole is moved to.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR
    BASE_DIRECTORY "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE _pc_includedir)
set(_pc_flags "")
set(_pc_requires "")
if(NOT BUILD_SHARED_LIBS)
    install(FILES cmake/FindPCRE2.cmake DESTINATION "${_package}" COMPONENT development)
    string(APPEND _pc_flags " -DSTUDIO_DATA_STATIC")
    set(_pc_requires "libpcre2-8 >= 10.40")
endif()
if(NOT STUDIO_DATA_UUID_ALIGNMENT EQUAL 1)
    string(APPEND _pc_flags " -DSTUDIO_DATA_UUID_ALIGNMENT=${STUDIO_DATA_UUID_ALIGNMENT}")
endif()
configure_file(cmake/studio_data.pc.in "${PROJECT_BINARY_DIR}/studio_data.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/studio_data.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

# The library of a Debian package is where every program looks, and its terms are told in Debian's own way.
if(NOT STUDIO_DATA_DEBIAN)
    install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)
    # What is installed finds the library beside itself, wherever the whole is moved to.
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY "${CMAKE_INSTALL_FULL_BINDIR}"
        OUTPUT_VARIABLE _libraries)
    if(STUDIO_DATA_ORIGIN)
        set(CMAKE_INSTALL_RPATH "${STUDIO_DATA_ORIGIN}/${_libraries}")
    endif()
endif()

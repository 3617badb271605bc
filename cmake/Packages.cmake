# What cpack makes: three Debian packages, or a tarball of everything. scripts/package does both.
set(STUDIO_DATA_MAINTAINER "studio_data maintainers <maintainers@users.noreply.c-seed-3c06c210.example>" CACHE STRING
    "Whom the packages name as their maintainer")
set(CPACK_PACKAGE_NAME studio-data)
set(CPACK_PACKAGE_VENDOR "the studio_data authors")
set(CPACK_PACKAGE_CONTACT "${STUDIO_DATA_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")   # each package has its own
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGE_FILE_NAME "${PROJECT_NAME}-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_GENERATOR TGZ)
set(CPACK_SOURCE_GENERATOR TGZ)
# Of this tree only: what stands in its folders, wherever the tree itself is.
string(REGEX REPLACE "([][+.*()^$?|])" "\\\\\\1" _tree "${PROJECT_SOURCE_DIR}")
set(CPACK_SOURCE_IGNORE_FILES "^${_tree}/(\\.git|build|\\.deps|\\.cache)(/|$)" "/__pycache__/")
set(CPACK_VERBATIM_VARIABLES ON)

set(_library libstudio-data${PROJECT_VERSION_MAJOR})
set(_what "Contexts are sets of named properties. Expressions over them tell their
subscribers, after every transaction and exactly once, when their result
changes. Hosts ask them what is possible now: which commands are enabled,
which menu entries show, what a label says.")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL runtime development tools documentation)
set(CPACK_COMPONENT_RUNTIME_GROUP runtime)
set(CPACK_COMPONENT_DEVELOPMENT_GROUP development)
set(CPACK_COMPONENT_DOCUMENTATION_GROUP development)
set(CPACK_COMPONENT_TOOLS_GROUP tools)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

# dpkg tells the loader of a new library when it is triggered to. By design: the two scripts are named and not there; so
# cpack leaves out what it would write in their place.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    "${PROJECT_SOURCE_DIR}/cmake/debian/triggers" "${PROJECT_SOURCE_DIR}/cmake/debian/postinst"
    "${PROJECT_SOURCE_DIR}/cmake/debian/postrm")

set(_same "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
# studio_data_package(<group> <name> <section> <summary> <description of its part>)
function(studio_data_package group name section summary part)
    string(TOUPPER ${group} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${_what}\n\n${part}" PARENT_SCOPE)
    if(STUDIO_DATA_DEBIAN)
        set(_doc "${CMAKE_INSTALL_DATADIR}/doc/${name}")
        install(FILES "${PROJECT_BINARY_DIR}/debian/copyright" "${PROJECT_BINARY_DIR}/debian/changelog.Debian.gz"
            DESTINATION "${_doc}" COMPONENT ${group})
    endif()
endfunction()
studio_data_package(runtime ${_library} libs "contexts and expressions over them - library"
    "This package holds the shared library.")
studio_data_package(development libstudio-data-dev libdevel "contexts and expressions over them - development files"
    "This package holds what programs need to be built against the library,
its guides and its examples.")
studio_data_package(tools studio-data-tools utils "contexts and expressions over them - host programs"
    "This package holds studio-workbench, which loads conditions and replays
recorded sessions over them, and studio-shell, which explains their values.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${_library} ${_same}, libboost1.81-dev | libboost-dev (>= 1.81)")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "nlohmann-json3-dev (>= 3.11), pkgconf | pkg-config")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${_library} ${_same}")

if(NOT STUDIO_DATA_DEBIAN)
    set(CPACK_STRIP_FILES ON)
else()
    # What is stripped goes into packages of its own, which gdb finds by the build's number.
    set(CPACK_DEBIAN_RUNTIME_DEBUGINFO_PACKAGE ON)
    set(CPACK_DEBIAN_TOOLS_DEBUGINFO_PACKAGE ON)
    set(CPACK_BUILD_SOURCE_DIRS "${PROJECT_SOURCE_DIR};${PROJECT_BINARY_DIR}")
    string(TIMESTAMP _date "%a, %d %b %Y %H:%M:%S +0000" UTC)
    configure_file(cmake/debian/changelog.in "${PROJECT_BINARY_DIR}/debian/changelog.Debian" @ONLY)
    configure_file(CHANGELOG.md "${PROJECT_BINARY_DIR}/debian/changelog" COPYONLY)
    configure_file(workbench/studio-workbench.1 "${PROJECT_BINARY_DIR}/debian/studio-workbench.1" COPYONLY)
    configure_file(shell/studio-shell.1 "${PROJECT_BINARY_DIR}/debian/studio-shell.1" COPYONLY)
    execute_process(COMMAND gzip --best --no-name --force changelog changelog.Debian studio-workbench.1 studio-shell.1
        WORKING_DIRECTORY "${PROJECT_BINARY_DIR}/debian" COMMAND_ERROR_IS_FATAL ANY)
    install(FILES "${PROJECT_BINARY_DIR}/debian/changelog.gz" DESTINATION "${CMAKE_INSTALL_DOCDIR}"
        COMPONENT documentation)
    install(FILES "${PROJECT_BINARY_DIR}/debian/studio-workbench.1.gz" "${PROJECT_BINARY_DIR}/debian/studio-shell.1.gz"
        DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
        COMPONENT tools)
    # The terms as this format wants them: indented, with a dot in each empty line.
    file(READ LICENSE _license)
    string(REGEX REPLACE "^.*\n(Permission is )" "\\1" _license "${_license}")
    string(REGEX REPLACE "\n\n" "\n.\n" _license "${_license}")
    string(STRIP "${_license}" _license)
    string(REPLACE "\n" "\n " _license " ${_license}")
    configure_file(cmake/debian/copyright.in "${PROJECT_BINARY_DIR}/debian/copyright" @ONLY)
endif()
include(CPack)

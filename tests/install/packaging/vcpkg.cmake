# cmake -DPORT_FOLDER=... -DROOT=... -DINSTALLED=... -DCONFIGURE=<options> -DINSTALL=<command> -P vcpkg.cmake
# Runs a portfile with stand-ins for the functions of vcpkg that it calls. As there, what they do not know is an error. The
# package is made in ROOT/packages, for release only; CONFIGURE is what vcpkg itself would pass; INSTALL installs a build
# folder that is given to it.
cmake_minimum_required(VERSION 3.25)
set(PORT studio-data)
set(CURRENT_PACKAGES_DIR "${ROOT}/packages")
set(CURRENT_INSTALLED_DIR "${INSTALLED}")

function(vcpkg_refuse_rest)
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "what is ${arg_UNPARSED_ARGUMENTS}?")
    endif()
endfunction()

function(vcpkg_check_features)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" OUT_FEATURE_OPTIONS FEATURES)
    vcpkg_refuse_rest()
    set(options "")
    while(arg_FEATURES)
        list(POP_FRONT arg_FEATURES feature variable)
        if(feature IN_LIST FEATURES)
            set(value ON)
        else()
            set(value OFF)
        endif()
        list(APPEND options -D${variable}=${value})
        set(${variable} ${value} PARENT_SCOPE)
    endwhile()
    set(${arg_OUT_FEATURE_OPTIONS} "${options}" PARENT_SCOPE)
endfunction()

function(vcpkg_cmake_configure)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" SOURCE_PATH OPTIONS)
    vcpkg_refuse_rest()
    execute_process(COMMAND "${CMAKE_COMMAND}" -S "${arg_SOURCE_PATH}" -B "${ROOT}/build"
        "-DCMAKE_INSTALL_PREFIX=${CURRENT_PACKAGES_DIR}" ${CONFIGURE} ${arg_OPTIONS}
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(vcpkg_cmake_install)
    execute_process(COMMAND ${INSTALL} "${ROOT}/build" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Moves the package's files and says in them how far below the prefix they are now.
function(vcpkg_cmake_config_fixup)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "PACKAGE_NAME;CONFIG_PATH" "")
    vcpkg_refuse_rest()
    set(to "${CURRENT_PACKAGES_DIR}/share/${arg_PACKAGE_NAME}")
    file(GLOB files "${CURRENT_PACKAGES_DIR}/${arg_CONFIG_PATH}/*")
    file(COPY ${files} DESTINATION "${to}")
    file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/${arg_CONFIG_PATH}")
    set(up [[get_filename_component(_IMPORT_PREFIX "${_IMPORT_PREFIX}" PATH)]])
    file(GLOB targets "${to}/*targets.cmake")
    foreach(file IN LISTS targets)
        file(READ "${file}" text)
        string(REPLACE "${up}\n${up}\n" "${up}\n" text "${text}")
        file(WRITE "${file}" "${text}")
    endforeach()
endfunction()

function(vcpkg_copy_pdbs)
endfunction()
function(vcpkg_fixup_pkgconfig)
endfunction()

function(vcpkg_copy_tools)
    cmake_parse_arguments(PARSE_ARGV 0 arg AUTO_CLEAN "" TOOL_NAMES)
    vcpkg_refuse_rest()
endfunction()

function(vcpkg_install_copyright)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "" FILE_LIST)
    vcpkg_refuse_rest()
    file(INSTALL ${arg_FILE_LIST} DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}" RENAME copyright)
endfunction()

include("${PORT_FOLDER}/portfile.cmake")

# What vcpkg itself looks at after a port was built.
foreach(part IN ITEMS "share/${PORT}/copyright" "share/${PORT}/usage" share/studio_data/studio_data-config.cmake)
    if(NOT EXISTS "${CURRENT_PACKAGES_DIR}/${part}")
        message(FATAL_ERROR "the port installs no ${part}")
    endif()
endforeach()
foreach(part IN ITEMS debug/include debug/share lib/cmake)
    file(GLOB left "${CURRENT_PACKAGES_DIR}/${part}/*")
    if(left)
        message(FATAL_ERROR "the port leaves ${left}")
    endif()
endforeach()

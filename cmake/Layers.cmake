# How a loader names the folder of the file that it loads. Windows looks there in any case.
if(APPLE)
    set(STUDIO_DATA_ORIGIN "@loader_path")
elseif(UNIX)
    set(STUDIO_DATA_ORIGIN "$ORIGIN")
else()
    set(STUDIO_DATA_ORIGIN "")
endif()

# The library is built storey by storey: each layer is an object library, and studio_data joins their objects.
# Linking the object libraries instead would make them part of what a static build has to export.

# What every source of the library, and every test that links its objects, is compiled with.
add_library(studio_data_build INTERFACE)
target_compile_features(studio_data_build INTERFACE cxx_std_20)
target_include_directories(studio_data_build INTERFACE "${PROJECT_SOURCE_DIR}/framework" "${PROJECT_SOURCE_DIR}")
target_link_libraries(studio_data_build INTERFACE Boost::headers studio_data_warnings studio_data_instrumentation)
target_compile_definitions(studio_data_build INTERFACE ${STUDIO_DATA_UUID_DEFINITION})
target_link_libraries(studio_data_build INTERFACE studio_data_arithmetic)
if(BUILD_SHARED_LIBS)
    # CMake defines this for the sources of the library itself, which are all in its layers.
    target_compile_definitions(studio_data_build INTERFACE studio_data_EXPORTS)
    if(UNIX AND NOT APPLE)
        target_compile_options(studio_data_build INTERFACE -fno-semantic-interposition)
    endif()
else()
    target_compile_definitions(studio_data_build INTERFACE STUDIO_DATA_STATIC)
endif()

# The shared library is optimised as a whole when it is linked: a write passes a dozen small functions of as many sources,
# and costs a fifth less. The objects keep their own code too, for who links them.
if(BUILD_SHARED_LIBS AND UNIX AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "Release"
        AND NOT STUDIO_DATA_SANITIZE AND NOT STUDIO_DATA_COVERAGE)
    set(STUDIO_DATA_WHOLE_PROGRAM -flto=auto -ffat-lto-objects)
    target_link_options(studio_data_build INTERFACE -fno-lto)
else()
    set(STUDIO_DATA_WHOLE_PROGRAM)
endif()

# studio_data_limit_exports(<target> <objects...>): a shared library exports what cmake/exports/<target>.txt lists, and no more.
function(studio_data_limit_exports target)
    if(NOT BUILD_SHARED_LIBS)
        return()
    endif()
    if(WIN32 AND NOT MSVC)
        # An exported class would export all of its members here, so the list itself says what is exported.
        find_package(Python3 REQUIRED COMPONENTS Interpreter)
        set(script "${PROJECT_SOURCE_DIR}/scripts/exports.py")
        set(exports "${PROJECT_SOURCE_DIR}/cmake/exports/${target}.txt")
        set(objects "${PROJECT_BINARY_DIR}/exports/${target}.objects")
        set(definition "${PROJECT_BINARY_DIR}/exports/${target}.def")
        file(GENERATE OUTPUT "${objects}" CONTENT "$<JOIN:${ARGN},\n>\n")
        add_custom_command(TARGET ${target} PRE_LINK VERBATIM
            COMMAND "${Python3_EXECUTABLE}" "${script}" "${CMAKE_NM}" "${exports}" "${objects}" "${definition}")
        target_link_options(${target} PRIVATE "${definition}")
        set_target_properties(${target} PROPERTIES LINK_DEPENDS "${exports};${script}")
    elseif(UNIX AND NOT APPLE)
        # Names of the library's own namespaces, as far as they are visible; the test `symbols` compares them with the list.
        set(exports "${PROJECT_SOURCE_DIR}/cmake/${target}.map")
        target_link_options(${target} PRIVATE "LINKER:--version-script=${exports}")
        # A sanitized library takes its runtime from the program that loads it.
        if(NOT STUDIO_DATA_SANITIZE)
            target_link_options(${target} PRIVATE "LINKER:--no-undefined")
        endif()
        set_target_properties(${target} PROPERTIES LINK_DEPENDS "${exports}")
    endif()
endfunction()

# studio_data_layer(<name> [LINK <private libraries>] [PUBLIC_HEADERS ...] [PRIVATE_HEADERS ...] [SOURCES ...])
#   Files are named from the current folder. Public headers are installed, private ones only checked.
function(studio_data_layer name)
    cmake_parse_arguments(PARSE_ARGV 1 layer "" "" "LINK;PUBLIC_HEADERS;PRIVATE_HEADERS;SOURCES")
    if(layer_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "studio_data_layer(${name}): what is ${layer_UNPARSED_ARGUMENTS}?")
    endif()
    list(TRANSFORM layer_PUBLIC_HEADERS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
    list(TRANSFORM layer_PRIVATE_HEADERS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")

    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY "${PROJECT_SOURCE_DIR}" OUTPUT_VARIABLE folder)
    if(folder STREQUAL "framework")
        set_property(GLOBAL APPEND PROPERTY studio_data_FRAMEWORK_HEADERS ${layer_PUBLIC_HEADERS})
    else()
        set_property(GLOBAL APPEND PROPERTY studio_data_STUDIO_HEADERS ${layer_PUBLIC_HEADERS})
    endif()
    set_property(GLOBAL APPEND PROPERTY studio_data_PRIVATE_HEADERS ${layer_PRIVATE_HEADERS})

    if(layer_SOURCES)
        add_library(studio_data_${name} OBJECT ${layer_SOURCES})
        set_target_properties(studio_data_${name} PROPERTIES
            POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
        if(name MATCHES "^(engine|providers)$")   # the model-based test redirects calls between their sources
            set_target_properties(studio_data_${name} PROPERTIES UNITY_BUILD OFF)
        endif()
        target_compile_options(studio_data_${name} PRIVATE ${STUDIO_DATA_WHOLE_PROGRAM})
        target_link_libraries(studio_data_${name} PRIVATE studio_data_build ${layer_LINK})
        set_property(GLOBAL APPEND PROPERTY studio_data_LAYERS studio_data_${name})
    endif()
endfunction()

# Joins the layers: the target studio_data, the objects of all layers in STUDIO_DATA_OBJECTS for tests that link them,
# and studio_data_private_headers, which compiles each private header alone.
macro(studio_data_library)
    get_property(_layers GLOBAL PROPERTY studio_data_LAYERS)
    get_property(_framework_headers GLOBAL PROPERTY studio_data_FRAMEWORK_HEADERS)
    get_property(_studio_headers GLOBAL PROPERTY studio_data_STUDIO_HEADERS)
    get_property(_private_headers GLOBAL PROPERTY studio_data_PRIVATE_HEADERS)
    set(STUDIO_DATA_OBJECTS)
    foreach(_layer IN LISTS _layers)
        list(APPEND STUDIO_DATA_OBJECTS $<TARGET_OBJECTS:${_layer}>)
    endforeach()

    add_library(studio_data ${STUDIO_DATA_OBJECTS})
    add_library(studio_data::studio_data ALIAS studio_data)
    # Two sets: one cannot hold a base folder inside another.
    target_sources(studio_data
        PUBLIC FILE_SET framework TYPE HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}/framework" FILES ${_framework_headers}
        PUBLIC FILE_SET studio TYPE HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${_studio_headers})
    target_compile_features(studio_data PUBLIC cxx_std_20)
    target_compile_definitions(studio_data PUBLIC ${STUDIO_DATA_UUID_DEFINITION})
    target_link_libraries(studio_data
        PUBLIC Boost::headers
        PRIVATE PCRE2::8BIT $<BUILD_INTERFACE:studio_data_instrumentation>)
    set_target_properties(studio_data PROPERTIES
        LINKER_LANGUAGE CXX
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        VERIFY_INTERFACE_HEADER_SETS ${PROJECT_IS_TOP_LEVEL})
    if(BUILD_SHARED_LIBS)
        studio_data_limit_exports(studio_data ${STUDIO_DATA_OBJECTS})
        target_link_options(studio_data PRIVATE ${STUDIO_DATA_WHOLE_PROGRAM})
        if(UNIX AND NOT APPLE)
            target_link_options(studio_data PRIVATE LINKER:-Bsymbolic-functions)
        endif()
    else()
        target_compile_definitions(studio_data PUBLIC STUDIO_DATA_STATIC)
    endif()

    # For users of nlohmann::json: that library beside this one, whose own headers do not name it.
    add_library(studio_data_json INTERFACE)
    add_library(studio_data::json ALIAS studio_data_json)
    set_target_properties(studio_data_json PROPERTIES EXPORT_NAME json)
    target_link_libraries(studio_data_json INTERFACE studio_data nlohmann_json::nlohmann_json)

    set(_sources)
    foreach(_header IN LISTS _private_headers)
        cmake_path(RELATIVE_PATH _header BASE_DIRECTORY "${PROJECT_SOURCE_DIR}" OUTPUT_VARIABLE _name)
        set(_source "${PROJECT_BINARY_DIR}/private_headers/${_name}.cpp")
        file(CONFIGURE OUTPUT "${_source}" CONTENT "#include \"${_name}\"\n")
        list(APPEND _sources "${_source}")
    endforeach()
    if(PROJECT_IS_TOP_LEVEL)
        add_library(studio_data_private_headers OBJECT EXCLUDE_FROM_ALL ${_sources})
        target_link_libraries(studio_data_private_headers PRIVATE studio_data_build nlohmann_json::nlohmann_json PCRE2::8BIT)
    endif()
endmacro()

# studio_data_component(<name> [NEEDS <components>] PUBLIC_HEADERS ... [PRIVATE_HEADERS ...] SOURCES ...)
#   A library of its own over studio_data, whose installed headers are all that it sees: the target studio_data_<name>,
#   known as studio_data::<name>. It exports what cmake/studio_data_<name>.map says.
function(studio_data_component name)
    cmake_parse_arguments(PARSE_ARGV 1 part "" "" "NEEDS;PUBLIC_HEADERS;PRIVATE_HEADERS;SOURCES")
    if(part_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "studio_data_component(${name}): what is ${part_UNPARSED_ARGUMENTS}?")
    endif()
    set(target studio_data_${name})
    list(TRANSFORM part_NEEDS PREPEND studio_data_ OUTPUT_VARIABLE part_libraries)
    add_library(${target} ${part_SOURCES} ${part_PRIVATE_HEADERS})
    add_library(studio_data::${name} ALIAS ${target})
    target_sources(${target} PUBLIC FILE_SET headers TYPE HEADERS
        BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${part_PUBLIC_HEADERS})
    target_link_libraries(${target}
        PUBLIC studio_data ${part_libraries}
        PRIVATE $<BUILD_INTERFACE:studio_data_warnings> $<BUILD_INTERFACE:studio_data_instrumentation>
            $<BUILD_INTERFACE:studio_data_arithmetic>)
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${name}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
        VERIFY_INTERFACE_HEADER_SETS ${PROJECT_IS_TOP_LEVEL})
    studio_data_limit_exports(${target} $<TARGET_OBJECTS:${target}>)
    if(NOT STUDIO_DATA_DEBIAN)   # where every library is on the loader's path
        set_target_properties(${target} PROPERTIES INSTALL_RPATH "${STUDIO_DATA_ORIGIN}")
    endif()
    list(TRANSFORM part_PUBLIC_HEADERS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
    set_property(GLOBAL APPEND PROPERTY studio_data_COMPONENT_HEADERS ${part_PUBLIC_HEADERS})
    set_property(GLOBAL APPEND PROPERTY studio_data_COMPONENTS ${name})
    set_property(GLOBAL PROPERTY studio_data_${name}_NEEDS ${part_NEEDS})
endfunction()

# studio_data_instrumentation: sanitizers and coverage, for compiling and linking alike.
add_library(studio_data_instrumentation INTERFACE)
if(STUDIO_DATA_SANITIZE)
    set(_flags -fsanitize=${STUDIO_DATA_SANITIZE} -fno-omit-frame-pointer)
    if(STUDIO_DATA_SANITIZE MATCHES "undefined")
        # Not part of "undefined": a double that does not fit the integer it is converted to.
        list(APPEND _flags -fsanitize=float-cast-overflow -fno-sanitize-recover=all)
    endif()
    # What the checks add to the code makes gcc see values that nobody has set.
    target_compile_options(studio_data_instrumentation INTERFACE
        ${_flags} $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(studio_data_instrumentation INTERFACE ${_flags})
endif()
if(STUDIO_DATA_FUZZ)
    # libFuzzer steers by what the library itself executes.
    target_compile_options(studio_data_instrumentation INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(STUDIO_DATA_COVERAGE)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 18)
        set(_flags -fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc)
    else()
        set(_flags --coverage)
    endif()
    target_compile_options(studio_data_instrumentation INTERFACE ${_flags})
    target_link_options(studio_data_instrumentation INTERFACE ${_flags})
endif()

# studio_data_warnings: what every target of this project compiles with, and nobody else.
add_library(studio_data_warnings INTERFACE)
if(MSVC)
    target_compile_options(studio_data_warnings INTERFACE
        # The language as the standard has it: names by two phases, texts in UTF-8, and a truthful __cplusplus.
        /W4 /permissive- /utf-8 /Zc:__cplusplus /Zc:preprocessor /EHsc
        $<$<BOOL:${STUDIO_DATA_WERROR}>:/WX>)
else()
    target_compile_options(studio_data_warnings INTERFACE
        -Wall -Wextra -Wpedantic -Wconversion
        # gcc's -Wshadow also refuses a constructor parameter named like its field, which the conventions allow.
        $<$<CXX_COMPILER_ID:Clang>:-Wshadow>
        # gcc 12 sees overlapping copies in plain concatenations of texts (its bug 105651).
        $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
        # Sources that are joined look like headers, whose classes should have no members of an unnamed namespace.
        $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wno-subobject-linkage>
        # libstdc++ 12 uses a function of its own that it calls deprecated, in stable_sort; newer clang tells whoever sorts.
        $<$<AND:$<CXX_COMPILER_ID:Clang>,$<VERSION_GREATER_EQUAL:$<CXX_COMPILER_VERSION>,17>>:-Wno-deprecated-declarations>
        $<$<BOOL:${STUDIO_DATA_WERROR}>:-Werror>)
endif()

# studio_data_arithmetic: the same digits on every processor. Some have an instruction that rounds a * b + c once, and gcc
# takes it where it is allowed to; the result then differs in its last digit.
add_library(studio_data_arithmetic INTERFACE)
if(NOT MSVC)
    target_compile_options(studio_data_arithmetic INTERFACE -ffp-contract=off)
endif()

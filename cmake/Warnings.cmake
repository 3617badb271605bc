# studio_data_warnings: what every target of this project compiles with, and nobody else.
add_library(studio_data_warnings INTERFACE)
target_compile_options(studio_data_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion
    # gcc's -Wshadow also refuses a constructor parameter named like its field, which the conventions allow.
    $<$<CXX_COMPILER_ID:Clang>:-Wshadow>
    # gcc 12 sees overlapping copies in plain concatenations of texts (its bug 105651).
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
    # libstdc++ 12 uses a function of its own that it calls deprecated, in stable_sort; newer clang tells whoever sorts.
    $<$<AND:$<CXX_COMPILER_ID:Clang>,$<VERSION_GREATER_EQUAL:$<CXX_COMPILER_VERSION>,17>>:-Wno-deprecated-declarations>
    $<$<BOOL:${STUDIO_DATA_WERROR}>:-Werror>)

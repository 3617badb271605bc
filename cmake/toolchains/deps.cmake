# For the other toolchain files: what scripts/target_deps built for STUDIO_DATA_TARGET, and nothing of this machine.
set(CMAKE_FIND_ROOT_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.deps/${STUDIO_DATA_TARGET}")
foreach(_kind IN ITEMS LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${_kind} ONLY)
endforeach()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

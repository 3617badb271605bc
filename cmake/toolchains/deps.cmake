# For the other toolchain files: libraries and headers are those that scripts/target_deps built for STUDIO_DATA_TARGET, and none
# of this machine. CMake packages may stand elsewhere, too, as a package does that is installed to be tried; STUDIO_DATA_STAGE
# names its folder, for what is found by other means.
cmake_path(SET CMAKE_FIND_ROOT_PATH NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../../.deps/${STUDIO_DATA_TARGET}")
if(STUDIO_DATA_STAGE)
    list(APPEND CMAKE_FIND_ROOT_PATH "${STUDIO_DATA_STAGE}")
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

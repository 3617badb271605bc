# Windows on x86-64, by Debian's mingw-w64 with POSIX threads. Programs run under wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
# Objects with many inline functions have more sections than the older format counts.
set(CMAKE_CXX_FLAGS_INIT -Wa,-mbig-obj)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../../scripts/wine")
set(STUDIO_DATA_TARGET windows)
include("${CMAKE_CURRENT_LIST_DIR}/deps.cmake")

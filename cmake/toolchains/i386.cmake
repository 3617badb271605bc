# Linux on 32-bit x86, by g++-12 of Debian's multilib. Programs run on the machine itself.
# With SSE2: the registers of the older unit hold 80 bits, so that results would depend on what the compiler keeps in them.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER gcc-12)
set(CMAKE_CXX_COMPILER g++-12)
# The kernel's headers stand among those of the machine's own architecture.
set(CMAKE_C_FLAGS_INIT "-m32 -msse2 -mfpmath=sse -idirafter /usr/include/x86_64-linux-gnu")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")
set(STUDIO_DATA_TARGET i386)
include("${CMAKE_CURRENT_LIST_DIR}/deps.cmake")

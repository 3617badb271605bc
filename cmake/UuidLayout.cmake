# STUDIO_DATA_UUID_ALIGNMENT: how this Boost aligns boost::uuids::uuid, which stands in public types. Up to 1.85 it is
# 1, and the headers take it for granted; a library that is built with another passes it on to its users.
set(STUDIO_DATA_UUID_ALIGNMENT 1)
set(STUDIO_DATA_UUID_DEFINITION)
if(BoostHeaders_VERSION VERSION_GREATER_EQUAL 1.86)
    include(CheckCXXSourceCompiles)
    set(CMAKE_REQUIRED_INCLUDES "${BoostHeaders_INCLUDE_DIR}")
    check_cxx_source_compiles("#include <boost/uuid/uuid.hpp>
        static_assert(alignof(boost::uuids::uuid) == 1);
        int main() {}" STUDIO_DATA_UUID_IS_BYTES)
    unset(CMAKE_REQUIRED_INCLUDES)
    if(NOT STUDIO_DATA_UUID_IS_BYTES)
        set(STUDIO_DATA_UUID_ALIGNMENT 8)
        set(STUDIO_DATA_UUID_DEFINITION STUDIO_DATA_UUID_ALIGNMENT=8)
    endif()
endif()

# An overlay port, which builds the tree that it is part of:
#     vcpkg install "studio-data[tools]" --overlay-ports=packaging/vcpkg/studio-data
# vcpkg takes a package from its binary cache when the files of the port are the same; after a change of the tree, pass
# --no-binarycaching too. A copy of this port outside of the tree has to fetch the sources instead of the next line.
cmake_path(SET SOURCE_PATH NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../../..")

vcpkg_check_features(OUT_FEATURE_OPTIONS FEATURE_OPTIONS
    FEATURES
        tools STUDIO_DATA_WORKBENCH
)
# The headers of Boost are named, for a tree may hold some of its own in .deps/.
vcpkg_cmake_configure(
    SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS
        ${FEATURE_OPTIONS}
        -DSTUDIO_DATA_INSTALL=ON
        -DSTUDIO_DATA_TESTS=OFF
        -DSTUDIO_DATA_EXAMPLES=OFF
        -DSTUDIO_DATA_BENCHMARKS=OFF
        "-DCMAKE_INSTALL_DOCDIR=share/${PORT}/doc"
        "-DBoostHeaders_INCLUDE_DIR=${CURRENT_INSTALLED_DIR}/include"
)
vcpkg_cmake_install()
vcpkg_copy_pdbs()
vcpkg_cmake_config_fixup(PACKAGE_NAME studio_data CONFIG_PATH lib/cmake/studio_data)
vcpkg_fixup_pkgconfig()
if(STUDIO_DATA_WORKBENCH)
    vcpkg_copy_tools(TOOL_NAMES studio-workbench studio-shell AUTO_CLEAN)
endif()

# gdb finds its printers below the path of the library, which is another one when the package is installed.
file(REMOVE_RECURSE
    "${CURRENT_PACKAGES_DIR}/debug/include"
    "${CURRENT_PACKAGES_DIR}/debug/share"
    "${CURRENT_PACKAGES_DIR}/share/gdb"
)
file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")

# Untested: no vcpkg was at hand where this was written.
vcpkg_cmake_configure(
    SOURCE_PATH "${CURRENT_PORT_DIR}/../.."
    OPTIONS -DVELMORA_BUILD_TESTS=OFF -DVELMORA_BUILD_TOOLS=OFF -DVELMORA_BUILD_EXAMPLES=OFF -DVELMORA_HARDEN=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME velmora-x509 CONFIG_PATH lib/cmake/velmora-x509)
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
vcpkg_install_copyright(FILE_LIST "${CURRENT_PORT_DIR}/../../LICENSE")

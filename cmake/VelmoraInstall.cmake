# Installation: the headers under the same include paths as in the tree, the libraries, and a package that
# gives consumers velmora::x509.
include(CMakePackageConfigHelpers)

install(TARGETS velmora_options velmora_x509 ${VELMORA_FLOORS} EXPORT velmora-x509-targets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
foreach(folder IN LISTS VELMORA_FLOOR_FOLDERS)
  install(DIRECTORY ${folder}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder}
          FILES_MATCHING PATTERN "*.h" PATTERN "internal" EXCLUDE)
endforeach()

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/velmora-x509)
install(EXPORT velmora-x509-targets NAMESPACE velmora:: DESTINATION ${package_folder})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/velmora-x509-config-version.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES cmake/velmora-x509-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/velmora-x509-config-version.cmake
        DESTINATION ${package_folder})

# Packages: cpack -G TGZ makes one archive of all that is installed, cpack -G DEB the usual three packages
# from a build with BUILD_SHARED_LIBS. scripts/check-package makes and uses both.
set(abi ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(CPACK_PACKAGE_NAME velmora-x509)
set(CPACK_PACKAGE_VENDOR "velmora-x509 authors")
set(CPACK_PACKAGE_CONTACT "velmora-x509 authors <velmora-x509@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "X.509 certificates: parse, question, show")
set(CPACK_PACKAGE_FILE_NAME velmora-x509-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/compress_manual.cmake)

set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(debian_version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libvelmora-x509-${abi})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "library for X.509 certificates
 It loads certificates, answers questions about them, and tells whether they
 may be trusted. This package holds the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvelmora-x509-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libvelmora-x509-${abi} (= ${debian_version})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "library for X.509 certificates, to compile with
 It loads certificates, answers questions about them, and tells whether they
 may be trusted. This package holds the headers, and what CMake and pkg-config
 find the library by.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME velmora-x509)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "libvelmora-x509-${abi} (= ${debian_version})")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "shows and verifies X.509 certificates
 A command line that tells what certificates say, in words or as JSON, in
 what they depart from the standards, and whether they may be trusted.")

# Each Debian package brings its licence and its changes.
find_program(GZIP gzip)
if(PROJECT_IS_TOP_LEVEL AND BUILD_SHARED_LIBS AND GZIP)
  set(changelog ${PROJECT_BINARY_DIR}/changelog.Debian)
  configure_file(cmake/debian-changelog.in ${changelog} @ONLY)
  execute_process(COMMAND ${GZIP} -9nf ${changelog})
  foreach(component library development tool)
    string(TOUPPER ${component} upper)
    set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    install(FILES LICENSE DESTINATION ${folder} COMPONENT ${component} RENAME copyright)
    install(FILES ${changelog}.gz DESTINATION ${folder} COMPONENT ${component})
  endforeach()
else()
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/velmora-x509 COMPONENT development)
endif()
# Another project makes packages of its own, and CPack has one description for the whole build.
if(PROJECT_IS_TOP_LEVEL)
  include(CPack)
endif()

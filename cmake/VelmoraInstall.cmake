# Installation: the library, the headers under the same paths as in the tree, and what CMake and pkg-config
# find both by. Nothing in it names the place where it stands, so the whole may be moved.
include(CMakePackageConfigHelpers)

# Public headers: those of the faces, those of support/ that their vocabulary consists of or that programs
# render with, and what these include.
file(GLOB_RECURSE face_headers RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS
     velmora/certificate/*.h velmora/path/*.h velmora/reading/*.h velmora/x509/*.h)
list(FILTER face_headers EXCLUDE REGEX "/internal/")
set(support_headers
    asn1/attribute_types asn1/der_xml_codec asn1/oid_names asn1/oids asn1/vm_asn1
    core/arrays core/out_of_memory hash/sha_digest hash/vm_hash key/vm_public_key log/log_base log/log_sinks
    pem/pem_writer text/byte_codecs text/data_buffer text/printable text/string_buffer text/whole text/x_string
    time/velmora_sys_time trust/system_certs trust/trusted_roots xml/cls_xml)
list(TRANSFORM support_headers PREPEND velmora/support/)
list(TRANSFORM support_headers APPEND .h)

# The headers named and all that they include, in turn.
function(velmora_reached_headers out)
  set(reached)
  set(next ${ARGN})
  while(next)
    list(POP_FRONT next header)
    if(NOT header IN_LIST reached)
      list(APPEND reached ${header})
      file(STRINGS ${PROJECT_SOURCE_DIR}/${header} includes REGEX "^#include \"velmora/")
      list(TRANSFORM includes REPLACE "^#include \"([^\"]+)\".*" "\\1")
      list(APPEND next ${includes})
    endif()
  endwhile()
  set(${out} ${reached} PARENT_SCOPE)
endfunction()

velmora_reached_headers(public_headers ${face_headers} ${support_headers})
foreach(header IN LISTS public_headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder} COMPONENT development)
endforeach()

install(TARGETS velmora_x509 EXPORT velmora-x509-targets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/velmora-x509)
install(EXPORT velmora-x509-targets NAMESPACE velmora:: DESTINATION ${package_folder} COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/velmora-x509-config-version.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES cmake/velmora-x509-config.cmake ${PROJECT_BINARY_DIR}/velmora-x509-config-version.cmake
        DESTINATION ${package_folder} COMPONENT development)

# pkg-config knows where its file was found, and goes from there.
set(pc_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH pc_up /prefix/${pc_folder} /prefix)
  string(REGEX REPLACE "/$" "" pc_up ${pc_up})
  set(pc_prefix "\${pcfiledir}/${pc_up}")
endif()
set(pc_flags)
if(BUILD_SHARED_LIBS)
  set(pc_flags " -DVELMORA_SHARED")
endif()
configure_file(cmake/velmora-x509.pc.in velmora-x509.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velmora-x509.pc DESTINATION ${pc_folder} COMPONENT development)

include(VelmoraPackages)

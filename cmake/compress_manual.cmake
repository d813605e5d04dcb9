# Run by cpack when what goes into packages is in its place: Debian's hold manual pages compressed.
if(CPACK_GENERATOR STREQUAL "DEB")
  file(GLOB_RECURSE pages ${CPACK_TEMPORARY_DIRECTORY}/velmora-x509.1)
  foreach(page IN LISTS pages)
    execute_process(COMMAND gzip -9nf ${page} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endif()

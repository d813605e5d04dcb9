# What this project's own builds are made with, and nobody else's: hardening, and the same octets in
# whatever folder they are built. All of it is set for this folder and those below it, so none reaches who links.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

# Against attacks, where programs are ELF. Sanitizers find more than these, and do not go with all of them.
if(VELMORA_HARDEN AND CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF" AND NOT VELMORA_SANITIZE AND NOT VELMORA_BUILD_FUZZ)
  check_pie_supported(LANGUAGES CXX)
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
    string(MAKE_C_IDENTIFIER "VELMORA_HAS${flag}" has)
    check_cxx_compiler_flag("-Werror ${flag}" ${has})
    if(${has})
      add_compile_options(${flag})
    endif()
  endforeach()
  # Without optimisation the C library warns that it can do nothing.
  add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()

# Paths of the build are in no object, no dates and owners in archives, and run paths are as long everywhere.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
if(CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
  set(CMAKE_CXX_ARCHIVE_CREATE "<CMAKE_AR> qcD <TARGET> <LINK_FLAGS> <OBJECTS>")
  set(CMAKE_CXX_ARCHIVE_APPEND "<CMAKE_AR> qD <TARGET> <LINK_FLAGS> <OBJECTS>")
  set(CMAKE_CXX_ARCHIVE_FINISH "<CMAKE_RANLIB> -D <TARGET>")
endif()
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

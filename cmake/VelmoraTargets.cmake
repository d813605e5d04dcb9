# What the targets of this project are built with, and the shapes that they come in.
include(GNUInstallDirs)

# Warnings are this folder's and those below it alone, and for who works on it: another project that adds this one
# may stop at warnings, and is not to stop at those that a compiler we have not seen finds here.
if(PROJECT_IS_TOP_LEVEL)
  add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion)
endif()
if(VELMORA_WERROR)
  add_compile_options(-Werror)
endif()

# What objects, and programs made of them, are built with in the source tree. Nothing of it is installed:
# no public header depends on it.
add_library(velmora_options INTERFACE)
target_compile_features(velmora_options INTERFACE cxx_std_20)
target_include_directories(velmora_options INTERFACE ${PROJECT_SOURCE_DIR})
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # Files of more than 2 GiB, and folders of file systems with so many files.
  target_compile_definitions(velmora_options INTERFACE _FILE_OFFSET_BITS=64)
endif()
if(VELMORA_PORTABLE)
  target_compile_definitions(velmora_options INTERFACE VELMORA_PORTABLE)
endif()
if(VELMORA_SANITIZE)
  target_compile_options(velmora_options INTERFACE
      -fsanitize=${VELMORA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(velmora_options INTERFACE -fsanitize=${VELMORA_SANITIZE})
endif()

set(VELMORA_FLOORS "" CACHE INTERNAL "")

# velmora_floor(NAME FOLDER [FLOOR...]): the floor velmora::floor_NAME from the sources below a folder,
# which may include only its own headers and those of the floors named. As a target it is a static library
# for programs that look inside, such as tests; the library that is installed is made of the same objects.
function(velmora_floor name folder)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
  set(target velmora_floor_${name})
  add_library(${target} STATIC EXCLUDE_FROM_ALL ${sources})
  add_library(velmora::floor_${name} ALIAS ${target})
  # Private names of two sources may be the same, whatever a build around this one does with its own.
  set_target_properties(${target} PROPERTIES
      CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON UNITY_BUILD OFF)
  if(NOT DEFINED CMAKE_POSITION_INDEPENDENT_CODE OR BUILD_SHARED_LIBS)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  endif()
  if(BUILD_SHARED_LIBS)
    target_compile_definitions(${target} PRIVATE VELMORA_SHARED VELMORA_BUILDING)
    # Calls inside the library are to its own functions, whatever others of these names a program has.
    if(CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
      target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    endif()
  endif()
  target_link_libraries(${target} PUBLIC velmora_options)
  foreach(floor IN LISTS ARGN)
    target_link_libraries(${target} PUBLIC velmora_floor_${floor})
  endforeach()
  set(VELMORA_FLOORS ${VELMORA_FLOORS} ${target} CACHE INTERNAL "")
endfunction()

# velmora_library(FLOOR_TARGET...): all floors as velmora::x509, the one library that programs link, static
# or shared as BUILD_SHARED_LIBS says; and as velmora::floors, for programs that look inside.
function(velmora_library)
  set(objects)
  foreach(floor IN LISTS ARGN)
    list(APPEND objects $<TARGET_OBJECTS:${floor}>)
  endforeach()
  add_library(velmora_x509 ${objects})
  add_library(velmora::x509 ALIAS velmora_x509)
  # While the first number is 0, a new second number may change the ABI: both are in the SONAME.
  set_target_properties(velmora_x509 PROPERTIES
      OUTPUT_NAME velmora-x509 EXPORT_NAME x509 LINKER_LANGUAGE CXX
      VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  target_compile_features(velmora_x509 PUBLIC cxx_std_20)
  target_include_directories(velmora_x509 INTERFACE
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(velmora_x509 PUBLIC Threads::Threads $<BUILD_INTERFACE:velmora_options>)
  if(BUILD_SHARED_LIBS)
    target_compile_definitions(velmora_x509 INTERFACE VELMORA_SHARED)
    velmora_show_own_symbols(velmora_x509)
  endif()

  add_library(velmora_floors INTERFACE)
  add_library(velmora::floors ALIAS velmora_floors)
  target_link_libraries(velmora_floors INTERFACE ${ARGN})
endfunction()

# Templates of the standard library that are compiled into a shared library are visible in it whatever its
# own visibility is. The linker drops them from what it shows.
function(velmora_show_own_symbols target)
  if(CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
    set(map ${PROJECT_SOURCE_DIR}/cmake/velmora-x509.map)
    target_link_options(${target} PRIVATE LINKER:--version-script=${map})
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${map})
  endif()
endfunction()

# velmora_test(NAME FOLDER [FLOOR...]): the test program of a floor from the sources of a folder under
# tests/, with other floors that give it material.
function(velmora_test name folder)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(test_${name} ${sources})
  target_link_libraries(test_${name} PRIVATE velmora::floor_${name} GTest::gtest GTest::gtest_main)
  foreach(floor IN LISTS ARGN)
    target_link_libraries(test_${name} PRIVATE velmora::floor_${floor})
  endforeach()
  # GCC 12 warns of overlapping copies in its own std::string wherever texts are joined at -O3.
  target_compile_options(test_${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  # What is tested is optimised; the tests themselves would only take longer to compile. Most of what is left
  # is GoogleTest's header, read once for all of them.
  target_compile_options(test_${name} PRIVATE -O1)
  target_compile_definitions(test_${name} PRIVATE VELMORA_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  if(TARGET test_core AND NOT name STREQUAL core)
    target_precompile_headers(test_${name} REUSE_FROM test_core)
  else()
    target_precompile_headers(test_${name} PRIVATE <gtest/gtest.h> <algorithm> <string> <vector>)
  endif()
  gtest_discover_tests(test_${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()

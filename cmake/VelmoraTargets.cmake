# What every target of this project is built with, and the two shapes targets come in.
include(GNUInstallDirs)

# Warnings are this folder's and those below it alone: a project that adds this one keeps its own.
# Only this project's own builds stop at a warning, so that a newer compiler breaks nobody else's.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion)
if(PROJECT_IS_TOP_LEVEL)
  add_compile_options(-Werror)
endif()

# What consumers need too. Sanitizers are for builds of the source tree, never for what is installed.
add_library(velmora_options INTERFACE)
target_compile_features(velmora_options INTERFACE cxx_std_20)
if(VELMORA_PORTABLE)
  target_compile_definitions(velmora_options INTERFACE VELMORA_PORTABLE)
endif()
if(VELMORA_SANITIZE)
  target_compile_options(velmora_options INTERFACE
      $<BUILD_INTERFACE:-fsanitize=${VELMORA_SANITIZE};-fno-sanitize-recover=all;-fno-omit-frame-pointer>)
  target_link_options(velmora_options INTERFACE $<BUILD_INTERFACE:-fsanitize=${VELMORA_SANITIZE}>)
endif()

set(VELMORA_FLOORS "" CACHE INTERNAL "")
set(VELMORA_FLOOR_FOLDERS "" CACHE INTERNAL "")

# velmora_floor(NAME FOLDER [FLOOR...]): the static library velmora::floor_NAME from the sources below a folder,
# which may include only its own headers and those of the floors named.
function(velmora_floor name folder)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
  set(target velmora_floor_${name})
  add_library(${target} STATIC ${sources})
  add_library(velmora::floor_${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME floor_${name} CXX_EXTENSIONS OFF LINKER_LANGUAGE CXX)
  target_include_directories(${target} PUBLIC
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${target} PUBLIC velmora_options)
  foreach(floor IN LISTS ARGN)
    target_link_libraries(${target} PUBLIC velmora_floor_${floor})
  endforeach()
  set(VELMORA_FLOORS ${VELMORA_FLOORS} ${target} CACHE INTERNAL "")
  set(VELMORA_FLOOR_FOLDERS ${VELMORA_FLOOR_FOLDERS} ${folder} CACHE INTERNAL "")
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

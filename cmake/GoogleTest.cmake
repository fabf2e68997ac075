# GoogleTest, built from Debian's source package for every target.
set(NYX_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "GoogleTest's source folder")
set(INSTALL_GTEST OFF)
add_subdirectory(${NYX_GOOGLETEST_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
if(NYX_SANITIZE)
  foreach(target gtest gtest_main gmock)
    target_compile_options(${target} PRIVATE -fsanitize=address,undefined)
  endforeach()
endif()

# Tests share a precompiled header and are optimised lightly: most of their compile time is headers and the
# optimiser's work on assertions. The three warnings are false at -O1, in std::optional and std::wstring.
set(nyx_test_options -O1 -g1 -Wno-maybe-uninitialized -Wno-array-bounds
  -Wno-stringop-overread)
file(WRITE ${CMAKE_BINARY_DIR}/test_headers.cpp "")
add_library(nyx_test_headers OBJECT EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/test_headers.cpp)
target_link_libraries(nyx_test_headers PRIVATE nyx_flags gtest)
target_compile_options(nyx_test_headers PRIVATE ${nyx_test_options})
target_precompile_headers(nyx_test_headers PRIVATE
  <gtest/gtest.h> <algorithm> <atomic> <functional> <string> <thread> <vector>
  $<$<BOOL:${WIN32}>:<windows.h$<ANGLE-R>> $<$<BOOL:${WIN32}>:<strmif.h$<ANGLE-R>>)

# nyx_quick_to_compile(NAME): applies both to a target that links GoogleTest.
function(nyx_quick_to_compile name)
  target_compile_options(${name} PRIVATE ${nyx_test_options})
  target_precompile_headers(${name} REUSE_FROM nyx_test_headers)
  get_target_property(sources ${name} SOURCES)
  list(FILTER sources INCLUDE REGEX "\\.c$")
  if(sources)
    set_source_files_properties(${sources} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# nyx_test(NAME sources... [LINK libraries...] [NEEDS targets...] [PROPERTIES property value...]): one
# executable and one CTest entry, under Wine when cross-built. NEEDS are built first.
function(nyx_test name)
  cmake_parse_arguments(PARSE_ARGV 1 test "" "" "LINK;NEEDS;PROPERTIES")
  add_executable(${name} ${test_UNPARSED_ARGUMENTS})
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64 AND WIN32)
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/high_addresses.cpp)
  endif()
  target_link_libraries(${name} PRIVATE nyx_flags gtest gtest_main ${test_LINK})
  nyx_quick_to_compile(${name})
  add_test(NAME ${name} COMMAND ${name})
  if(test_NEEDS)
    add_dependencies(${name} ${test_NEEDS})
  endif()
  if(test_PROPERTIES)
    set_tests_properties(${name} PROPERTIES ${test_PROPERTIES})
  endif()
endfunction()

# nyx_material(NAME script [arguments...]): makes files on the build machine before the tests with
# FIXTURES_REQUIRED NAME.
function(nyx_material name script)
  add_test(NAME ${name} COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/${script} ${ARGN})
  set_tests_properties(${name} PROPERTIES FIXTURES_SETUP ${name})
endfunction()

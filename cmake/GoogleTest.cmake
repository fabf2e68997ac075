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
  -Wno-stringop-overread ${nyx_names_from_root})
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

# What the tests read, made once for all presets on the build machine. Wine sees its root as Z:.
set(NYX_MATERIAL ${PROJECT_SOURCE_DIR}/build/material)
add_test(NAME material COMMAND ${PROJECT_SOURCE_DIR}/tests/make_material.sh ${NYX_MATERIAL})
set_tests_properties(material PROPERTIES FIXTURES_SETUP material)
if(WIN32)
  string(PREPEND NYX_MATERIAL Z:)
endif()

# nyx_suite(NAME [ALONE] [ADMINISTRATOR] [COST number] [ARGUMENTS argument...] [ENVIRONMENT variable=value]): a
# program as a CTest entry, under Wine when cross-built, and as a line of suites.jsonl, for checks/. It prints
# "[  PASSED  ]" at its end, as GoogleTest does. An argument or value has no spaces. Those of a high COST start first.
# Of those that are ALONE one runs at a time: they share the registry or the display. ADMINISTRATOR: it registers or
# installs.
function(nyx_suite name)
  cmake_parse_arguments(PARSE_ARGV 1 suite "ALONE;ADMINISTRATOR" "COST;ENVIRONMENT" "ARGUMENTS")
  add_test(NAME ${name} COMMAND ${name} ${suite_ARGUMENTS})
  set_tests_properties(${name} PROPERTIES FIXTURES_REQUIRED material LABELS travels
    ENVIRONMENT "NYX_MATERIAL=${NYX_MATERIAL};${suite_ENVIRONMENT}")
  if(suite_ALONE)
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK registry)
  endif()
  if(NOT suite_COST)
    set(suite_COST 0)
  endif()
  set_tests_properties(${name} PROPERTIES COST ${suite_COST})
  string(TOLOWER "\"alone\": ${suite_ALONE}, \"administrator\": ${suite_ADMINISTRATOR}, \"cost\": ${suite_COST}" flags)
  set_property(GLOBAL APPEND_STRING PROPERTY NYX_SUITES "{\"name\": \"${name}\", ${flags}, \
\"arguments\": \"${suite_ARGUMENTS}\", \"environment\": \"${suite_ENVIRONMENT}\"}\n")
endfunction()

# nyx_test(NAME sources... [LINK libraries...] [NEEDS targets...] [options of nyx_suite]): a program of tests. NEEDS
# are built first.
function(nyx_test name)
  cmake_parse_arguments(PARSE_ARGV 1 test "ALONE;ADMINISTRATOR" "COST;ENVIRONMENT" "LINK;NEEDS")
  add_executable(${name} ${test_UNPARSED_ARGUMENTS})
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64 AND WIN32)
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/high_addresses.cpp)
  endif()
  target_link_libraries(${name} PRIVATE nyx_flags gtest gtest_main ${test_LINK})
  nyx_quick_to_compile(${name})
  if(test_NEEDS)
    add_dependencies(${name} ${test_NEEDS})
  endif()
  set(options COST ${test_COST} ENVIRONMENT ${test_ENVIRONMENT})
  foreach(flag ALONE ADMINISTRATOR)
    if(test_${flag})
      list(APPEND options ${flag})
    endif()
  endforeach()
  nyx_suite(${name} ${options})
endfunction()

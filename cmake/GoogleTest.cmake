# GoogleTest from Debian's source package, so that one version serves both builds.
set(NYX_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "GoogleTest's source folder")
set(INSTALL_GTEST OFF)
add_subdirectory(${NYX_GOOGLETEST_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
if(NYX_SANITIZE)
  foreach(target gtest gtest_main gmock)
    target_compile_options(${target} PRIVATE -fsanitize=address,undefined)
  endforeach()
endif()

# nyx_test(NAME sources...): one executable, one CTest entry; run under Wine when cross-built.
function(nyx_test name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE nyx_flags gtest gtest_main)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()

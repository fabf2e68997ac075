# CLI11, Debian's header-only command line library. The build tree gets a link to it, because the cross
# compiler must not see the machine's other headers.
if(NOT EXISTS /usr/include/CLI)
  message(FATAL_ERROR "/usr/include/CLI is missing: run scripts/setup")
endif()
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/cli11)
file(CREATE_LINK /usr/include/CLI ${CMAKE_BINARY_DIR}/cli11/CLI SYMBOLIC)
add_library(nyx_cli11 INTERFACE)
target_include_directories(nyx_cli11 SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/cli11)

# Debian's header-only libraries. The build tree gets a link to each, because the cross compiler must not see
# the machine's other headers.
function(nyx_header_library target folder)
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "/usr/include/${folder} is missing: run scripts/setup")
  endif()
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers/${target})
  file(CREATE_LINK /usr/include/${folder} ${CMAKE_BINARY_DIR}/headers/${target}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/headers/${target})
endfunction()

nyx_header_library(nyx_cli11 CLI)
nyx_header_library(nyx_json nlohmann)

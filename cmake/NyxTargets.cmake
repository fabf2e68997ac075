# One place for the flags that every target of ours is built with.

# Warnings are errors; the base-class library follows documented signatures, so unused parameters
# are part of its shape and are left unnamed there.
add_library(nyx_flags INTERFACE)
target_compile_options(nyx_flags INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wsign-conversion -Werror)
target_include_directories(nyx_flags INTERFACE ${PROJECT_SOURCE_DIR})

if(WIN32)
  # Hosts built by other compilers keep the stack 4-byte aligned: realign at every entry. SSE2 for
  # floating point, so that a double's value does not depend on the x87 precision control.
  target_compile_options(nyx_flags INTERFACE
    -msse2 -mfpmath=sse -mstackrealign -ffunction-sections -fdata-sections)
  target_compile_definitions(nyx_flags INTERFACE
    UNICODE _UNICODE STRICT NOMINMAX WIN32_LEAN_AND_MEAN WINVER=0x0601 _WIN32_WINNT=0x0601)
  target_link_options(nyx_flags INTERFACE -static -Wl,--gc-sections -fstack-protector-strong)
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
endif()

if(NYX_SANITIZE)
  target_compile_options(nyx_flags INTERFACE
    -O1 -g1 -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(nyx_flags INTERFACE -fsanitize=address,undefined)
endif()

if(NYX_COVERAGE)
  target_compile_options(nyx_flags INTERFACE --coverage -fprofile-update=prefer-atomic)
  target_link_options(nyx_flags INTERFACE --coverage)
endif()

if(NYX_FUZZ)
  target_compile_options(nyx_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# nyx_protect_stack(TARGET): an overwritten return address ends the process before it is used.
function(nyx_protect_stack target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
endfunction()

# nyx_library(NAME sources...): a static library with our flags.
function(nyx_library name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PUBLIC nyx_flags)
  if(WIN32 AND NOT NYX_COVERAGE)
    nyx_protect_stack(${name})
  endif()
endfunction()

# nyx_instruction_set(FLAG sources...): one instruction set per translation unit, on that file only.
function(nyx_instruction_set flag)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS ${flag})
endfunction()

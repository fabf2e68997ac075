# The flags and helpers of all our targets.

# Warnings are errors.
add_library(nyx_flags INTERFACE)
target_compile_options(nyx_flags INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wsign-conversion -Werror)
target_include_directories(nyx_flags INTERFACE ${PROJECT_SOURCE_DIR})

if(WIN32)
  target_compile_options(nyx_flags INTERFACE
    ${NYX_PROCESSOR_FLAGS} -ffunction-sections -fdata-sections)
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

# nyx_protect_stack(TARGET): ends the process when a return address is overwritten, before it is used.
function(nyx_protect_stack target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
endfunction()

# Debug information has paths relative to the root, so that a build in another folder gives the same bytes.
# gcov needs absolute paths.
if(WIN32 AND NOT NYX_COVERAGE)
  set(nyx_names_from_root -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
endif()

# nyx_library(NAME sources...): a static library with our flags.
function(nyx_library name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PUBLIC nyx_flags)
  target_compile_options(${name} PRIVATE ${nyx_names_from_root})
  if(WIN32 AND NOT NYX_COVERAGE)
    nyx_protect_stack(${name})
  endif()
endfunction()

# The third-party parts of the binaries, for their version resources.
set(NYX_CONTAINS_RUNTIME "The run-time libraries of GCC and MinGW-w64.")
set(NYX_LIBAVCODEC_DIR ${PROJECT_SOURCE_DIR}/build/libavcodec CACHE PATH "Output of scripts/engines")
if(EXISTS ${NYX_LIBAVCODEC_DIR}/source-version)
  file(STRINGS ${NYX_LIBAVCODEC_DIR}/source-version version)
  set(NYX_CONTAINS_LIBAV "FFmpeg's libraries from Debian's source package ffmpeg ${version}, LGPL 2.1 or later.")
endif()

# The vendor, for the version resources.
set(NYX_COMPANY "Nyx codec project")
set(NYX_COPYRIGHT "Copyright the authors of the Nyx codecs; third-party licences are in the folder licences.")

# nyx_binary(TARGET DESCRIPTION CONTAINS [VERSION version] [ICON file]): a DLL or program with a version
# resource. CONTAINS names its third-party parts. The default version is the project's. A DLL with the
# compiler's thread library fails the build.
function(nyx_binary target NYX_DESCRIPTION NYX_CONTAINS)
  cmake_parse_arguments(PARSE_ARGV 3 own "" "VERSION;ICON" "")
  set(NYX_FILE_VERSION ${PROJECT_VERSION}.0)
  if(own_VERSION)
    set(NYX_FILE_VERSION ${own_VERSION})
  endif()
  if(own_ICON)
    set(NYX_ICON "1 ICON \"${own_ICON}\"")
    set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/${target}.rc PROPERTIES OBJECT_DEPENDS ${own_ICON})
  endif()
  get_target_property(type ${target} TYPE)
  set(NYX_FILE_TYPE VFT_DLL)
  set(NYX_FILE_SUFFIX .dll)
  if(type STREQUAL EXECUTABLE)
    set(NYX_FILE_TYPE VFT_APP)
    set(NYX_FILE_SUFFIX .exe)
  endif()
  get_target_property(NYX_FILE_NAME ${target} OUTPUT_NAME)
  if(NOT NYX_FILE_NAME)
    set(NYX_FILE_NAME ${target})
  endif()
  string(REPLACE . , NYX_FILE_VERSION_WORDS ${NYX_FILE_VERSION})
  string(REPLACE . , NYX_PRODUCT_VERSION_WORDS ${PROJECT_VERSION}.0)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc @ONLY)
  target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:C,CXX>:${nyx_names_from_root}>)
  target_link_options(${target} PRIVATE
    -Wl,--dynamicbase -Wl,--nxcompat -Wl,--no-insert-timestamp)
  if(NOT type STREQUAL EXECUTABLE)
    # Of what is linked in, only the compiler's thread library calls this function.
    add_custom_command(TARGET ${target} POST_BUILD VERBATIM COMMAND sh -c
      "if \"$0\" -p \"$1\" | grep -q AddVectoredExceptionHandler; then echo \"$1 lacks nyx_runtime\"; exit 1; fi"
      ${CMAKE_OBJDUMP} $<TARGET_FILE:${target}>)
  endif()
endfunction()

# nyx_server(NAME DESCRIPTION CONTAINS sources...): a COM server with our runtime; the rest as for nyx_binary.
function(nyx_server name description contains)
  add_library(${name} SHARED ${ARGN})
  target_link_libraries(${name} PRIVATE nyx_runtime)
  target_link_options(${name} PRIVATE -Wl,--enable-stdcall-fixup)
  set_target_properties(${name} PROPERTIES PREFIX "")
  nyx_protect_stack(${name})
  nyx_binary(${name} ${description} ${contains})
endfunction()

# nyx_instruction_set(FLAG sources...): enables an instruction set for these files only.
function(nyx_instruction_set flag)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS ${flag})
endfunction()

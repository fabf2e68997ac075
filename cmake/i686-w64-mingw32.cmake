set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
# Hosts built by other compilers keep the stack 4-byte aligned: realign it at every entry. SSE2 makes
# floating point independent of the x87 precision control.
set(NYX_PROCESSOR_FLAGS -msse2 -mfpmath=sse -mstackrealign)

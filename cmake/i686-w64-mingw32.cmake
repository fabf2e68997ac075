set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
# Hosts built by other compilers keep the stack 4-byte aligned: realign at every entry. SSE2 for
# floating point, so that a double's value does not depend on the x87 precision control.
set(NYX_PROCESSOR_FLAGS -msse2 -mfpmath=sse -mstackrealign)

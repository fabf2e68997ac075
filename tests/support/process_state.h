#pragma once

#include <windows.h>

#include <cstddef>

namespace nyx::test {

/// What this process holds of the system's resources. Asked in such a way that the runtime answers
/// too, where the usual calls give 0 for all of them.
struct ProcessState {
    std::size_t committedBytes;  ///< memory that is this process's alone
    std::size_t heapBlocks;      ///< in use, in all heaps
    DWORD handles;
    DWORD gdiObjects;
    DWORD threads;
};

ProcessState ReadProcessState();

}  // namespace nyx::test

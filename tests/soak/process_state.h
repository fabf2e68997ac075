#pragma once

#include <windows.h>

#include <cstddef>

namespace nyx::soak {

/// What this process holds of the system's resources.
struct ProcessState {
    std::size_t privateBytes;
    std::size_t heapBlocks;
    DWORD handles;
    DWORD gdiObjects;
    DWORD threads;
};

ProcessState ReadProcessState();

}  // namespace nyx::soak

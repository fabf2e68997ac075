#pragma once

#include <windows.h>

#include <psapi.h>

#include <cstddef>

namespace nyx::test {

/// Memory that is this process's alone: what leaks shows here. Some runtimes leave PrivateUsage at
/// 0; this older field counts the same.
inline std::size_t PrivateBytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof(counters);
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return counters.PagefileUsage;
}

}  // namespace nyx::test

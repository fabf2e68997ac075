#include "process_usage.h"

#include <windows.h>

#include <psapi.h>

namespace nyx::host {
namespace {

double Seconds(const FILETIME& time) {
    const unsigned long long units =
        static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    return static_cast<double>(units) * 100e-9;
}

}  // namespace

ProcessUsage MeasureProcess() {
    FILETIME created{}, exited{}, kernel{}, user{};
    GetProcessTimes(GetCurrentProcess(), &created, &exited, &kernel, &user);
    PROCESS_MEMORY_COUNTERS memory{};
    memory.cb = sizeof(memory);
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory));
    return {Seconds(kernel) + Seconds(user), static_cast<double>(memory.PagefileUsage) / (1 << 20)};
}

}  // namespace nyx::host

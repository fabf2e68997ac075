#pragma once

namespace nyx::host {

/// What this process has used so far.
struct ProcessUsage {
    double cpuSeconds = 0;     ///< of all its threads, user and kernel
    double privateMBytes = 0;  ///< memory that is its alone, now
};

ProcessUsage MeasureProcess();

}  // namespace nyx::host

#pragma once

/// @file
/// The extra exports of the starved module: the module's own code, whose memory runs out when a
/// test says so. One thread at a time.

namespace nyx::test {

/// What a test reads after a run.
struct MemoryCount {
    long asked;  ///< allocations since the last call of starved_fail
    long alive;  ///< blocks of operator new that are in use
};

/// Counts from 0 again, and lets the allocation with this number fail, 1 being the next; 0 for
/// none. Counted are operator new in all its forms and CoTaskMemAlloc, as this module calls them.
using StarvedFail = void(__cdecl*)(long number);
using StarvedCount = MemoryCount(__cdecl*)();

}  // namespace nyx::test

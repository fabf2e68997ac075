#pragma once

namespace nyx::test {

/// The system's answer to the module's queries of memory.
enum class Answer { kTruth, kUnknown, kReserved, kWriteCombined };

/// The export "starved" of the starved module, which a test sets and reads. One thread at a time.
/// Counts operator new in all its forms and CoTaskMemAlloc.
struct Starved {
    long failing;  ///< the number of the allocation to fail, 1 being the first; 0 for none
    long alive;    ///< blocks of operator new in use
    Answer answer;
    long asked, queries;  ///< allocations, and of the kind of memory, since set to 0
};

}  // namespace nyx::test

#pragma once

namespace nyx::test {

/// What the system says of memory when the module asks it.
enum class Answer { kTruth, kUnknown, kReserved, kWriteCombined };

/// The one export of the starved module beside the module's own, "starved": a test sets and reads
/// it. One thread at a time. Counted are operator new in all its forms and CoTaskMemAlloc.
struct Starved {
    long failing;  ///< the number of the allocation to fail, 1 being the first; 0 for none
    long alive;    ///< blocks of operator new in use
    Answer answer;
    long asked, queries;  ///< allocations, and of the kind of memory, since set to 0
};

}  // namespace nyx::test

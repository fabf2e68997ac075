#pragma once

namespace nyx::test {

/// Begins counting CoTaskMemAlloc'ed blocks, for the rest of the process. COM must be initialised.
void WatchTaskMemory();

/// Blocks allocated since watching began and not yet freed: format blocks and ids that were lost.
long LiveTaskMemoryBlocks();

}  // namespace nyx::test

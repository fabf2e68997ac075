#pragma once

#include <cstddef>

namespace nyx::test {

/// Blocks in use in all heaps of the process, the C runtime's included. Other threads should be at
/// rest. Use differences: the runtime keeps blocks of its own.
std::size_t LiveHeapBlocks();

}  // namespace nyx::test

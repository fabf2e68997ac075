#pragma once

#include <cstddef>

#include "platform/win_types.h"

namespace nyx {

/// One pair of formats and what converts it: a kernel, or several variants of one.
template <class Kernels>
struct KernelRow {
    DWORD source;
    DWORD destination;
    Kernels kernels;
};

/// The row of a pair, or null when there is none.
template <class Kernels, std::size_t kCount>
const KernelRow<Kernels>* FindKernelRow(const KernelRow<Kernels> (&rows)[kCount], DWORD source,
                                        DWORD destination) {
    for (const KernelRow<Kernels>& row : rows) {
        if (row.source == source && row.destination == destination) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace nyx

#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>

#include "platform/fourcc.h"
#include "platform/win_types.h"

namespace nyx::fuzz {

/// The fuzzer's bytes as numbers and blocks. Numbers are taken from the end, so that an input is a
/// real frame followed by the few bytes that steer the call.
using ByteSource = FuzzedDataProvider;

/// Ends the run with a report when a promise is broken.
inline void Require(bool promise) {
    if (!promise) {
        std::abort();
    }
}

}  // namespace nyx::fuzz

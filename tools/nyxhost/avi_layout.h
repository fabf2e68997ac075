#pragma once

#include <string>

namespace nyx::host {

/// An AVI through AVIFile stays below 2^31 bytes: beyond, its 32-bit offsets and sizes silently
/// lie.
inline constexpr long long kAviSizeLimit = 1LL << 31;

/// What must be known of a file before the platform's AVI reader may look at it.
struct AviLayout {
    long long fileSize;
    long long indexEntries;  ///< of all streams together
};

/// Walks the file's outermost chunks. The platform's reader trusts them: a file that is cut short,
/// or whose index is missing, can end the process instead of giving an error. Failure kInput when
/// the file cannot be opened or read, kNotAvi when it is no AVI, is cut short, has no index or is
/// too large.
AviLayout ReadAviLayout(const std::string& path);

}  // namespace nyx::host

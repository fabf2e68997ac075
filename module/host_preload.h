#pragma once

namespace nyx {

/// In the maker's editor the sibling codec modules are kept loaded for the life of the process, so
/// that their engines do not come and go as it builds and tears down graphs. Gates nothing: in any
/// other host, or where a module is missing, nothing happens. Called at process attach.
void PreloadSiblings();

/// Frees what PreloadSiblings loaded, in reverse order. Called at process detach.
void FreeSiblings();

}  // namespace nyx

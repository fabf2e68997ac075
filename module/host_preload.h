#pragma once

namespace nyx {

/// In the maker's editor, keeps the sibling codec modules loaded for the life of the process, so
/// that their engines stay loaded while the editor builds and tears down graphs. Does nothing in
/// any other host, and skips missing modules. Called at process attach.
void PreloadSiblings();

/// Frees what PreloadSiblings loaded, in reverse order. Called at process detach.
void FreeSiblings();

}  // namespace nyx

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "source/footage_file.h"

namespace nyx::source {

/// Opens the files of audio that belong to a picture's file in OP-Atom (SMPTE 390), which has one
/// essence a file: those *.mxf files beside it that name the same material package, in the order of
/// their names. Looks for two seconds at most. Throws std::bad_alloc.
std::vector<std::unique_ptr<FootageFile>> OpenSiblings(const FootageFile& picture,
                                                       const std::wstring& path);

}  // namespace nyx::source

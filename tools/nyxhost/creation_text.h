#pragma once

#include <windows.h>

#include <string>

namespace nyx::host {

/// Why a filter of that name could not be created, in words. For want of its engine: the libraries
/// that it loads, and where the system's search order, which is the module's too, finds each.
std::string CreationText(const std::string& filter, HRESULT created);

}  // namespace nyx::host

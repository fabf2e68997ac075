#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace nyx::host {

/// The engine libraries of a filter, by the filter's name, and what this program finds of each:
/// "rkdvh.dll (4.31.0.0, open, C:\...\rkdvh.dll)", with both versions where it is too old,
/// or "rkdvh.dll (not found)". Empty for a filter without engines. Engines that a living filter
/// uses are loaded; others are loaded for a look.
std::vector<std::string> EngineTexts(const std::string& filter);

/// Whether a filter that could not be created, with that result, wants an engine.
bool WantsEngine(const std::string& filter, HRESULT created);

/// Why a filter could not be created, in one line.
std::string CreationText(const std::string& filter, HRESULT created);

}  // namespace nyx::host

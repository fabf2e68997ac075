#pragma once

#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

namespace nyx::host {

/// An engine library, and the filters that need it by a word of their names.
struct Engine {
    const wchar_t* library;
    DWORD oldest;  ///< version that the module accepts
    const char* family;
    bool open;  ///< whether the product comes with one
};

/// Every engine that a filter can have.
std::vector<Engine> AllEngines();

/// "4.31.0.0, open, C:\...\rkdvh.dll" of an engine's file, with both versions when it is too old.
std::string EngineFileText(const Engine& engine, const std::filesystem::path& file);

/// Whether the module refuses an engine's file for its version.
bool IsTooOld(const Engine& engine, const std::filesystem::path& file);

/// The engine libraries of a filter, given its name, each with the file that this program loads:
/// "rkdvh.dll (4.31.0.0, open, C:\...\rkdvh.dll)", with both versions when it is too old, or
/// "rkdvh.dll (not found)". Empty for a filter without engines. Loads each library for the time of
/// the call.
std::vector<std::string> EngineTexts(const std::string& filter);

/// Whether a filter's creation with the result `created` failed because of a missing or old engine.
bool LacksEngine(const std::string& filter, HRESULT created);

/// Why a filter could not be created, in one line.
std::string CreationText(const std::string& filter, HRESULT created);

}  // namespace nyx::host

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

/// Why programs of a word size cannot load a library that should be there: "not a 32-bit library",
/// or "not loadable: " with the system's reason, which for the other word size only says whether
/// the file can be read. Empty when they can.
std::string LoadFailure(const std::filesystem::path& file, int bits);

/// The file of an engine that programs of a word size load: the first one on the search path, else
/// that in the folder "engines" beside the module, as the module itself searches. A file of the
/// other word size is returned if there is no other.
std::filesystem::path FindEngine(const Engine& engine, int bits);

/// "4.31.0.0, open, C:\...\rkdvh.dll" of an engine's file, with both versions when it is too old.
std::string EngineFileText(const Engine& engine, const std::filesystem::path& file);

/// Whether the module refuses an engine's file for its version.
bool IsTooOld(const Engine& engine, const std::filesystem::path& file);

/// The engine libraries of a filter, given its name, each with the file that this program loads:
/// "rkdvh.dll (4.31.0.0, open, C:\...\rkdvh.dll)", with both versions when it is too old, or
/// "rkdvh.dll (not found)". Empty for a filter without engines.
std::vector<std::string> EngineTexts(const std::string& filter);

/// Whether a filter's creation with the result `created` failed because of a missing or old engine.
bool LacksEngine(const std::string& filter, HRESULT created);

/// Why a filter could not be created, in one line.
std::string CreationText(const std::string& filter, HRESULT created);

}  // namespace nyx::host

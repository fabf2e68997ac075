#pragma once

/// @file
/// The stand-in engines as a test process finds and steers them.

#include <windows.h>

#include <string>

#include "engines/standin/standin.h"

namespace nyx::test {

/// The folder of the stand-in engines of this build, with a subfolder when that is not empty.
inline std::wstring EngineFolder(const std::wstring& subfolder = L"") {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder(path);
    for (int level = 0; level < 2; ++level) {
        folder.erase(folder.find_last_of(L"\\/"));
    }
    folder += L"\\engines\\standin";
    return subfolder.empty() ? folder : folder + L"\\" + subfolder;
}

/// Lets bare names find the engines of a folder while in scope; "none" finds nothing.
class EngineSearch {
  public:
    explicit EngineSearch(const std::wstring& subfolder = L"") {
        SetDllDirectoryW(EngineFolder(subfolder).c_str());
    }
    ~EngineSearch() { SetDllDirectoryW(nullptr); }
    EngineSearch(const EngineSearch&) = delete;
    EngineSearch& operator=(const EngineSearch&) = delete;
};

/// Has the stand-ins misbehave while in scope, as in "decode:access".
class Misbehaviour {
  public:
    explicit Misbehaviour(const char* what) { SetEnvironmentVariableA(standin::kMisbehave, what); }
    ~Misbehaviour() { SetEnvironmentVariableA(standin::kMisbehave, nullptr); }
    Misbehaviour(const Misbehaviour&) = delete;
    Misbehaviour& operator=(const Misbehaviour&) = delete;
};

inline bool IsLoaded(const wchar_t* library) {
    return GetModuleHandleW(library) != nullptr;
}

/// The last call of a loaded stand-in; a count of 0 when there was none.
inline standin::Call LastCall(const wchar_t* library, standin::Purpose purpose) {
    standin::Call call = {};
    const HMODULE module = GetModuleHandleW(library);
    const auto entry = module ? reinterpret_cast<standin::LastCallEntry>(reinterpret_cast<void*>(
                                    GetProcAddress(module, "standin_last_call")))
                              : nullptr;
    if (entry) {
        entry(purpose, &call);
    }
    return call;
}

}  // namespace nyx::test

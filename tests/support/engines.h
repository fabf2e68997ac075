#pragma once

/// @file
/// The stand-in engines as a test process finds and steers them.

#include <windows.h>

#include <string>
#include <vector>

#include "engines/standin/standin.h"

namespace nyx::test {

/// The folder of the running test program, with its closing backslash.
inline std::wstring ProgramFolder() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring_view whole(path);
    return std::wstring(whole.substr(0, whole.rfind(L'\\') + 1));
}

/// The folder of the stand-in engines of this build, or one below it.
inline std::wstring EngineFolder(const std::wstring& subfolder = L"") {
    return ProgramFolder() + L"..\\engines\\standin\\" + subfolder;
}

/// An export of a loaded library, null when there is none.
template <class Function>
Function Export(HMODULE library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

/// Lets bare names find the engines of a folder while in scope; "none" finds nothing.
struct EngineSearch {
    explicit EngineSearch(const std::wstring& subfolder = L"") {
        SetDllDirectoryW(EngineFolder(subfolder).c_str());
    }
    ~EngineSearch() { SetDllDirectoryW(nullptr); }
};

/// Has the stand-ins misbehave while in scope, as in "decode:access".
struct Misbehaviour {
    explicit Misbehaviour(const char* what) { SetEnvironmentVariableA(standin::kMisbehave, what); }
    ~Misbehaviour() { SetEnvironmentVariableA(standin::kMisbehave, nullptr); }
};

inline bool IsLoaded(const wchar_t* library) {
    return GetModuleHandleW(library) != nullptr;
}

/// The last call of a loaded stand-in; a count of 0 when there was none.
inline standin::Call LastCall(const wchar_t* library, standin::Purpose purpose) {
    standin::Call call = {};
    const HMODULE module = GetModuleHandleW(library);
    if (const auto entry = Export<standin::LastCallEntry>(module, "standin_last_call")) {
        entry(purpose, &call);
    }
    return call;
}

/// The words of a call: numbers and addresses.
inline std::vector<LONG_PTR> WordsOf(const standin::Call& call) {
    return {call.words, call.words + call.wordCount};
}

}  // namespace nyx::test

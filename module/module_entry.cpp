/// @file
/// The module's entries: it attaches to and detaches from a process, and registers its classes.

#include <cstdlib>
#include <cwchar>
#include <iterator>

#include "baseclasses/streams.h"
#include "convert/cpu_info.h"

namespace {

constexpr wchar_t kHostName[] = L"PceMavrel";

constexpr const wchar_t* kSiblingNames[] = {
    L"rkdv5codc.dll", L"rkllccodc.DLL", L"rkzcodc.DLL",   L"rkdvccodc.DLL",
    L"rkdvhcodc.DLL", L"rkz2codc.DLL",  L"rk210codc.DLL",
};

HMODULE siblings[std::size(kSiblingNames)];

bool IsHost() {
    // Zeroed, so that a path that the system does not return does not match.
    wchar_t path[MAX_PATH + 1] = {};
    wchar_t name[MAX_PATH + 1] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    _wsplitpath(path, nullptr, nullptr, name, nullptr);
    return _wcsicmp(name, kHostName) == 0;
}

/// In the maker's editor, keeps the sibling codec modules loaded for the life of the process, so
/// that their engines stay loaded while the editor builds and tears down graphs. Does nothing in
/// any other host, and skips missing modules.
void PreloadSiblings() {
    if (!IsHost()) {
        return;
    }
    for (std::size_t i = 0; i < std::size(siblings); ++i) {
        siblings[i] = LoadLibraryW(kSiblingNames[i]);
    }
}

/// In reverse order.
void FreeSiblings() {
    for (std::size_t i = std::size(siblings); i-- > 0;) {
        if (siblings[i]) {
            FreeLibrary(siblings[i]);
            siblings[i] = nullptr;
        }
    }
}

// Reserved as the module's process-wide lock; no code enters it.
CRITICAL_SECTION moduleLock;

void Attach() {
    PreloadSiblings();
    InitializeCriticalSection(&moduleLock);
    nyx::GetCpuInfo();
}

void Detach() {
    FreeSiblings();
    DeleteCriticalSection(&moduleLock);
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) {
        Attach();
    } else if (reason == DLL_PROCESS_DETACH) {
        Detach();
    }
    return DllEntryPoint(instance, reason, reserved);
}

STDAPI DllRegisterServer() {
    return AMovieDllRegisterServer2(TRUE);
}

STDAPI DllUnregisterServer() {
    return AMovieDllRegisterServer2(FALSE);
}

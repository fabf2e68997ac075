#include "module/host_preload.h"

#include <windows.h>

#include <cstdlib>
#include <cwchar>
#include <iterator>

namespace nyx {
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

}  // namespace

void PreloadSiblings() {
    if (!IsHost()) {
        return;
    }
    for (std::size_t i = 0; i < std::size(siblings); ++i) {
        siblings[i] = LoadLibraryW(kSiblingNames[i]);
    }
}

void FreeSiblings() {
    for (std::size_t i = std::size(siblings); i-- > 0;) {
        if (siblings[i]) {
            FreeLibrary(siblings[i]);
            siblings[i] = nullptr;
        }
    }
}

}  // namespace nyx

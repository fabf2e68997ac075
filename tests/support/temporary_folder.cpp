#include "tests/support/temporary_folder.h"

#include <windows.h>

#include <stdexcept>

#include "tests/support/narrow.h"

namespace nyx::test {

TemporaryFolder::TemporaryFolder(const std::wstring& name) {
    wchar_t base[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH, base);
    path_ = base + (L"nyx-" + name) + L"-" + std::to_wstring(GetCurrentProcessId());
    if (!CreateDirectoryW(path_.c_str(), nullptr)) {
        throw std::runtime_error("cannot make the folder " + Narrow(path_));
    }
}

TemporaryFolder::~TemporaryFolder() {
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW(PathOf(L"*").c_str(), &found);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            DeleteFileW(PathOf(found.cFileName).c_str());
        } while (FindNextFileW(search, &found));
        FindClose(search);
    }
    RemoveDirectoryW(path_.c_str());
}

void TemporaryFolder::CopyHere(const std::wstring& from, const std::wstring& name) const {
    if (!CopyFileW(from.c_str(), PathOf(name).c_str(), FALSE)) {
        throw std::runtime_error("cannot copy " + Narrow(from));
    }
}

int RunProgram(const std::wstring& commandLine, const std::wstring& folder) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    std::wstring writable = commandLine;
    if (!CreateProcessW(nullptr, writable.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        folder.empty() ? nullptr : folder.c_str(), &startup, &process)) {
        return -static_cast<int>(GetLastError());
    }
    WaitForSingleObject(process.hProcess, 60000);
    DWORD code = STILL_ACTIVE;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
    return static_cast<int>(code);
}

}  // namespace nyx::test

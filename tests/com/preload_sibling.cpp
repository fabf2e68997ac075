/// @file
/// Stands in for one of the sibling modules: writes "+name" when it is loaded and "-name" when it
/// is freed to the file that the environment names. One binary serves under all names.

#include <windows.h>

namespace {

HINSTANCE self = nullptr;

void Append(char sign) {
    char log[MAX_PATH], path[MAX_PATH];
    GetEnvironmentVariableA("NYX_PRELOAD_LOG", log, MAX_PATH);
    // The name's last part with the sign in place of the backslash and a line's end behind.
    DWORD end = GetModuleFileNameA(self, path, MAX_PATH - 1);
    DWORD start = end;
    while (start > 0 && path[start] != '\\') {
        --start;
    }
    path[start] = sign;
    path[end++] = '\n';
    const HANDLE file = CreateFileA(log, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_ALWAYS, 0, nullptr);
    WriteFile(file, path + start, end - start, &end, nullptr);
    CloseHandle(file);
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    self = instance;
    if (reason == DLL_PROCESS_ATTACH || reason == DLL_PROCESS_DETACH) {
        Append(reason == DLL_PROCESS_ATTACH ? '+' : '-');
    }
    return TRUE;
}

/// @file
/// Stands in for one of the sibling modules: writes "+name" when it is loaded and "-name" when it
/// is freed to the file that the environment names. One binary serves under all names.

#include <windows.h>

namespace {

HINSTANCE self = nullptr;

void Append(char sign) {
    char log[MAX_PATH];
    char path[MAX_PATH];
    if (!GetEnvironmentVariableA("NYX_PRELOAD_LOG", log, MAX_PATH) ||
        !GetModuleFileNameA(self, path, MAX_PATH)) {
        return;
    }
    const char* name = path;
    for (const char* at = path; *at; ++at) {
        name = *at == '\\' ? at + 1 : name;
    }
    char line[MAX_PATH + 2];
    int length = 0;
    line[length++] = sign;
    while (*name) {
        line[length++] = *name++;
    }
    line[length++] = '\n';
    const HANDLE file = CreateFileA(log, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_ALWAYS, 0, nullptr);
    DWORD written = 0;
    WriteFile(file, line, static_cast<DWORD>(length), &written, nullptr);
    CloseHandle(file);
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    self = instance;
    if (reason == DLL_PROCESS_ATTACH) {
        Append('+');
    } else if (reason == DLL_PROCESS_DETACH) {
        Append('-');
    }
    return TRUE;
}

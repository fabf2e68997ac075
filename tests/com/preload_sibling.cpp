/// Stands in for one of the sibling modules: writes "+name" when it is loaded and "-name" when it
/// is freed to the file that the environment names. One binary serves under all names.

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" BOOL WINAPI DllMain(HINSTANCE self, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH || reason == DLL_PROCESS_DETACH) {
        char path[MAX_PATH] = {};
        GetModuleFileNameA(self, path, MAX_PATH);
        FILE* const log = std::fopen(std::getenv("NYX_PRELOAD_LOG"), "a");
        std::fprintf(log, "%c%s\n", reason ? '+' : '-', std::strrchr(path, '\\') + 1);
        std::fclose(log);
    }
    return TRUE;
}

/// @file
/// A host of the smallest kind: loads the module beside it, frees it and goes. With an argument it
/// leaves the module loaded and just ends.

#include <windows.h>

int main(int count, char**) {
    const HMODULE module = LoadLibraryW(L"nyxcodecs.dll");
    if (!module) {
        return 1;
    }
    if (count == 1) {
        FreeLibrary(module);
        return GetModuleHandleW(L"nyxcodecs.dll") ? 2 : 0;
    }
    return 0;
}

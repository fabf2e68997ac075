/// A host of the smallest kind: loads the module beside it, frees it and goes. With an argument it
/// leaves the module loaded and just ends.

#include <windows.h>

int main(int count, char**) {
    const HMODULE module = LoadLibraryW(L"nyxcodecs.dll");
    if (count > 1) {
        return module ? 0 : 1;
    }
    FreeLibrary(module);
    // A sibling that stayed would go with the process, in the same order.
    return GetModuleHandleW(L"rkdv5codc.dll") || GetModuleHandleW(L"rk210codc.dll") ? 2 : 0;
}

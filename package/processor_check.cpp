/// @file
/// Ends with 0 on a processor that the module runs on, else with 1. Installations ask it first.

#include <windows.h>

#include "convert/cpu_info.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    return nyx::HasCpuFeature(nyx::kCpuSsse3) ? 0 : 1;
}

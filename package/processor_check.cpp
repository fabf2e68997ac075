/// @file
/// Exits with 0 on a processor that the module supports, else with 1. The installer and install.cmd
/// run it first.

#include <windows.h>

#include "convert/cpu_info.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    return nyx::HasCpuFeature(nyx::kCpuSsse3) ? 0 : 1;
}

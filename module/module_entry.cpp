/// @file
/// The module's entry: what happens when a process takes the library up and lets it go.

#include "baseclasses/streams.h"
#include "convert/cpu_info.h"
#include "module/host_preload.h"

extern "C" BOOL WINAPI DllEntryPoint(HINSTANCE instance, ULONG reason, LPVOID reserved);

namespace {

// Reserved as the one process-wide lock of the module; nothing enters it.
CRITICAL_SECTION moduleLock;

void Attach() {
    nyx::PreloadSiblings();
    InitializeCriticalSection(&moduleLock);
    nyx::GetCpuInfo();
}

void Detach() {
    nyx::FreeSiblings();
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

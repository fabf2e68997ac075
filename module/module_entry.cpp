/// @file
/// The module's entry: attaches to and detaches from a process.

#include "baseclasses/streams.h"
#include "convert/cpu_info.h"
#include "module/host_preload.h"

extern "C" BOOL WINAPI DllEntryPoint(HINSTANCE instance, ULONG reason, LPVOID reserved);

namespace {

// Reserved as the module's process-wide lock; no code enters it.
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

#include "interrupt.h"

#include <windows.h>

#include <atomic>

namespace nyx::host {
namespace {

constinit std::atomic<bool> interrupted{false};

BOOL WINAPI OnControl(DWORD) {
    interrupted = true;
    return TRUE;
}

}  // namespace

void WatchForInterrupt() {
    SetConsoleCtrlHandler(OnControl, TRUE);
}

bool Interrupted() {
    return interrupted;
}

}  // namespace nyx::host

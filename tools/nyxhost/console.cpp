#include "console.h"

#include <windows.h>

#include <algorithm>
#include <atomic>

#include "failure.h"
#include "platform/system.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr WORD kRed = FOREGROUND_RED | FOREGROUND_INTENSITY;
constexpr WORD kYellow = FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_INTENSITY;

bool IsConsole(HANDLE handle) {
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != FALSE;
}

constinit std::atomic<bool> interrupted{false};
constinit std::atomic<bool> outputIsData{false};
constinit std::string* printed = nullptr;

BOOL WINAPI OnControl(DWORD) {
    interrupted = true;
    return TRUE;
}

/// False, with the system's last error, when part of the text cannot be written.
bool Write(HANDLE handle, std::string_view text) {
    DWORD written = 0;
    if (IsConsole(handle)) {
        const std::wstring wide = Wide(text);
        return WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), &written,
                             nullptr) != FALSE;
    }
    while (!text.empty() && WriteFile(handle, text.data(), static_cast<DWORD>(text.size()),
                                      &written, nullptr) != FALSE) {
        text.remove_prefix(std::min<std::size_t>(written, text.size()));
    }
    return text.empty();
}

void WriteTagged(std::string_view tag, WORD colour, std::string_view message) {
    const HANDLE handle = GetStdHandle(STD_ERROR_HANDLE);
    CONSOLE_SCREEN_BUFFER_INFO before{};
    const bool coloured = GetConsoleScreenBufferInfo(handle, &before) != FALSE;
    if (coloured) {
        SetConsoleTextAttribute(handle, colour);
    }
    Write(handle, tag);
    if (coloured) {
        SetConsoleTextAttribute(handle, before.wAttributes);
    }
    Write(handle, std::string(message) + "\n");
}

}  // namespace

void UseStandardOutputForData() {
    if (IsConsole(GetStdHandle(STD_OUTPUT_HANDLE))) {
        throw Failure(ExitCode::kUsage,
                      "the standard output is a console: send it to a pipe or file");
    }
    outputIsData = true;
}

void CopyPrintedTo(std::string* copy) {
    printed = copy;
}

void Print(std::string_view text) {
    if (printed != nullptr) {
        *printed += text;
    }
    if (outputIsData) {
        PrintAside(text);
        return;
    }
    Check(Write(GetStdHandle(STD_OUTPUT_HANDLE), text) ? S_OK : LastError(),
          "cannot write to standard output", ExitCode::kOutput);
}

void PrintAside(std::string_view text) {
    Write(GetStdHandle(STD_ERROR_HANDLE), text);
}

void PrintError(std::string_view message) {
    WriteTagged("error: ", kRed, message);
}

void PrintWarning(std::string_view message) {
    WriteTagged("warning: ", kYellow, message);
}

int ConsoleColumns() {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    return GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) != FALSE
               ? info.srWindow.Right - info.srWindow.Left + 1
               : 0;
}

void WatchForInterrupt() {
    SetConsoleCtrlHandler(OnControl, TRUE);
}

bool Interrupted() {
    return interrupted;
}

}  // namespace nyx::host

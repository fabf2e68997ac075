#include "console.h"

#include <windows.h>

#include <algorithm>

#include "text.h"

namespace nyx::host {
namespace {

constexpr WORD kRed = FOREGROUND_RED | FOREGROUND_INTENSITY;
constexpr WORD kYellow = FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_INTENSITY;
constexpr int kBarWidth = 40;

bool IsConsole(HANDLE handle) {
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != FALSE;
}

void Write(HANDLE handle, std::string_view text) {
    DWORD written = 0;
    if (IsConsole(handle)) {
        const std::wstring wide = Wide(text);
        WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr);
        return;
    }
    while (!text.empty() && WriteFile(handle, text.data(), static_cast<DWORD>(text.size()),
                                      &written, nullptr) != FALSE) {
        text.remove_prefix(std::min<std::size_t>(written, text.size()));
    }
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

void Print(std::string_view text) {
    Write(GetStdHandle(STD_OUTPUT_HANDLE), text);
}

void PrintError(std::string_view message) {
    WriteTagged("error: ", kRed, message);
}

void PrintWarning(std::string_view message) {
    WriteTagged("warning: ", kYellow, message);
}

Progress::Progress(std::string label, long total)
    : label_(std::move(label)),
      total_(std::max(total, 1L)),
      active_(IsConsole(GetStdHandle(STD_ERROR_HANDLE))) {}

Progress::~Progress() {
    if (active_ && shown_ >= 0) {
        const std::string blank(label_.size() + kBarWidth + 24, ' ');
        Write(GetStdHandle(STD_ERROR_HANDLE), "\r" + blank + "\r");
    }
}

void Progress::Show(long done) {
    if (!active_ || done == shown_) {
        return;
    }
    shown_ = done;
    const long long filled = std::min<long long>(kBarWidth, done * 1LL * kBarWidth / total_);
    std::string bar(static_cast<std::size_t>(filled), '#');
    bar.resize(kBarWidth, '.');
    Write(GetStdHandle(STD_ERROR_HANDLE),
          Format("\r%s [%s] %ld/%ld", label_.c_str(), bar.c_str(), done, total_));
}

}  // namespace nyx::host

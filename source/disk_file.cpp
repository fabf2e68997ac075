#include "source/disk_file.h"

#include <string>

#include "platform/system.h"

namespace nyx::source {
namespace {

/// A path in the form that may be longer than MAX_PATH: absolute, without dots, marked so. Shorter
/// ones and those that are marked already stay as they are.
std::wstring OpenablePath(const std::wstring& path) {
    if (path.size() < MAX_PATH || path.compare(0, 4, LR"(\\?\)") == 0) {
        return path;
    }
    const DWORD room = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(room, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), room, full.data(), nullptr));
    return full.compare(0, 2, LR"(\\)") == 0 ? LR"(\\?\UNC)" + full.substr(1) : LR"(\\?\)" + full;
}

}  // namespace

DiskFile::~DiskFile() {
    if (file_ != INVALID_HANDLE_VALUE) {
        CloseHandle(file_);
    }
}

HRESULT DiskFile::Open(const wchar_t* path) {
    file_ = CreateFileW(OpenablePath(path).c_str(), GENERIC_READ,
                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                        OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (file_ == INVALID_HANDLE_VALUE) {
        return LastError();
    }
    return GetFileType(file_) == FILE_TYPE_DISK ? S_OK : HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);
}

int DiskFile::Read(std::int64_t position, BYTE* to, int count) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(position);
    place.OffsetHigh = static_cast<DWORD>(position >> 32);
    DWORD got = 0;
    if (ReadFile(file_, to, static_cast<DWORD>(count), &got, &place) ||
        GetLastError() == ERROR_HANDLE_EOF) {
        return static_cast<int>(got);
    }
    failure_ = LastError();
    return -1;
}

std::int64_t DiskFile::Size() {
    LARGE_INTEGER size{};
    return GetFileSizeEx(file_, &size) ? size.QuadPart : -1;
}

}  // namespace nyx::source

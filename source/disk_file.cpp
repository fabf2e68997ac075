#include "source/disk_file.h"

#include <string>

#include "platform/system.h"

namespace nyx::source {
namespace {

/// A long path in the form that may exceed MAX_PATH: absolute, without dots, with a prefix. Shorter
/// paths and those with a prefix stay as they are.
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

HRESULT DiskFile::Open(const wchar_t* path) {
    file_ = AdoptFile(CreateFileW(OpenablePath(path).c_str(), GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!file_) {
        return LastError();
    }
    return GetFileType(file_.get()) == FILE_TYPE_DISK ? S_OK
                                                      : HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);
}

int DiskFile::ReadAt(std::int64_t position, std::span<BYTE> to) noexcept {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(position);
    place.OffsetHigh = static_cast<DWORD>(position >> 32);
    DWORD got = 0;
    const BOOL read = ReadFile(file_.get(), to.data(), static_cast<DWORD>(to.size()), &got, &place);
    return read || GetLastError() == ERROR_HANDLE_EOF ? static_cast<int>(got) : Fail(LastError());
}

std::int64_t DiskFile::Size() noexcept {
    LARGE_INTEGER size{};
    return GetFileSizeEx(file_.get(), &size) ? size.QuadPart : -1;
}

}  // namespace nyx::source

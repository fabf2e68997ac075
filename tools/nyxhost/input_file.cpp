#include "input_file.h"

#include "failure.h"
#include "text.h"

namespace nyx::host {

InputFile::InputFile(const std::string& path)
    : path_(path),
      file_(CreateFileW(Wide(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                        FILE_ATTRIBUTE_NORMAL, nullptr)) {
    if (file_ == INVALID_HANDLE_VALUE) {
        throw Failure(ExitCode::kInput, "cannot open " + path + ": " + ResultText(LastResult()));
    }
}

long long InputFile::Size() const {
    LARGE_INTEGER size{};
    if (GetFileSizeEx(file_, &size) == FALSE) {
        Fail();
    }
    return size.QuadPart;
}

DWORD InputFile::ReadUpTo(long long offset, void* out, DWORD count) const {
    LARGE_INTEGER place{};
    place.QuadPart = offset;
    DWORD read = 0;
    if (SetFilePointerEx(file_, place, nullptr, FILE_BEGIN) == FALSE ||
        ReadFile(file_, out, count, &read, nullptr) == FALSE) {
        Fail();
    }
    return read;
}

void InputFile::Fail() const {
    throw Failure(ExitCode::kInput, "cannot read " + path_ + ": " + ResultText(LastResult()));
}

}  // namespace nyx::host

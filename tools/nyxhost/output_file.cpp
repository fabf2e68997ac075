#include "output_file.h"

#include <filesystem>

#include "failure.h"
#include "platform/system.h"
#include "text.h"

namespace nyx::host {

OutputFile::OutputFile(const std::string& path)
    : path_(path),
      file_(IsStream()
                ? nullptr
                : AdoptFile(CreateFileW(Wide(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                        CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr))),
      handle_(IsStream() ? GetStdHandle(STD_OUTPUT_HANDLE) : file_.get()) {
    Check(handle_ != nullptr ? S_OK : LastError(), "cannot create " + path, ExitCode::kOutput);
}

OutputFile::~OutputFile() {
    if (file_ != nullptr) {
        file_.reset();
        DeleteFileW(Wide(path_).c_str());
    }
}

void OutputFile::Write(const void* data, DWORD size, OVERLAPPED* place) {
    DWORD written = 0;
    HRESULT result = S_OK;
    if (WriteFile(handle_, data, size, &written, place) == FALSE) {
        result = LastError();
    } else if (written != size) {
        result = HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    }
    CheckWritten(result);
}

void OutputFile::Replace(DWORD place, const void* data, DWORD size) {
    OVERLAPPED at{};
    at.Offset = place;
    Write(data, size, &at);
}

void OutputFile::Finish() {
    CheckWritten(IsStream() || CloseFile(std::move(file_)) ? S_OK : LastError());
}

void OutputFile::CheckWritten(HRESULT result) const {
    Check(result, "cannot write " + (IsStream() ? "to the standard output" : path_),
          ExitCode::kOutput);
}

void RefuseSameFile(const std::string& input, const std::string& output) {
    std::error_code missing;
    if (std::filesystem::equivalent(Wide(input), Wide(output), missing)) {
        throw Failure(ExitCode::kOutput, output + " is also the input");
    }
}

void MakeFolder(const std::string& path) {
    std::error_code error;
    const std::filesystem::path folder(Wide(path));
    std::filesystem::create_directories(folder, error);
    if (error || !std::filesystem::is_directory(folder, error)) {
        throw Failure(ExitCode::kOutput, "cannot create the folder " + path);
    }
}

}  // namespace nyx::host

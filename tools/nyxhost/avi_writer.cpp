#include "avi_writer.h"

#include <algorithm>
#include <cstring>

#include "text.h"

namespace nyx::host {
namespace {

// What the file holds beside the frames: the header list with its padding, and for every frame a
// chunk header, a pad byte and an index entry.
constexpr long long kHeaderBytes = 65536;
constexpr long long kBytesPerFrame = 8 + 1 + 16;

}  // namespace

AviWriter::AviWriter(const std::string& path, const std::vector<BYTE>& format, DWORD rate,
                     DWORD scale, DWORD largestFrame)
    : path_(path), bytes_(kHeaderBytes) {
    BITMAPINFOHEADER header;
    std::memcpy(&header, format.data(), sizeof(header));
    AVISTREAMINFOW info{};
    info.fccType = streamtypeVIDEO;
    info.fccHandler = header.biCompression;
    info.dwScale = scale;
    info.dwRate = rate;
    info.dwSuggestedBufferSize = largestFrame;
    info.dwQuality = static_cast<DWORD>(-1);
    SetRect(&info.rcFrame, 0, 0, header.biWidth,
            header.biHeight < 0 ? -header.biHeight : header.biHeight);

    // An AVI that is there already would be opened and appended to.
    const std::wstring wide = Wide(path);
    DeleteFileW(wide.c_str());
    const std::string cannot = "cannot create " + path;
    Check(AVIFileOpenW(file_.GetAddressOf(), wide.c_str(), OF_WRITE | OF_CREATE, nullptr),
          cannot.c_str(), ExitCode::kOutput);
    HRESULT result = AVIFileCreateStreamW(file_.Get(), stream_.GetAddressOf(), &info);
    if (SUCCEEDED(result)) {
        result = AVIStreamSetFormat(stream_.Get(), 0, const_cast<BYTE*>(format.data()),
                                    static_cast<LONG>(format.size()));
    }
    if (FAILED(result)) {
        stream_.Reset();
        file_.Reset();
        DeleteFileW(wide.c_str());
    }
    Check(result, cannot.c_str(), ExitCode::kOutput);
}

AviWriter::~AviWriter() {
    if (!finished_) {
        stream_.Reset();
        file_.Reset();
        DeleteFileW(Wide(path_).c_str());
    }
}

void AviWriter::Write(const void* frame, LONG size) {
    if (bytes_ + size + kBytesPerFrame >= kAviSizeLimit) {
        throw Failure(ExitCode::kTooLarge, path_ + " would reach 2^31 bytes at frame " +
                                               Format("%ld", frames_) +
                                               "; an AVI must stay below that");
    }
    const HRESULT result = AVIStreamWrite(stream_.Get(), frames_, 1, const_cast<void*>(frame), size,
                                          AVIIF_KEYFRAME, nullptr, nullptr);
    Check(result, ("cannot write " + path_).c_str(), ExitCode::kOutput);
    bytes_ += size + kBytesPerFrame;
    ++frames_;
}

void AviWriter::Finish() {
    stream_.Reset();
    file_.Reset();

    // Closing reports no errors (a full disk, say): look at what was left.
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (GetFileAttributesExW(Wide(path_).c_str(), GetFileExInfoStandard, &data) == FALSE) {
        throw Failure(ExitCode::kOutput, path_ + " was not written: " + ResultText(LastResult()));
    }
    const long long size = static_cast<long long>(data.nFileSizeHigh) << 32 |
                           static_cast<long long>(data.nFileSizeLow);
    const long long payload = bytes_ - kHeaderBytes - frames_ * kBytesPerFrame;
    if (size < payload) {
        throw Failure(ExitCode::kOutput, path_ + " was not written whole");
    }
    finished_ = true;
}

}  // namespace nyx::host

#include "host/avi_writer.h"

#include <cstdlib>

#include "platform/system.h"

namespace nyx::host {
namespace {

// Overhead of the file: the header list with its padding, and for every frame a chunk header, a pad
// byte and an index entry.
constexpr long long kHeaderBytes = 65536;
constexpr long long kBytesPerFrame = 8 + 1 + 16;
constexpr long long kSizeLimit = 1LL << 31;

}  // namespace

HRESULT AviWriter::Create(const std::wstring& path, const BITMAPINFOHEADER& header, DWORD rate,
                          DWORD scale) {
    AVISTREAMINFOW info{};
    info.fccType = streamtypeVIDEO;
    info.fccHandler = header.biCompression;
    info.dwScale = scale;
    info.dwRate = rate;
    info.dwSuggestedBufferSize = header.biSizeImage;
    info.dwQuality = static_cast<DWORD>(-1);
    SetRect(&info.rcFrame, 0, 0, header.biWidth, std::abs(header.biHeight));

    // AVIFile would append to an existing file.
    DeleteFileW(path.c_str());
    HRESULT result =
        AVIFileOpenW(file_.GetAddressOf(), path.c_str(), OF_WRITE | OF_CREATE, nullptr);
    if (SUCCEEDED(result)) {
        path_ = path;
        result = AVIFileCreateStreamW(file_.Get(), stream_.GetAddressOf(), &info);
    }
    if (SUCCEEDED(result)) {
        BITMAPINFOHEADER format = header;
        result = AVIStreamSetFormat(stream_.Get(), 0, &format, sizeof(format));
    }
    return result;
}

AviWriter::~AviWriter() {
    Close();
    if (!path_.empty()) {
        DeleteFileW(path_.c_str());
    }
    AVIFileExit();
}

void AviWriter::Close() {
    stream_.Reset();
    file_.Reset();
}

HRESULT AviWriter::Write(const void* frame, LONG size) {
    if (kHeaderBytes + payload_ + size + (frames_ + 1) * kBytesPerFrame >= kSizeLimit) {
        return HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE);
    }
    payload_ += size;
    return AVIStreamWrite(stream_.Get(), frames_++, 1, const_cast<void*>(frame), size,
                          AVIIF_KEYFRAME, nullptr, nullptr);
}

HRESULT AviWriter::Finish() {
    Close();
    // Closing reports no errors, such as a full disk: check the size.
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(path_.c_str(), GetFileExInfoStandard, &data)) {
        return LastError();
    }
    if ((static_cast<long long>(data.nFileSizeHigh) << 32 | data.nFileSizeLow) < payload_) {
        return HRESULT_FROM_WIN32(ERROR_WRITE_FAULT);
    }
    path_.clear();
    return S_OK;
}

}  // namespace nyx::host

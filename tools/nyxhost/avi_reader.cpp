#include "avi_reader.h"

#include "text.h"

namespace nyx::host {
namespace {

// Some versions of the library take the name through the ANSI code page; a short name passes that.
HRESULT OpenForReading(const std::wstring& path, IAVIFile** file) {
    constexpr UINT kMode = OF_READ | OF_SHARE_DENY_WRITE;
    const HRESULT result = AVIFileOpenW(file, path.c_str(), kMode, nullptr);
    std::wstring shortPath(MAX_PATH, L'\0');
    const DWORD length =
        result != AVIERR_FILEOPEN ? 0 : GetShortPathNameW(path.c_str(), shortPath.data(), MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        return result;
    }
    return AVIFileOpenW(file, shortPath.c_str(), kMode, nullptr);
}

[[noreturn]] void Damaged(const std::string& why) {
    throw Failure(ExitCode::kNotAvi, why);
}

}  // namespace

AviReader::AviReader(const std::string& path) {
    const AviLayout layout = ReadAviLayout(path);
    Check(OpenForReading(Wide(path), file_.GetAddressOf()), (path + " is not an AVI file").c_str(),
          ExitCode::kNotAvi);
    Check(AVIFileGetStream(file_.Get(), stream_.GetAddressOf(), streamtypeVIDEO, 0),
          (path + " has no video stream").c_str(), ExitCode::kNotAvi);
    AVISTREAMINFOW info{};
    Check(AVIStreamInfoW(stream_.Get(), &info, sizeof(info)),
          (path + ": the stream's header cannot be read").c_str(), ExitCode::kNotAvi);
    SetRate(info.dwRate, info.dwScale);
    ReadFormat();
    MeasureFrames(layout);
}

void AviReader::ReadFormat() {
    const LONG start = AVIStreamStart(stream_.Get());
    LONG size = 0;
    Check(AVIStreamFormatSize(stream_.Get(), start, &size), "the stream's format cannot be read",
          ExitCode::kNotAvi);
    if (size < static_cast<LONG>(sizeof(BITMAPINFOHEADER))) {
        Damaged(Format("the stream's format has %ld bytes; a bitmap header has 40", size));
    }
    std::vector<BYTE> format(static_cast<std::size_t>(size));
    Check(AVIStreamReadFormat(stream_.Get(), start, format.data(), &size),
          "the stream's format cannot be read", ExitCode::kNotAvi);
    SetFormat(std::move(format));
}

void AviReader::MeasureFrames(const AviLayout& layout) {
    const LONG count = AVIStreamLength(stream_.Get());
    if (count < 0 || count > layout.indexEntries) {
        Damaged(Format("the stream claims %ld frames, the index knows %lld", count,
                       layout.indexEntries));
    }
    std::vector<LONG> sizes;
    sizes.reserve(static_cast<std::size_t>(count));
    for (LONG i = 0; i < count; ++i) {
        LONG size = 0;
        const LONG position = AVIStreamStart(stream_.Get()) + i;
        if (FAILED(AVIStreamSampleSize(stream_.Get(), position, &size)) || size < 0 ||
            size > layout.fileSize) {
            Damaged(Format("frame %ld: the file's index makes no sense", i));
        }
        sizes.push_back(size);
    }
    SetFrameSizes(std::move(sizes));
}

bool AviReader::IsKeyFrame(LONG index) const {
    const LONG position = AVIStreamStart(stream_.Get()) + index;
    return AVIStreamIsKeyFrame(stream_.Get(), position);
}

HRESULT AviReader::Read(LONG index, void* buffer, LONG capacity, LONG* size) const {
    *size = 0;
    const LONG position = AVIStreamStart(stream_.Get()) + index;
    return AVIStreamRead(stream_.Get(), position, 1, buffer, capacity, size, nullptr);
}

}  // namespace nyx::host

#include "avi_reader.h"

#include <algorithm>
#include <cstring>

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
    Check(AVIStreamInfoW(stream_.Get(), &info_, sizeof(info_)),
          (path + ": the stream's header cannot be read").c_str(), ExitCode::kNotAvi);
    if (info_.dwRate == 0 || info_.dwScale == 0) {
        Damaged(path + ": the stream has no frame rate");
    }
    ReadFormat();
    MeasureFrames(layout);
    // Times are counted in 64 bits of 100 ns; this keeps them far from the end of that.
    constexpr double kLongestSeconds = 1e9;
    if (static_cast<double>(FrameCount() + 1) * info_.dwScale / info_.dwRate > kLongestSeconds) {
        Damaged(path + ": the stream's frame rate makes no sense");
    }
}

void AviReader::ReadFormat() {
    const LONG start = AVIStreamStart(stream_.Get());
    LONG size = 0;
    Check(AVIStreamFormatSize(stream_.Get(), start, &size), "the stream's format cannot be read",
          ExitCode::kNotAvi);
    if (size < static_cast<LONG>(sizeof(BITMAPINFOHEADER))) {
        Damaged(Format("the stream's format has %ld bytes; a bitmap header has 40", size));
    }
    format_.resize(static_cast<std::size_t>(size));
    Check(AVIStreamReadFormat(stream_.Get(), start, format_.data(), &size),
          "the stream's format cannot be read", ExitCode::kNotAvi);
    std::memcpy(&header_, format_.data(), sizeof(header_));
    if (header_.biHeight == LONG_MIN) {
        Damaged("the stream's picture height makes no sense");
    }
}

void AviReader::MeasureFrames(const AviLayout& layout) {
    const LONG count = AVIStreamLength(stream_.Get());
    if (count < 0 || count > layout.indexEntries) {
        Damaged(Format("the stream claims %ld frames, the index knows %lld", count,
                       layout.indexEntries));
    }
    frameSizes_.reserve(static_cast<std::size_t>(count));
    for (LONG i = 0; i < count; ++i) {
        LONG size = 0;
        const LONG position = AVIStreamStart(stream_.Get()) + i;
        if (FAILED(AVIStreamSampleSize(stream_.Get(), position, &size)) || size < 0 ||
            size > layout.fileSize) {
            Damaged(Format("frame %ld: the file's index makes no sense", i));
        }
        frameSizes_.push_back(size);
        largestFrame_ = std::max(largestFrame_, size);
    }
}

long long AviReader::FrameTime(LONG index) const {
    constexpr long long kUnitsPerSecond = 10000000;
    // Whole seconds first, so that the product stays within 64 bits for any rate and index.
    const long long ticks = static_cast<long long>(index) * info_.dwScale;
    return ticks / info_.dwRate * kUnitsPerSecond +
           ticks % info_.dwRate * kUnitsPerSecond / info_.dwRate;
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

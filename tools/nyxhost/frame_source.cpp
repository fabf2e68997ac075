#include "frame_source.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <tuple>

#include "com.h"
#include "media/video_block.h"
#include "text.h"

namespace nyx::host {

namespace {

constexpr long long kUnitsPerSecond = 10000000;

}  // namespace

REFERENCE_TIME FrameList::TimeOf(LONG index) const {
    // Whole seconds first, so that the product stays within 64 bits.
    const long long ticks = static_cast<long long>(index) * rate.second;
    return ticks / rate.first * kUnitsPerSecond + ticks % rate.first * kUnitsPerSecond / rate.first;
}

LONG FrameList::FrameAt(REFERENCE_TIME time) const {
    const auto index = static_cast<LONG>(static_cast<double>(time) * rate.first / rate.second /
                                         static_cast<double>(kUnitsPerSecond));
    return TimeOf(index + 1) <= time ? index + 1 : index;  // the time was rounded down
}

void FrameList::Select(LONG first, LONG frames) {
    count = std::min(frames, count - first);
    read = [first, all = std::move(read)](LONG index, BYTE* to, LONG* bytes) {
        return all(first + index, to, bytes);
    };
}

FrameList OpenRawPictures(const std::string& path, const PictureFormat& format, LONG width,
                          LONG height, std::pair<LONG, LONG> rate) {
    const std::filesystem::path name(Wide(path));
    std::error_code error;
    const auto bytes = static_cast<long long>(std::filesystem::file_size(name, error));
    const auto file = std::make_shared<std::ifstream>(name, std::ios::binary);
    if (error || !*file) {
        throw Failure(ExitCode::kInput, "cannot open " + path);
    }
    const long long rows = std::llabs(height);
    const long long rowBytes = 1LL * width * format.bits / 8;
    const long long pictureBytes = rowBytes > LONG_MAX / rows ? LONG_MAX : rowBytes * rows;
    const long long count = bytes / pictureBytes;
    if (count == 0 || bytes % pictureBytes != 0 || count > LONG_MAX) {
        throw Failure(ExitCode::kInput, path + Format(" has %lld bytes, not a whole number of "
                                                      "pictures of %lld bytes",
                                                      bytes, pictureBytes));
    }
    const BITMAPINFOHEADER header = PictureHeader(width, height, format.bits, format.compression,
                                                  static_cast<DWORD>(pictureBytes));
    FrameList list;
    list.rate = rate;
    list.count = static_cast<LONG>(count);
    list.largest = static_cast<LONG>(pictureBytes);
    list.type =
        VideoType(*format.subtype, Block::kVideoInfo, list.TimeOf(1), &header, sizeof(header));
    list.type.bFixedSizeSamples = TRUE;
    list.type.lSampleSize = header.biSizeImage;
    list.read = [file, each = list.largest](LONG index, BYTE* to, LONG* size) {
        file->seekg(1LL * index * each);
        file->read(reinterpret_cast<char*>(to), each);
        *size = each;
        return *file ? S_OK : HRESULT_FROM_WIN32(ERROR_READ_FAULT);
    };
    return list;
}

FrameSource::FrameSource(FrameList frames) : frames_(std::move(frames)) {
    pin_.proposals = {frames_.type};
    pin_.accept = [this](const MediaType& asked) {
        return frames_.type.Fits(asked) ? S_OK : S_FALSE;
    };
    pin_.chooseAllocator = [this](IMemInputPin* receiver, IMemAllocator** allocator) {
        return AgreeOnAllocator(*receiver, allocator);
    };
}

FrameSource::~FrameSource() {
    OnStop();
}

HRESULT FrameSource::AgreeOnAllocator(IMemInputPin& receiver, IMemAllocator** allocator) const {
    ALLOCATOR_PROPERTIES wanted{};
    std::ignore = receiver.GetAllocatorRequirements(&wanted);  // E_NOTIMPL leaves zeroes
    wanted.cBuffers = std::max(wanted.cBuffers, 1L);
    wanted.cbBuffer = std::max({wanted.cbBuffer, frames_.largest, 1L});
    wanted.cbAlign = std::max(wanted.cbAlign, 1L);

    HRESULT result = receiver.GetAllocator(allocator);
    if (FAILED(result)) {
        result = CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER,
                                  IID_IMemAllocator, reinterpret_cast<void**>(allocator));
    }
    ALLOCATOR_PROPERTIES granted{};
    if (SUCCEEDED(result)) {
        result = (*allocator)->SetProperties(&wanted, &granted);
    }
    return SUCCEEDED(result) && granted.cbBuffer < wanted.cbBuffer ? VFW_E_SIZENOTSET : result;
}

HRESULT FrameSource::OnStart() {
    if (pin_.peer == nullptr) {
        return S_OK;
    }
    const HRESULT result = pin_.allocator->Commit();
    if (FAILED(result)) {
        return result;
    }
    stopped_ = false;
    try {
        thread_ = std::thread([this] { Stream(); });
    } catch (const std::system_error&) {
        pin_.allocator->Decommit();
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

void FrameSource::OnStop() {
    stopped_ = true;
    if (thread_.joinable()) {
        pin_.allocator->Decommit();  // wakes a thread that waits for a buffer
        thread_.join();
    }
}

void FrameSource::Stream() {
    const ComApartment apartment;
    std::ignore = pin_.peer->NewSegment(0, frames_.TimeOf(frames_.count), 1.0);  // optional
    HRESULT result = S_OK;
    for (LONG index = 0; result == S_OK && index < frames_.count && !stopped_; ++index) {
        result = StreamFrame(index);
    }
    std::ignore = pin_.peer->EndOfStream();  // nothing follows that could fail
    if (FAILED(result) && !stopped_) {
        NotifyGraph(EC_ERRORABORT, result, 0);
    }
}

// S_OK to go on. A frame that the codec refuses is reported and skipped. S_FALSE (the sink wants no
// more) and VFW_E_WRONG_STATE (the graph stops) end the stream.
HRESULT FrameSource::StreamFrame(LONG index) {
    ComPtr<IMediaSample> sample;
    HRESULT result = pin_.allocator->GetBuffer(sample.GetAddressOf(), nullptr, nullptr, 0);
    if (SUCCEEDED(result)) {
        result = FillSample(index, *sample.Get());
    }
    if (FAILED(result)) {
        return result;
    }
    result = pin_.transport->Receive(sample.Get());
    if (FAILED(result) && result != VFW_E_WRONG_STATE) {
        NotifyGraph(EC_STREAM_ERROR_STILLPLAYING, result, 0);
        return S_OK;
    }
    return result;
}

HRESULT FrameSource::FillSample(LONG index, IMediaSample& sample) const {
    BYTE* data = nullptr;
    LONG size = 0;
    HRESULT result = sample.GetPointer(&data);
    if (SUCCEEDED(result)) {
        result = frames_.read(index, data, &size);
    }
    if (FAILED(result)) {
        return result;
    }
    REFERENCE_TIME start = frames_.TimeOf(index);
    REFERENCE_TIME stop = frames_.TimeOf(index + 1);
    sample.SetTime(&start, &stop);
    sample.SetSyncPoint(TRUE);
    sample.SetPreroll(FALSE);
    sample.SetDiscontinuity(index == 0);
    return sample.SetActualDataLength(size);
}

}  // namespace nyx::host

#include "clip_source.h"

#include <algorithm>
#include <system_error>

#include "com.h"
#include "picture_format.h"

namespace nyx::host {

ClipSource::ClipSource(const ClipReader& clip, LONG frames, bool videoInfo2)
    : ClipSource(clip, frames,
                 CompressedVideoType(clip.FormatBlock(), clip.FrameTime(1), videoInfo2)) {}

ClipSource::ClipSource(const ClipReader& clip, LONG frames, MediaType type)
    : clip_(clip), frames_(std::min(frames, clip.FrameCount())) {
    pin_.proposals = {std::move(type)};
    pin_.accept = [this](const MediaType& asked) { return Type().Fits(asked) ? S_OK : S_FALSE; };
    pin_.chooseAllocator = [this](IMemInputPin* receiver, IMemAllocator** allocator) {
        return AgreeOnAllocator(*receiver, allocator);
    };
}

ClipSource::~ClipSource() {
    OnStop();
}

HRESULT ClipSource::AgreeOnAllocator(IMemInputPin& receiver, IMemAllocator** allocator) const {
    ALLOCATOR_PROPERTIES wanted{};
    receiver.GetAllocatorRequirements(&wanted);  // optional: E_NOTIMPL leaves zeroes
    wanted.cBuffers = std::max(wanted.cBuffers, 1L);
    wanted.cbBuffer = std::max({wanted.cbBuffer, clip_.LargestFrame(), 1L});
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

HRESULT ClipSource::OnStart() {
    if (pin_.peer == nullptr) {
        return S_OK;
    }
    const HRESULT result = pin_.allocator->Commit();
    if (FAILED(result)) {
        return result;
    }
    report_ = {};
    aborted_ = false;
    try {
        thread_ = std::thread([this] { Stream(); });
    } catch (const std::system_error&) {
        pin_.allocator->Decommit();
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

void ClipSource::OnStop() {
    aborted_ = true;
    if (thread_.joinable()) {
        pin_.allocator->Decommit();  // frees a thread that waits for a buffer
        thread_.join();
    }
}

void ClipSource::Stream() {
    const ComApartment apartment;
    const long long end = clip_.FrameTime(frames_);
    pin_.peer->NewSegment(0, end, 1.0);
    for (LONG frame = 0; frame < frames_ && !aborted_; ++frame) {
        current_ = frame;
        const HRESULT result = StreamFrame(frame);
        if (result != S_OK) {
            report_.ended = result;
            report_.endedAt = frame;
            break;
        }
    }
    pin_.peer->EndOfStream();
}

// S_OK to go on. A decoder's refusal of one frame is noted and is no reason to end; S_FALSE (a
// flush) and VFW_E_WRONG_STATE (the graph stops) are.
HRESULT ClipSource::StreamFrame(LONG frame) {
    ComPtr<IMediaSample> sample;
    HRESULT result = pin_.allocator->GetBuffer(sample.GetAddressOf(), nullptr, nullptr, 0);
    if (SUCCEEDED(result)) {
        result = FillSample(frame, *sample.Get());
    }
    if (FAILED(result)) {
        return result;
    }
    const auto start = std::chrono::steady_clock::now();
    result = pin_.transport->Receive(sample.Get());
    report_.receiveTime += std::chrono::steady_clock::now() - start;
    ++report_.sent;
    if (FAILED(result) && result != VFW_E_WRONG_STATE) {
        report_.faults.push_back({frame, result});
        return S_OK;
    }
    return result;
}

HRESULT ClipSource::FillSample(LONG frame, IMediaSample& sample) const {
    BYTE* data = nullptr;
    HRESULT result = sample.GetPointer(&data);
    LONG size = 0;
    if (SUCCEEDED(result) && clip_.FrameSize(frame) > 0) {
        result = clip_.Read(frame, data, sample.GetSize(), &size);
    }
    if (FAILED(result)) {
        return result;
    }
    REFERENCE_TIME start = clip_.FrameTime(frame);
    REFERENCE_TIME stop = clip_.FrameTime(frame + 1);
    sample.SetTime(&start, &stop);
    sample.SetSyncPoint(TRUE);
    sample.SetPreroll(FALSE);
    sample.SetDiscontinuity(frame == 0);
    return sample.SetActualDataLength(size);
}

}  // namespace nyx::host

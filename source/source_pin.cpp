#include "source/source_pin.h"

#include <algorithm>
#include <cstring>
#include <system_error>

#include "source/media_types.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

/// One that downstream works on, one that waits, one that is being filled.
constexpr long kVideoBuffers = 3;
constexpr long kAudioBuffers = 4;
constexpr int kAudioBuffersPerSecond = 5;

bool IsSame(const AM_MEDIA_TYPE& a, const AM_MEDIA_TYPE& b) {
    return a.majortype == b.majortype && a.subtype == b.subtype && a.formattype == b.formattype &&
           a.cbFormat == b.cbFormat && std::memcmp(a.pbFormat, b.pbFormat, a.cbFormat) == 0;
}

/// Downstream takes nothing more for now, by its own will: a stop, a flush.
bool IsQuietEnd(HRESULT result) {
    return result == E_ABORT || result == VFW_E_WRONG_STATE || result == VFW_E_NOT_COMMITTED;
}

/// Frames of sound that begin before `time`, which is at least 0, from the file's start on.
std::int64_t FramesBefore(REFERENCE_TIME time, AVRational clock) {
    return TickAt(time - 1, clock) + 1;
}

}  // namespace

SourcePin::SourcePin(CBaseFilter* filter, Seekable* seekable, CCritSec* lock, HRESULT* result,
                     const wchar_t* name, const StreamFormat& format, AVRational rate)
    : CBaseOutputPin(NAME("Footage pin"), filter, lock, result, name),
      PinSeeking(seekable, rate),
      format_(format) {}

HRESULT STDMETHODCALLTYPE SourcePin::NonDelegatingQueryInterface(REFIID iid, void** object) {
    if (iid == IID_IMediaSeeking) {
        return GetInterface(static_cast<IMediaSeeking*>(this), object);
    }
    return CBaseOutputPin::NonDelegatingQueryInterface(iid, object);
}

HRESULT STDMETHODCALLTYPE SourcePin::QueryId(LPWSTR* id) {
    return AMGetWideString(Name(), id);
}

HRESULT STDMETHODCALLTYPE SourcePin::Notify(IBaseFilter*, Quality) {
    return E_NOTIMPL;
}

HRESULT SourcePin::CheckMediaType(const CMediaType* type) {
    for (int i = 0; i < MediaTypeCount(format_); ++i) {
        CMediaType own;
        const HRESULT result = FillMediaType(format_, i, &own);
        if (FAILED(result)) {
            return result;
        }
        if (IsSame(own, *type)) {
            return S_OK;
        }
    }
    return VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT SourcePin::GetMediaType(int position, CMediaType* type) {
    CheckPointer(type, E_POINTER);
    return FillMediaType(format_, position, type);
}

HRESULT SourcePin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) {
    CheckPointer(allocator, E_POINTER);
    CheckPointer(request, E_POINTER);
    const ALLOCATOR_PROPERTIES needed = Buffers();
    request->cBuffers = std::max(request->cBuffers, needed.cBuffers);
    request->cbBuffer = std::max(request->cbBuffer, needed.cbBuffer);
    ALLOCATOR_PROPERTIES actual{};
    const HRESULT result = allocator->SetProperties(request, &actual);
    if (FAILED(result)) {
        return result;
    }
    return actual.cbBuffer < needed.cbBuffer || actual.cBuffers < 1 ? E_FAIL : S_OK;
}

HRESULT SourcePin::StartStreaming(ReadAhead* packets, std::size_t stream, const Segment& segment) {
    packets_ = packets;
    stream_ = stream;
    segment_ = segment;
    discontinuity_ = true;
    position_ = segment.start;
    try {
        thread_ = std::thread([this] { Stream(); });
    } catch (const std::system_error&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

void SourcePin::FinishStreaming() {
    if (thread_.joinable()) {
        thread_.join();
    }
}

void SourcePin::Stream() {
    const HRESULT apartment = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    DeliverNewSegment(segment_.start, segment_.stop, segment_.rate);
    HRESULT result = S_OK;
    while (result == S_OK) {
        Packet packet;
        result = packets_->Next(stream_, &packet);
        if (result == S_OK) {
            result = DeliverPacket(packet);
        }
    }
    packets_->Close(stream_);
    if (!IsQuietEnd(result)) {
        DeliverEndOfStream();
        if (FAILED(result)) {
            m_pFilter->NotifyEvent(EC_ERRORABORT, result, 0);
        }
    }
    if (SUCCEEDED(apartment)) {
        CoUninitialize();
    }
}

template <class Fill>
HRESULT SourcePin::DeliverSample(REFERENCE_TIME start, REFERENCE_TIME stop, Fill fill) {
    IMediaSample* sample = nullptr;
    HRESULT result = m_pAllocator->GetBuffer(&sample, nullptr, nullptr, 0);
    if (FAILED(result)) {
        return VFW_E_NOT_COMMITTED;  // the one reason to get none
    }
    BYTE* to = nullptr;
    result = sample->GetPointer(&to);
    if (SUCCEEDED(result)) {
        const long length = fill(to, sample->GetSize());
        const auto inSegment = [this](REFERENCE_TIME time) {
            const REFERENCE_TIME offset = Difference(time, segment_.start);
            return segment_.rate == 1.0
                       ? offset
                       : static_cast<REFERENCE_TIME>(static_cast<double>(offset) / segment_.rate);
        };
        REFERENCE_TIME sampleStart = inSegment(start);
        REFERENCE_TIME sampleStop = inSegment(stop);
        sample->SetTime(&sampleStart, &sampleStop);
        sample->SetMediaTime(nullptr, nullptr);
        sample->SetMediaType(nullptr);
        sample->SetSyncPoint(TRUE);
        sample->SetPreroll(FALSE);
        sample->SetDiscontinuity(discontinuity_);
        result = length == 0 ? VFW_E_BUFFER_OVERFLOW : sample->SetActualDataLength(length);
    }
    if (SUCCEEDED(result)) {
        position_ = start;
        result = Deliver(sample);
        discontinuity_ = result == E_FAIL;
    }
    sample->Release();
    return result == S_FALSE ? E_ABORT : result;
}

ALLOCATOR_PROPERTIES VideoPin::Buffers() const {
    return {kVideoBuffers, static_cast<long>(format_.video->largestPacket), 1, 0};
}

HRESULT VideoPin::DeliverPacket(const Packet& packet) {
    if (packet.start >= stop_) {
        return S_FALSE;
    }
    const ByteSpan bytes = packet.bytes();
    const HRESULT result =
        DeliverSample(packet.start, packet.stop, [bytes](BYTE* to, long room) -> long {
            if (bytes.size() > static_cast<std::size_t>(room)) {
                return 0;
            }
            std::memcpy(to, bytes.data(), bytes.size());
            return static_cast<long>(bytes.size());
        });
    return result == E_FAIL ? S_OK : result;  // a damaged frame costs no more than itself
}

ALLOCATOR_PROPERTIES AudioPin::Buffers() const {
    const int frames = format_.audio.rate / kAudioBuffersPerSecond + 1;
    return {kAudioBuffers, long{frames} * format_.audio.deliveredFrame(), 1, 0};
}

HRESULT AudioPin::DeliverPacket(const Packet& packet) {
    if (packet.start >= stop_) {
        return S_FALSE;
    }
    const AudioFormat& audio = format_.audio;
    const AVRational clock = av_make_q(1, audio.rate);
    const ByteSpan bytes = packet.bytes();
    const auto frames =
        static_cast<std::int64_t>(bytes.size()) / static_cast<std::int64_t>(audio.storedFrame());
    // Counted in frames of sound from the file's start, so that nothing is rounded twice.
    const std::int64_t begin = av_rescale(packet.start, audio.rate, kUnits);
    std::int64_t first =
        std::max<std::int64_t>(0, Difference(FramesBefore(segment_.start, clock), begin));
    const std::int64_t last = std::min(frames, Difference(FramesBefore(stop_, clock), begin));
    const std::int64_t most = Buffers().cbBuffer / audio.deliveredFrame();
    while (first < last) {
        const std::int64_t end = std::min(last, first + most);
        const auto fill = [&](BYTE* to, long room) -> long {
            const std::int64_t length = (end - first) * audio.deliveredFrame();
            if (length > room) {
                return 0;
            }
            ConvertPcm(audio.pcm, bytes.data() + first * audio.storedFrame(),
                       static_cast<std::size_t>((end - first) * audio.channels), to);
            return static_cast<long>(length);
        };
        const HRESULT result =
            DeliverSample(TimeOfTick(begin + first, clock), TimeOfTick(begin + end, clock), fill);
        if (result != S_OK) {
            return result;
        }
        first = end;
    }
    return S_OK;
}

}  // namespace nyx::source

#include "source/source_pin.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <utility>

#include "source/failures.h"
#include "source/media_types.h"
#include "source/sample_clock.h"
#include "source/source_filter.h"

namespace nyx::source {
namespace {

/// One that downstream works on and one that is being filled. A third large picture would only push
/// them out of the processor's cache.
constexpr long kVideoBuffers = 2;
constexpr long kAudioBuffers = 4;
constexpr int kAudioBuffersPerSecond = 5;

/// Whether downstream accepts nothing more for now, because it stops or flushes.
bool EndsStream(HRESULT result) {
    return result == kCancelled || result == VFW_E_WRONG_STATE || result == VFW_E_NOT_COMMITTED;
}

/// The number of frames of audio that begin before `time`, at least 0, from the file's start on.
std::int64_t FramesBefore(REFERENCE_TIME time, AVRational clock) {
    return TickAt(time - 1, clock) + 1;
}

/// Whether two formats of a stream agree in what may change in its course: the system of DV, the
/// rate of audio.
bool IsSameFormat(const StreamFormat& a, const StreamFormat& b) {
    return a.video ? a.video->fourcc == b.video->fourcc && a.video->width == b.video->width &&
                         a.video->height == b.video->height
                   : a.audio.rate == b.audio.rate;
}

/// The format of a video stream that continues in another system of DV.
StreamFormat WithSystem(const StreamFormat& stream, const AVDVProfile& system) {
    StreamFormat changed = stream;
    changed.video->fourcc = DvFourCC(system);
    changed.video->width = system.width;
    changed.video->height = system.height;
    changed.video->rate = av_inv_q(system.time_base);
    return changed;
}

}  // namespace

SourcePin::SourcePin(FootageSource* filter, CCritSec* lock, HRESULT* result, const wchar_t* name,
                     PinSources sources, AVRational rate)
    : CBaseOutputPin(filter, lock, result, name),
      PinSeeking(filter, rate),
      format_(FormatOf(sources)),
      sources_(std::move(sources)) {}

HRESULT STDMETHODCALLTYPE SourcePin::NonDelegatingQueryInterface(REFIID iid, void** object) {
    if (iid == IID_IMediaSeeking) {
        return GetInterface(static_cast<IMediaSeeking*>(this), object);
    }
    return CBaseOutputPin::NonDelegatingQueryInterface(iid, object);
}

HRESULT SourcePin::CheckMediaType(const CMediaType* type) {
    CMediaType own;
    HRESULT result = S_OK;
    for (int i = 0; (result = FillMediaType(format_, i, &own)) == S_OK; ++i) {
        if (type->MatchesPartial(&own)) {
            return S_OK;
        }
    }
    return FAILED(result) ? result : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT SourcePin::GetMediaType(int position, CMediaType* type) {
    CheckPointer(type, E_POINTER);
    return FillMediaType(format_, position, type);
}

HRESULT SourcePin::CompleteConnect(IPin* peer) {
    typePosition_ = m_mt.formattype == FORMAT_VideoInfo ? 1 : 0;
    try {
        deliveredFormat_ = std::make_shared<const StreamFormat>(format_);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return CBaseOutputPin::CompleteConnect(peer);
}

ALLOCATOR_PROPERTIES SourcePin::Buffers() const {
    const long run = format_.audio.rate / kAudioBuffersPerSecond + 1;
    return {.cBuffers = format_.video ? kVideoBuffers : kAudioBuffers,
            .cbBuffer = format_.video ? static_cast<long>(format_.video->largestPacket)
                                      : run * format_.audio.deliveredFrame(),
            .cbAlign = 1,
            .cbPrefix = 0};
}

HRESULT SourcePin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) {
    CheckPointer(allocator, E_POINTER);
    CheckPointer(request, E_POINTER);
    const ALLOCATOR_PROPERTIES needed = Buffers();
    request->cBuffers = std::max(request->cBuffers, needed.cBuffers);
    request->cbBuffer = std::max(request->cbBuffer, needed.cbBuffer);
    ALLOCATOR_PROPERTIES actual{};
    const HRESULT result = allocator->SetProperties(request, &actual);
    const bool enough = actual.cbBuffer >= needed.cbBuffer && actual.cBuffers > 0;
    return SUCCEEDED(result) && !enough ? E_FAIL : result;
}

HRESULT SourcePin::StartThreads(const Segment& segment, REFERENCE_TIME cut) noexcept {
    segment_ = segment;
    cut_ = cut;
    reachedCut_ = false;
    discontinuity_ = true;
    position_ = segment.start;
    filledFormat_ = deliveredFormat_;
    refused_.reset();
    filled_.Open();
    try {
        filling_.Start([this] { FillSamples(); });
        delivering_.Start([this] { DeliverSamples(); });
    } catch (const std::exception&) {
        filled_.Close();
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

void SourcePin::JoinThreads() {
    delivering_.join();
    filling_.join();
}

void SourcePin::FillSamples() noexcept {
    HRESULT result = S_OK;
    try {
        PinPackets packets(sources_, [this](std::size_t source, Packet* packet) {
            return sources_[source].packets->Pop(sources_[source].stream, packet);
        });
        while (result == S_OK) {
            Packet packet;
            result = packets.Pop(&packet);
            if (result == S_OK && packet.start >= stop_) {
                result = S_FALSE;
            } else if (result == S_OK && packet.start >= cut_) {
                reachedCut_ = format_.video.has_value();
                result = S_FALSE;
            } else if (result == S_OK) {
                result = format_.video ? PushPicture(packet) : PushAudio(packet);
            }
        }
    } catch (const std::bad_alloc&) {
        result = E_OUTOFMEMORY;
    }
    for (const PacketSource& source : sources_) {
        source.packets->Close(source.stream);
    }
    filled_.End(result);
}

void SourcePin::DeliverSamples() noexcept {
    const HRESULT apartment = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    DeliverNewSegment(segment_.start, segment_.stop, segment_.rate);
    HRESULT result = S_OK;
    while (result == S_OK) {
        FilledSample filled;
        result = filled_.Pop(&filled);
        if (result == S_OK) {
            result = DeliverOne(filled);
        }
    }
    filled_.Close();
    if (!EndsStream(result)) {
        if (result == S_FALSE && reachedCut_) {
            constexpr int kMillisecond = kUnits / 1000;
            m_pFilter->NotifyEvent(EC_STREAM_ERROR_STOPPED, VFW_E_TYPE_NOT_ACCEPTED,
                                   static_cast<LONG_PTR>(cut_ / kMillisecond));
        }
        DeliverEndOfStream();
        if (FAILED(result)) {
            m_pFilter->NotifyEvent(EC_ERRORABORT, result, 0);
        }
    }
    if (SUCCEEDED(apartment)) {
        CoUninitialize();
    }
}

/// Delivers a sample. A picture that downstream rejects as damaged is skipped.
HRESULT SourcePin::DeliverOne(const FilledSample& filled) {
    filled.sample->SetDiscontinuity(discontinuity_);
    position_ = filled.start;
    const bool changed = filled.format != deliveredFormat_;
    CMediaType type;
    HRESULT result = changed ? FillMediaType(*filled.format, typePosition_, &type) : S_OK;
    if (changed && SUCCEEDED(result)) {
        result = filled.sample->SetMediaType(&type);
    }
    if (SUCCEEDED(result)) {
        result = Deliver(filled.sample.Get());
    }
    if (changed && result == S_OK) {  // otherwise downstream has not seen the type
        deliveredFormat_ = filled.format;
        result = StoreMediaType(type);
    }
    discontinuity_ = result == E_FAIL;
    if (result == E_FAIL && format_.video) {
        m_pFilter->NotifyEvent(EC_STREAM_ERROR_STILLPLAYING, result, 0);
        return S_OK;
    }
    return result == S_FALSE ? kCancelled : result;
}

REFERENCE_TIME SourcePin::ToSegment(REFERENCE_TIME time) const {
    const auto offset = static_cast<double>(Difference(time, segment_.start));
    return static_cast<REFERENCE_TIME>(offset / segment_.rate);
}

/// Queues a sample that `fill` writes. Its times are those in the file.
template <class Fill>
HRESULT SourcePin::PushSample(REFERENCE_TIME start, REFERENCE_TIME stop, std::int64_t bytes,
                              Fill fill) {
    ComPtr<IMediaSample> sample;
    if (FAILED(m_pAllocator->GetBuffer(&sample, nullptr, nullptr, 0))) {
        return VFW_E_NOT_COMMITTED;  // the only reason why there is none
    }
    BYTE* to = nullptr;
    HRESULT result = sample->GetPointer(&to);
    if (SUCCEEDED(result) && bytes > sample->GetSize()) {
        result = VFW_E_BUFFER_OVERFLOW;
    }
    if (SUCCEEDED(result)) {
        result = fill(to);
    }
    if (result != S_OK) {
        return result;
    }
    REFERENCE_TIME from = ToSegment(start);
    REFERENCE_TIME until = ToSegment(stop);
    sample->SetTime(&from, &until);
    sample->SetMediaTime(nullptr, nullptr);
    sample->SetMediaType(nullptr);
    sample->SetSyncPoint(TRUE);
    sample->SetPreroll(FALSE);
    sample->SetActualDataLength(static_cast<long>(bytes));
    return filled_.Push({std::move(sample), start, filledFormat_}) ? S_OK : kCancelled;
}

bool SourcePin::IsAccepted(const StreamFormat& format) const {
    CMediaType type;
    return SUCCEEDED(FillMediaType(format, typePosition_, &type)) &&
           m_Connected->QueryAccept(&type) == S_OK;
}

bool SourcePin::Accepts(const AVDVProfile& system) const {
    const StreamFormat format = WithSystem(format_, system);
    return !IsConnected() || IsSameFormat(*deliveredFormat_, format) || IsAccepted(format);
}

/// Continues in a format that may differ from the one before; false if downstream refuses it.
bool SourcePin::SwitchTo(const StreamFormat& format) {
    if (IsSameFormat(*filledFormat_, format)) {
        return true;
    }
    if ((refused_ && IsSameFormat(*refused_, format)) || !IsAccepted(format)) {
        refused_ = format;
        return false;
    }
    filledFormat_ = std::make_shared<const StreamFormat>(format);
    return true;
}

HRESULT SourcePin::PushPicture(const Packet& packet) {
    if (packet.system && !SwitchTo(WithSystem(format_, *packet.system))) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    const FootageFile& file = sources_.front().packets->file();
    return PushSample(packet.start, packet.stop, static_cast<std::int64_t>(packet.size()),
                      [&](BYTE* to) { return file.Copy(packet, to); });
}

HRESULT SourcePin::PushAudio(const Packet& packet) {
    StreamFormat format = format_;
    format.audio.rate = packet.rate;
    const bool silent = !SwitchTo(format);
    const AudioFormat& audio = filledFormat_->audio;
    const AVRational clock = av_make_q(1, audio.rate);
    // Counted in frames of audio from the file's start, so that nothing is rounded twice.
    const std::int64_t begin = av_rescale(packet.start, audio.rate, kUnits);
    const std::int64_t end = silent ? av_rescale(packet.stop, audio.rate, kUnits)
                                    : begin + packet.data->size / audio.storedFrame();
    const std::int64_t last =
        std::min(end, FramesBefore(std::min<REFERENCE_TIME>(stop_, cut_), clock));
    const std::int64_t max = Buffers().cbBuffer / audio.deliveredFrame();
    std::int64_t first = std::max(begin, FramesBefore(segment_.start, clock));
    while (first < last) {
        const std::int64_t count = std::min(last - first, max);
        const std::int64_t bytes = count * audio.deliveredFrame();
        const HRESULT result = PushSample(
            TimeOfTick(first, clock), TimeOfTick(first + count, clock), bytes, [&](BYTE* to) {
                if (silent || !audible_) {
                    std::memset(to, 0, static_cast<std::size_t>(bytes));
                } else {
                    ConvertPcm(
                        audio.pcm,
                        Slice(packet.bytes(),
                              static_cast<std::size_t>((first - begin) * audio.storedFrame()),
                              static_cast<std::size_t>(count * audio.storedFrame())),
                        to);
                }
                return S_OK;
            });
        if (result != S_OK) {
            return result;
        }
        first += count;
    }
    return S_OK;
}

}  // namespace nyx::source

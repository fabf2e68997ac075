#include "source/source_pin.h"

#include <algorithm>
#include <cstring>
#include <exception>

#include "source/failures.h"
#include "source/media_types.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

/// One that downstream works on and one that is being filled: a third of a large picture's would
/// only push the others out of the processor's cache.
constexpr long kVideoBuffers = 2;
constexpr long kAudioBuffers = 4;
constexpr int kAudioBuffersPerSecond = 5;

/// Downstream takes nothing more for now, by its own will: a stop, a flush.
bool EndsStream(HRESULT result) {
    return result == kCancelled || result == VFW_E_WRONG_STATE || result == VFW_E_NOT_COMMITTED;
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
    form_ = m_mt.formattype == FORMAT_VideoInfo ? 1 : 0;
    formats_ = {format_};
    deliveredFormat_ = &formats_.front();
    return CBaseOutputPin::CompleteConnect(peer);
}

ALLOCATOR_PROPERTIES SourcePin::Buffers() const {
    if (format_.video) {
        return {kVideoBuffers, static_cast<long>(format_.video->largestPacket), 1, 0};
    }
    const int frames = format_.audio.rate / kAudioBuffersPerSecond + 1;
    return {kAudioBuffers, long{frames} * format_.audio.deliveredFrame(), 1, 0};
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

HRESULT SourcePin::StartStreaming(FootageFile* file, ReadAhead* packets, std::size_t stream,
                                  const Segment& segment, REFERENCE_TIME cut) {
    file_ = file;
    packets_ = packets;
    stream_ = stream;
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

void SourcePin::FinishStreaming() {
    for (Thread* thread : {&delivering_, &filling_}) {
        if (thread->joinable()) {
            thread->join();
        }
    }
}

void SourcePin::FillSamples() {
    HRESULT result = S_OK;
    while (result == S_OK) {
        Packet packet;
        result = packets_->Next(stream_, &packet);
        if (result == S_OK && packet.start >= stop_) {
            result = S_FALSE;
        } else if (result == S_OK && packet.start >= cut_) {
            reachedCut_ = format_.video.has_value();
            result = S_FALSE;
        } else if (result == S_OK) {
            result = format_.video ? PutPicture(packet) : PushAudio(packet);
        }
    }
    packets_->Close(stream_);
    filled_.End(result);
}

void SourcePin::DeliverSamples() {
    const HRESULT apartment = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    DeliverNewSegment(segment_.start, segment_.stop, segment_.rate);
    HRESULT result = S_OK;
    while (result == S_OK) {
        FilledSample filled;
        result = filled_.Take(&filled);
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

/// Delivers a sample and lets go of it. A frame that downstream finds damaged costs no more than
/// itself.
HRESULT SourcePin::DeliverOne(const FilledSample& filled) {
    filled.sample->SetDiscontinuity(discontinuity_);
    position_ = filled.start;
    const bool changed = filled.format != deliveredFormat_;
    CMediaType type;
    HRESULT result = changed ? FillType(*filled.format, &type) : S_OK;
    if (changed && SUCCEEDED(result)) {
        result = filled.sample->SetMediaType(&type);
    }
    if (SUCCEEDED(result)) {
        result = Deliver(filled.sample);
    }
    if (changed && result == S_OK) {  // else downstream has not seen it
        deliveredFormat_ = filled.format;
        result = StoreMediaType(type);
    }
    filled.sample->Release();
    discontinuity_ = result == E_FAIL;
    if (result == E_FAIL && format_.video) {
        m_pFilter->NotifyEvent(EC_STREAM_ERROR_STILLPLAYING, result, 0);
        return S_OK;
    }
    return result == S_FALSE ? kCancelled : result;
}

REFERENCE_TIME SourcePin::InSegment(REFERENCE_TIME time) const {
    const REFERENCE_TIME offset = Difference(time, segment_.start);
    return segment_.rate == 1.0
               ? offset
               : static_cast<REFERENCE_TIME>(static_cast<double>(offset) / segment_.rate);
}

/// Hands on what `fill` puts into a buffer, with the times in the segment of those in the file.
template <class Fill>
HRESULT SourcePin::PutSample(REFERENCE_TIME start, REFERENCE_TIME stop, std::int64_t bytes,
                             Fill fill) {
    IMediaSample* sample = nullptr;
    if (FAILED(m_pAllocator->GetBuffer(&sample, nullptr, nullptr, 0))) {
        return VFW_E_NOT_COMMITTED;  // the one reason to get none
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
        sample->Release();
        return result;
    }
    REFERENCE_TIME from = InSegment(start);
    REFERENCE_TIME until = InSegment(stop);
    sample->SetTime(&from, &until);
    sample->SetMediaTime(nullptr, nullptr);
    sample->SetMediaType(nullptr);
    sample->SetSyncPoint(TRUE);
    sample->SetPreroll(FALSE);
    sample->SetActualDataLength(static_cast<long>(bytes));
    return filled_.Put({sample, start, filledFormat_}) ? S_OK : kCancelled;
}

/// The type of a format in the form that was agreed on.
HRESULT SourcePin::FillType(const StreamFormat& format, CMediaType* type) const {
    return FillMediaType(format, form_, type);
}

bool SourcePin::IsTaken(const StreamFormat& format) const {
    CMediaType type;
    return SUCCEEDED(FillType(format, &type)) && m_Connected->QueryAccept(&type) == S_OK;
}

bool SourcePin::Takes(const AVDVProfile& system) const {
    const StreamFormat format = WithSystem(format_, system);
    return !IsConnected() || IsSameFormat(*deliveredFormat_, format) || IsTaken(format);
}

/// Goes on in a format that may differ from the one before, if downstream takes it.
bool SourcePin::Follow(const StreamFormat& format) {
    const auto same = [&format](const StreamFormat& one) { return IsSameFormat(one, format); };
    if (same(*filledFormat_)) {
        return true;
    }
    if (refused_ && same(*refused_)) {
        return false;
    }
    if (!IsTaken(format)) {
        refused_ = format;
        return false;
    }
    auto known = std::find_if(formats_.begin(), formats_.end(), same);
    filledFormat_ = &*(known != formats_.end() ? known : formats_.insert(known, format));
    return true;
}

HRESULT SourcePin::PutPicture(const Packet& packet) {
    if (packet.system && !Follow(WithSystem(format_, *packet.system))) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    return PutSample(packet.start, packet.stop, static_cast<std::int64_t>(packet.size()),
                     [&](BYTE* to) { return file_->Copy(packet, to); });
}

HRESULT SourcePin::PushAudio(const Packet& packet) {
    StreamFormat format = format_;
    format.audio.rate = packet.rate;
    const bool silent = !Follow(format);
    const AudioFormat& audio = filledFormat_->audio;
    const AVRational clock = av_make_q(1, audio.rate);
    // Counted in frames of sound from the file's start, so that nothing is rounded twice.
    const std::int64_t begin = av_rescale(packet.start, audio.rate, kUnits);
    const std::int64_t end = silent ? av_rescale(packet.stop, audio.rate, kUnits)
                                    : begin + packet.data->size / audio.storedFrame();
    const std::int64_t last =
        std::min(end, FramesBefore(std::min<REFERENCE_TIME>(stop_, cut_), clock));
    const std::int64_t most = Buffers().cbBuffer / audio.deliveredFrame();
    std::int64_t first = std::max(begin, FramesBefore(segment_.start, clock));
    while (first < last) {
        const std::int64_t count = std::min(last - first, most);
        const HRESULT result = PutSample(
            TimeOfTick(first, clock), TimeOfTick(first + count, clock),
            count * audio.deliveredFrame(), [&](BYTE* to) {
                const auto samples = static_cast<std::size_t>(count * audio.channels);
                if (silent) {
                    std::memset(to, 0,
                                samples * static_cast<std::size_t>(audio.pcm.deliveredBytes));
                } else {
                    const std::int64_t from = (first - begin) * audio.storedFrame();
                    ConvertPcm(audio.pcm, packet.bytes().data() + from, samples, to);
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

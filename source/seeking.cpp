#include "source/seeking.h"

#include <algorithm>
#include <tuple>

#include "platform/com.h"
#include "source/sample_clock.h"
#include "source/source_filter.h"

namespace nyx::source {
namespace {

constexpr DWORD kCapabilities = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanSeekForwards |
                                AM_SEEKING_CanSeekBackwards | AM_SEEKING_CanGetStopPos |
                                AM_SEEKING_CanGetDuration;
constexpr double kMaxRate = 100.0;

/// Converts a position from one time format to another.
LONGLONG Convert(LONGLONG value, const GUID& from, const GUID& to, AVRational frame) {
    if (from == to) {
        return value;
    }
    return from == TIME_FORMAT_FRAME ? TimeOfTick(value, frame) : TickAt(value, frame);
}

}  // namespace

HRESULT STDMETHODCALLTYPE PinSeeking::GetCapabilities(DWORD* capabilities) {
    return StoreOut(capabilities, kCapabilities);
}

HRESULT STDMETHODCALLTYPE PinSeeking::CheckCapabilities(DWORD* capabilities) {
    CheckPointer(capabilities, E_POINTER);
    const DWORD asked = *capabilities;
    *capabilities &= kCapabilities;
    if (*capabilities == asked) {
        return S_OK;
    }
    return *capabilities != 0 ? S_FALSE : E_FAIL;
}

HRESULT STDMETHODCALLTYPE PinSeeking::IsFormatSupported(const GUID* format) {
    CheckPointer(format, E_POINTER);
    const bool frames = *format == TIME_FORMAT_FRAME && frame_.den > 0;
    return frames || *format == TIME_FORMAT_MEDIA_TIME ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE PinSeeking::IsUsingTimeFormat(const GUID* format) {
    CheckPointer(format, E_POINTER);
    return *format == UsedFormat() ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE PinSeeking::SetTimeFormat(const GUID* format) {
    const HRESULT supported = IsFormatSupported(format);
    if (supported == S_OK) {
        countsFrames_ = *format == TIME_FORMAT_FRAME;
    }
    return supported == S_FALSE ? E_INVALIDARG : supported;
}

HRESULT PinSeeking::StoreTime(LONGLONG* value, REFERENCE_TIME time) const {
    return StoreOut(value, Convert(time, TIME_FORMAT_MEDIA_TIME, UsedFormat(), frame_));
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetDuration(LONGLONG* duration) {
    return StoreTime(duration, target_->duration());
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetStopPosition(LONGLONG* stop) {
    return StoreTime(stop, target_->CurrentSegment().stop);
}

HRESULT STDMETHODCALLTYPE PinSeeking::ConvertTimeFormat(LONGLONG* target, const GUID* targetFormat,
                                                        LONGLONG source, const GUID* sourceFormat) {
    const GUID from = sourceFormat ? *sourceFormat : UsedFormat();
    const GUID to = targetFormat ? *targetFormat : UsedFormat();
    if (IsFormatSupported(&from) != S_OK || IsFormatSupported(&to) != S_OK) {
        return E_INVALIDARG;
    }
    return StoreOut(target, Convert(source, from, to, frame_));
}

/// The time of a position of SetPositions, which may be relative to `base`, clamped to the file.
HRESULT PinSeeking::ResolvePosition(const LONGLONG* value, DWORD how, REFERENCE_TIME base,
                                    REFERENCE_TIME* time) const {
    if (how == AM_SEEKING_NoPositioning) {
        return S_OK;
    }
    CheckPointer(value, E_POINTER);
    LONGLONG origin = 0;
    if (how != AM_SEEKING_AbsolutePositioning) {
        std::ignore = StoreTime(&origin, base);
    }
    const LONGLONG place = av_sat_add64(origin, *value);
    *time = std::clamp<REFERENCE_TIME>(Convert(place, UsedFormat(), TIME_FORMAT_MEDIA_TIME, frame_),
                                       0, target_->duration());
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::SetPositions(LONGLONG* current, DWORD currentFlags,
                                                   LONGLONG* stop, DWORD stopFlags) {
    const DWORD currentHow = currentFlags & AM_SEEKING_PositioningBitsMask;
    const DWORD stopHow = stopFlags & AM_SEEKING_PositioningBitsMask;
    if (currentHow == AM_SEEKING_IncrementalPositioning) {
        return E_INVALIDARG;  // only a stop position can be relative to a start
    }
    if ((currentFlags | stopFlags) & (AM_SEEKING_Segment | AM_SEEKING_NoFlush)) {
        return E_NOTIMPL;  // a host that loops seeks at the end instead
    }
    const Segment now = target_->CurrentSegment();
    REFERENCE_TIME start = now.start;
    REFERENCE_TIME end = now.stop;
    HRESULT result = ResolvePosition(current, currentHow, now.start, &start);
    if (SUCCEEDED(result)) {
        const bool fromStart = stopHow == AM_SEEKING_IncrementalPositioning;
        result = ResolvePosition(stop, stopHow, fromStart ? start : now.stop, &end);
    }
    if (SUCCEEDED(result) && currentHow != AM_SEEKING_NoPositioning) {
        result = target_->SeekTo(this, start, end);
    } else if (SUCCEEDED(result) && stopHow != AM_SEEKING_NoPositioning) {
        result = target_->StopAt(end);
    }
    if (SUCCEEDED(result) && currentFlags & AM_SEEKING_ReturnTime && current) {
        *current = start;
    }
    if (SUCCEEDED(result) && stopFlags & AM_SEEKING_ReturnTime && stop) {
        *stop = end;
    }
    return result;
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetPositions(LONGLONG* current, LONGLONG* stop) {
    const Segment now = target_->CurrentSegment();
    if (current) {
        std::ignore = StoreTime(current, now.start);
    }
    return stop ? StoreTime(stop, now.stop) : S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetAvailable(LONGLONG* earliest, LONGLONG* latest) {
    if (earliest) {
        *earliest = 0;
    }
    return latest ? GetDuration(latest) : S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::SetRate(double rate) {
    // NaN fails both comparisons.
    return rate > 0.0 && rate <= kMaxRate ? target_->SetPlaybackRate(rate) : E_INVALIDARG;
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetRate(double* rate) {
    return StoreOut(rate, target_->CurrentSegment().rate);
}

}  // namespace nyx::source

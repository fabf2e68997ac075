#include "source/seeking.h"

#include <algorithm>

#include "baseclasses/wxutil.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

constexpr DWORD kCapabilities = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanSeekForwards |
                                AM_SEEKING_CanSeekBackwards | AM_SEEKING_CanGetStopPos |
                                AM_SEEKING_CanGetDuration;
constexpr double kFastest = 100.0;

}  // namespace

bool PinSeeking::Supports(const GUID& format) const {
    return format == TIME_FORMAT_MEDIA_TIME || (format == TIME_FORMAT_FRAME && rate_.num > 0);
}

REFERENCE_TIME PinSeeking::ToTime(LONGLONG value, bool frames) const {
    return frames ? TimeOfTick(value, av_inv_q(rate_)) : value;
}

LONGLONG PinSeeking::FromTime(REFERENCE_TIME time, bool frames) const {
    return frames ? TickAt(time, av_inv_q(rate_)) : time;
}

HRESULT PinSeeking::Give(LONGLONG* value, REFERENCE_TIME time) const {
    CheckPointer(value, E_POINTER);
    *value = FromTime(time, frames_);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetCapabilities(DWORD* capabilities) {
    CheckPointer(capabilities, E_POINTER);
    *capabilities = kCapabilities;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::CheckCapabilities(DWORD* capabilities) {
    CheckPointer(capabilities, E_POINTER);
    const DWORD asked = *capabilities;
    *capabilities &= kCapabilities;
    return *capabilities == asked ? S_OK : *capabilities != 0 ? S_FALSE : E_FAIL;
}

HRESULT STDMETHODCALLTYPE PinSeeking::IsFormatSupported(const GUID* format) {
    CheckPointer(format, E_POINTER);
    return Supports(*format) ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE PinSeeking::QueryPreferredFormat(GUID* format) {
    CheckPointer(format, E_POINTER);
    *format = TIME_FORMAT_MEDIA_TIME;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetTimeFormat(GUID* format) {
    CheckPointer(format, E_POINTER);
    *format = frames_ ? TIME_FORMAT_FRAME : TIME_FORMAT_MEDIA_TIME;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::IsUsingTimeFormat(const GUID* format) {
    CheckPointer(format, E_POINTER);
    return *format == (frames_ ? TIME_FORMAT_FRAME : TIME_FORMAT_MEDIA_TIME) ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE PinSeeking::SetTimeFormat(const GUID* format) {
    CheckPointer(format, E_POINTER);
    if (!Supports(*format)) {
        return E_INVALIDARG;
    }
    frames_ = *format == TIME_FORMAT_FRAME;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetDuration(LONGLONG* duration) {
    // The first frame behind the end: as many as there are.
    return Give(duration, target_->Duration());
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetStopPosition(LONGLONG* stop) {
    return Give(stop, target_->CurrentSegment().stop);
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetCurrentPosition(LONGLONG*) {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE PinSeeking::ConvertTimeFormat(LONGLONG* target, const GUID* targetFormat,
                                                        LONGLONG source, const GUID* sourceFormat) {
    CheckPointer(target, E_POINTER);
    const GUID used = frames_ ? TIME_FORMAT_FRAME : TIME_FORMAT_MEDIA_TIME;
    const GUID from = sourceFormat ? *sourceFormat : used;
    const GUID to = targetFormat ? *targetFormat : used;
    if (!Supports(from) || !Supports(to)) {
        return E_INVALIDARG;
    }
    *target = from == to
                  ? source
                  : FromTime(ToTime(source, from == TIME_FORMAT_FRAME), to == TIME_FORMAT_FRAME);
    return S_OK;
}

/// Where a position of SetPositions lies, by its flags; `base` is what it is relative to.
HRESULT PinSeeking::Moved(LONGLONG* value, DWORD flags, REFERENCE_TIME base,
                          REFERENCE_TIME* time) const {
    const DWORD how = flags & AM_SEEKING_PositioningBitsMask;
    if (how == AM_SEEKING_NoPositioning) {
        return S_OK;
    }
    CheckPointer(value, E_POINTER);
    if (how == AM_SEEKING_AbsolutePositioning) {
        *time = ToTime(*value, frames_);
    } else {
        *time = ToTime(av_sat_add64(FromTime(base, frames_), *value), frames_);
    }
    *time = std::clamp<REFERENCE_TIME>(*time, 0, target_->Duration());
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::SetPositions(LONGLONG* current, DWORD currentFlags,
                                                   LONGLONG* stop, DWORD stopFlags) {
    const Segment now = target_->CurrentSegment();
    const DWORD currentHow = currentFlags & AM_SEEKING_PositioningBitsMask;
    const DWORD stopHow = stopFlags & AM_SEEKING_PositioningBitsMask;
    // Only an end can be so far from a start.
    if (currentHow == AM_SEEKING_IncrementalPositioning) {
        return E_INVALIDARG;
    }
    REFERENCE_TIME start = now.start;
    REFERENCE_TIME end = now.stop;
    HRESULT result = Moved(current, currentFlags, now.start, &start);
    if (SUCCEEDED(result)) {
        result = Moved(stop, stopFlags,
                       stopHow == AM_SEEKING_IncrementalPositioning ? start : now.stop, &end);
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
        Give(current, now.start);
    }
    if (stop) {
        Give(stop, now.stop);
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetAvailable(LONGLONG* earliest, LONGLONG* latest) {
    if (earliest) {
        *earliest = 0;
    }
    return latest ? Give(latest, target_->Duration()) : S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::SetRate(double rate) {
    // Written so that what is no number is refused too.
    if (!(rate > 0.0 && rate <= kFastest)) {
        return E_INVALIDARG;
    }
    return target_->PlayAt(rate);
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetRate(double* rate) {
    CheckPointer(rate, E_POINTER);
    *rate = target_->CurrentSegment().rate;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinSeeking::GetPreroll(LONGLONG* preroll) {
    CheckPointer(preroll, E_POINTER);
    *preroll = 0;  // every frame is a key frame
    return S_OK;
}

}  // namespace nyx::source

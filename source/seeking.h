#pragma once

#include <atomic>

#include "media/libav.h"
#include "platform/com.h"
#include "platform/dshow.h"

namespace nyx::source {

/// The part of a file that is played.
struct Segment {
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    double rate = 1.0;
};

class FootageSource;

/// `IMediaSeeking` of a pin, in time and, beside video, in frames. The pin supplies `IUnknown`.
class PinSeeking : public IMediaSeeking {
  public:
    /// `rate` is the video's, in frames per second; 0 where there is none. `target` outlives this.
    PinSeeking(FootageSource* target, AVRational rate) : target_(target), frame_(av_inv_q(rate)) {}

    HRESULT STDMETHODCALLTYPE GetCapabilities(DWORD* capabilities) override;
    HRESULT STDMETHODCALLTYPE CheckCapabilities(DWORD* capabilities) override;
    HRESULT STDMETHODCALLTYPE IsFormatSupported(const GUID* format) override;
    HRESULT STDMETHODCALLTYPE QueryPreferredFormat(GUID* format) override {
        return StoreOut(format, TIME_FORMAT_MEDIA_TIME);
    }
    HRESULT STDMETHODCALLTYPE GetTimeFormat(GUID* format) override {
        return StoreOut(format, UsedFormat());
    }
    HRESULT STDMETHODCALLTYPE IsUsingTimeFormat(const GUID* format) override;
    HRESULT STDMETHODCALLTYPE SetTimeFormat(const GUID* format) override;
    HRESULT STDMETHODCALLTYPE GetDuration(LONGLONG* duration) override;
    HRESULT STDMETHODCALLTYPE GetStopPosition(LONGLONG* stop) override;
    /// Only renderers know it.
    HRESULT STDMETHODCALLTYPE GetCurrentPosition(LONGLONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ConvertTimeFormat(LONGLONG* target, const GUID* targetFormat,
                                                LONGLONG source, const GUID* sourceFormat) override;
    HRESULT STDMETHODCALLTYPE SetPositions(LONGLONG* current, DWORD currentFlags, LONGLONG* stop,
                                           DWORD stopFlags) override;
    HRESULT STDMETHODCALLTYPE GetPositions(LONGLONG* current, LONGLONG* stop) override;
    HRESULT STDMETHODCALLTYPE GetAvailable(LONGLONG* earliest, LONGLONG* latest) override;
    HRESULT STDMETHODCALLTYPE SetRate(double rate) override;
    HRESULT STDMETHODCALLTYPE GetRate(double* rate) override;
    /// Every frame is a key frame.
    HRESULT STDMETHODCALLTYPE GetPreroll(LONGLONG* preroll) override {
        return StoreOut(preroll, 0);
    }

  protected:
    ~PinSeeking() = default;

  private:
    [[nodiscard]] HRESULT ResolvePosition(const LONGLONG* value, DWORD how, REFERENCE_TIME base,
                                          REFERENCE_TIME* time) const;
    GUID UsedFormat() const { return countsFrames_ ? TIME_FORMAT_FRAME : TIME_FORMAT_MEDIA_TIME; }
    [[nodiscard]] HRESULT StoreTime(LONGLONG* value, REFERENCE_TIME time) const;

    FootageSource* const target_;
    const AVRational frame_;  ///< seconds
    std::atomic<bool> countsFrames_{false};
};

}  // namespace nyx::source

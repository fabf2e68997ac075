#pragma once

#include <atomic>

#include "baseclasses/transfrm.h"
#include "platform/com.h"

/// A transform filter for video: follows type changes in mid-stream, withholds pictures before a
/// key frame after a break, and leaves out frames up to the next key frame when decoding makes the
/// stream late. Times are in 100-ns units.
class CVideoTransformFilter : public CTransformFilter {
  public:
    CVideoTransformFilter(LPCTSTR pName, LPUNKNOWN lpUnk, REFCLSID clsid);

    [[nodiscard]] HRESULT Receive(IMediaSample* pSample) override;
    /// Resets all measurements. Overriders call it.
    [[nodiscard]] HRESULT StartStreaming() override;
    /// Resets all measurements, then passes the call downstream.
    [[nodiscard]] HRESULT EndFlush() override;
    /// Stores how late the renderer is, and leaves the rest to it: `E_FAIL`.
    [[nodiscard]] HRESULT AlterQuality(Quality q) override;

    /// Ends the stream downstream and reports the failure `hr` to the graph. Returns `hr`.
    [[nodiscard]] HRESULT AbortPlayback(HRESULT hr);
    /// Whether to leave out this frame; every call counts as one frame.
    BOOL ShouldSkipFrame(IMediaSample* pIn);

  protected:
    int m_nKeyFramePeriod = 0;  ///< longest distance between key frames seen; 0 before any
    int m_nFramesSinceKeyFrame = 0;
    BOOL m_bSkipping = FALSE;       ///< leaving out frames until the next key frame
    std::atomic<int> m_itrLate{0};  ///< the lateness that the renderer reports, on other threads
    DWORD m_tDecodeStart = 0;       ///< start, then duration, of the last Transform in milliseconds
    int m_itrAvgDecode = 0;         ///< sliding average duration of Transform
    int m_nWaitForKey = 0;          ///< frames that may still be withheld before a key frame
    BOOL m_bQualityChanged = FALSE;  ///< the graph knows that quality suffers

  private:
    [[nodiscard]] HRESULT FollowInputType();
    [[nodiscard]] HRESULT FollowOutputType(IMediaSample* pOutSample);
    [[nodiscard]] HRESULT ChangeType(CBasePin& pin, CMediaType& type);
    [[nodiscard]] HRESULT FinishSample(HRESULT hr, nyx::ComPtr<IMediaSample> pOutSample);
    void NoteQualityChange();
    [[nodiscard]] HRESULT TimedTransform(IMediaSample* pSample, IMediaSample* pOutSample);
    bool WaitingForKey(IMediaSample* pSample);
    void CountFrame(bool keyFrame);
    bool LateBeyondNextKey(int duration) const;
};

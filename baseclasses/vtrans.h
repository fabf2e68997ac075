#pragma once

#include <atomic>

#include "baseclasses/transfrm.h"

/// A transform filter for video: follows type changes in mid-stream, waits for a key frame where
/// the pictures before one are no use, and leaves out frames up to the next key frame when decoding
/// is what makes the stream late. Times are in 100-ns units.
class CVideoTransformFilter : public CTransformFilter {
  public:
    CVideoTransformFilter(LPCTSTR pName, LPUNKNOWN lpUnk, REFCLSID clsid);

    HRESULT Receive(IMediaSample* pSample) override;
    /// Forgets all that was measured. Overriders call it.
    HRESULT StartStreaming() override;
    /// Begins the statistics afresh, then goes on downstream.
    HRESULT EndFlush() override;
    /// Notes how late the renderer is, and lets it deal with that: `E_FAIL`.
    HRESULT AlterQuality(Quality q) override;

    /// Stops the graph with the failure `hr`, and the stream downstream. Returns `hr`.
    HRESULT AbortPlayback(HRESULT hr);
    /// Whether to leave out this frame; every call counts as one frame.
    BOOL ShouldSkipFrame(IMediaSample* pIn);

  protected:
    int m_nKeyFramePeriod = 0;  ///< longest distance between key frames seen; 0 before any
    int m_nFramesSinceKeyFrame = 0;
    BOOL m_bSkipping = FALSE;  ///< leaving out frames until the next key frame
    std::atomic<int> m_itrLate{
        0};                    ///< how late the renderer said that we are; other threads set it
    DWORD m_tDecodeStart = 0;  ///< start, then duration, of the last Transform in milliseconds
    int m_itrAvgDecode = 0;    ///< sliding average duration of Transform
    int m_nWaitForKey = 0;     ///< frames that may still be withheld for want of a key frame
    BOOL m_bQualityChanged = FALSE;  ///< the graph was told that quality suffers

  private:
    HRESULT FollowInputType();
    HRESULT FollowOutputType(IMediaSample* pOutSample);
    HRESULT ChangeType(CBasePin& pin, CMediaType& type);
    HRESULT FinishSample(HRESULT hr, IMediaSample* pOutSample);
    void NoteQualityChange();
    HRESULT TimedTransform(IMediaSample* pSample, IMediaSample* pOutSample);
    bool WaitingForKey(IMediaSample* pSample);
    void CountFrame(bool keyFrame);
    bool LateBeyondNextKey(int duration) const;
};

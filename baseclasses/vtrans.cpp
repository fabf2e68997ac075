#include "baseclasses/vtrans.h"

#include <algorithm>
#include <limits>

namespace {

constexpr int kFramesToWaitForKey = 30;
constexpr int kFirstAverageDecode = 300000;  // 30 ms, before anything is measured
constexpr int kAverageWeight = 16;           // the newest value counts one part in so many
constexpr int kUnitsPerMillisecond = 10000;  // of reference time, 100 ns
constexpr int kLatestSensible = 300000000;   // 30 s

/// A duration that an int holds; negative ones count as none.
int FrameDuration(REFERENCE_TIME start, REFERENCE_TIME stop) {
    if (stop <= start) {
        return 0;
    }
    const ULONGLONG duration = static_cast<ULONGLONG>(stop) - static_cast<ULONGLONG>(start);
    constexpr ULONGLONG kMax = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(duration, kMax));
}

}  // namespace

CVideoTransformFilter::CVideoTransformFilter(LPCTSTR pName, LPUNKNOWN lpUnk, REFCLSID clsid)
    : CTransformFilter(pName, lpUnk, clsid) {}

HRESULT CVideoTransformFilter::StartStreaming() {
    m_itrLate = 0;
    m_nKeyFramePeriod = 0;
    m_nFramesSinceKeyFrame = 0;
    m_bSkipping = FALSE;
    m_tDecodeStart = 0;
    m_itrAvgDecode = kFirstAverageDecode;
    m_bQualityChanged = FALSE;
    m_bSampleSkipped = FALSE;
    return S_OK;
}

HRESULT CVideoTransformFilter::EndFlush() {
    {
        CAutoLock lock(&m_csReceive);
        // Not the derived class's: streaming has not stopped.
        CVideoTransformFilter::StartStreaming();
    }
    return CTransformFilter::EndFlush();
}

HRESULT CVideoTransformFilter::AbortPlayback(HRESULT hr) {
    NotifyEvent(EC_ERRORABORT, hr, 0);
    m_pOutput->DeliverEndOfStream();
    return hr;
}

HRESULT CVideoTransformFilter::AlterQuality(Quality q) {
    m_itrLate = m_itrLate > kLatestSensible ? kLatestSensible : static_cast<int>(q.Late);
    return E_FAIL;
}

/// Goes on with the type that the received sample carries, if any. It is the very one that the
/// input pin has checked.
HRESULT CVideoTransformFilter::FollowInputType() {
    CMediaType* const type = m_pInput->SampleType();
    return type ? ChangeType(*m_pInput, *type) : S_OK;
}

/// Goes on with the type that downstream has put on its buffer, if any. One without a format block
/// says nothing of a picture, and the stream goes on with what was agreed.
HRESULT CVideoTransformFilter::FollowOutputType(IMediaSample* pOutSample) {
    CMediaType type;
    HRESULT hr = type.SetFrom(*pOutSample);
    if (hr != S_OK || type.cbFormat == 0) {
        return FAILED(hr) ? hr : S_OK;
    }
    hr = ChangeType(*m_pOutput, type);
    if (SUCCEEDED(hr)) {
        m_nWaitForKey = kFramesToWaitForKey;
    }
    return hr;
}

/// Makes `type` the pin's; the one before is in `type` afterwards.
HRESULT CVideoTransformFilter::ChangeType(CBasePin& pin, CMediaType& type) {
    StopStreaming();
    pin.SwapMediaType(type);
    return StartStreaming();
}

HRESULT CVideoTransformFilter::Receive(IMediaSample* pSample) {
    HRESULT hr = FollowInputType();
    if (FAILED(hr)) {
        return AbortPlayback(hr);
    }
    if (ShouldSkipFrame(pSample)) {
        m_bSampleSkipped = TRUE;
        return S_OK;
    }
    IMediaSample* outSample = nullptr;
    hr = InitializeOutputSample(pSample, &outSample);
    if (FAILED(hr)) {
        return hr;
    }
    m_bSampleSkipped = FALSE;
    hr = FollowOutputType(outSample);
    if (FAILED(hr)) {
        outSample->Release();
        return AbortPlayback(hr);
    }
    if (pSample->IsDiscontinuity() == S_OK) {
        m_nWaitForKey = kFramesToWaitForKey;
    }
    hr = TimedTransform(pSample, outSample);
    if (WaitingForKey(pSample) && hr == S_OK) {
        hr = S_FALSE;
    }
    return FinishSample(hr, outSample);
}

/// Delivers what Transform made, or tells the graph once that quality suffers. `hr` is Transform's;
/// takes over the reference to `pOutSample`.
HRESULT CVideoTransformFilter::FinishSample(HRESULT hr, IMediaSample* pOutSample) {
    if (hr == S_OK) {
        hr = m_pOutput->Deliver(pOutSample);
        pOutSample->Release();
        return hr;
    }
    // Released before the graph hears of it: a sample may hold a lock on the display.
    pOutSample->Release();
    if (hr != S_FALSE) {
        return hr;
    }
    m_bSampleSkipped = TRUE;
    NoteQualityChange();
    return S_OK;
}

/// Notes that a frame was left out; the first time since the stream began sends
/// `EC_QUALITY_CHANGE`.
void CVideoTransformFilter::NoteQualityChange() {
    if (!m_bQualityChanged) {
        m_bQualityChanged = TRUE;
        NotifyEvent(EC_QUALITY_CHANGE, 0, 0);
    }
}

HRESULT CVideoTransformFilter::TimedTransform(IMediaSample* pSample, IMediaSample* pOutSample) {
    m_tDecodeStart = timeGetTime();
    const HRESULT hr = Transform(pSample, pOutSample);
    m_tDecodeStart = timeGetTime() - m_tDecodeStart;
    constexpr DWORD kMax = std::numeric_limits<int>::max() / kUnitsPerMillisecond;
    const int spent = static_cast<int>(std::min(m_tDecodeStart, kMax)) * kUnitsPerMillisecond;
    m_itrAvgDecode =
        spent / kAverageWeight + m_itrAvgDecode / kAverageWeight * (kAverageWeight - 1);
    return hr;
}

/// Whether this frame is withheld, one frame nearer to the end of the wait.
bool CVideoTransformFilter::WaitingForKey(IMediaSample* pSample) {
    if (m_nWaitForKey > 0) {
        --m_nWaitForKey;
    }
    if (m_nWaitForKey > 0 && pSample->IsSyncPoint() == S_OK) {
        m_nWaitForKey = 0;
    }
    return m_nWaitForKey > 0;
}

BOOL CVideoTransformFilter::ShouldSkipFrame(IMediaSample* pIn) {
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    if (pIn->GetTime(&start, &stop) != S_OK) {
        return FALSE;
    }
    const int duration = FrameDuration(start, stop);
    CountFrame(pIn->IsSyncPoint() == S_OK);
    if (LateBeyondNextKey(duration)) {
        m_bSkipping = TRUE;
    }
    ++m_nFramesSinceKeyFrame;
    if (m_bSkipping) {
        m_itrLate -= duration;
        NoteQualityChange();
    }
    return m_bSkipping;
}

/// Learns the distance of key frames from one frame more. A key frame ends the skipping.
void CVideoTransformFilter::CountFrame(bool keyFrame) {
    if (keyFrame) {
        m_nKeyFramePeriod = std::max(m_nKeyFramePeriod, m_nFramesSinceKeyFrame);
        m_nFramesSinceKeyFrame = 0;
        m_bSkipping = FALSE;
    } else if (m_nKeyFramePeriod > 0) {
        m_nKeyFramePeriod = std::max(m_nKeyFramePeriod, m_nFramesSinceKeyFrame);
    }
}

/// Whether decoding is what takes the time, we are a whole frame late, and later than the next key
/// frame is away: then nothing is lost by going straight to that.
bool CVideoTransformFilter::LateBeyondNextKey(int duration) const {
    const int late = m_itrLate;
    const LONGLONG framesToKey = LONGLONG{m_nKeyFramePeriod} - m_nFramesSinceKeyFrame - 1;
    return LONGLONG{4} * m_itrAvgDecode > duration && late > duration && m_nKeyFramePeriod > 0 &&
           late / kUnitsPerMillisecond > duration / kUnitsPerMillisecond * framesToKey;
}

#include "baseclasses/vtrans.h"

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

namespace {

constexpr int kFramesToWaitForKey = 30;
constexpr int kFirstAverageDecode = 300000;  // 30 ms, before anything is measured
constexpr int kAverageWeight = 16;           // the newest value counts one part in so many
constexpr int kUnitsPerMillisecond = 10000;  // of reference time, 100 ns
constexpr int kLatestSensible = 300000000;   // 30 s

/// A duration, cut to the range of an int; 0 for a negative one.
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
        std::ignore = CVideoTransformFilter::StartStreaming();
    }
    return m_pOutput->DeliverEndFlush();
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

/// Changes to the type that the received sample carries, if any. The input pin has checked that
/// very copy.
HRESULT CVideoTransformFilter::FollowInputType() {
    CMediaType* const type = m_pInput->SampleType();
    return type ? ChangeType(*m_pInput, *type) : S_OK;
}

/// Changes to the type that downstream has attached to its buffer, if any. A type without a format
/// block describes no picture; the stream goes on with the agreed one.
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

/// Exchanges the pin's type and `type`.
HRESULT CVideoTransformFilter::ChangeType(CBasePin& pin, CMediaType& type) {
    std::ignore = StopStreaming();  // what matters is whether streaming starts again
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
    nyx::ComPtr<IMediaSample> outSample;
    hr = InitializeOutputSample(pSample, &outSample);
    if (FAILED(hr)) {
        return hr;
    }
    m_bSampleSkipped = FALSE;
    hr = FollowOutputType(outSample.Get());
    if (FAILED(hr)) {
        outSample.Reset();
        return AbortPlayback(hr);
    }
    if (pSample->IsDiscontinuity() == S_OK) {
        m_nWaitForKey = kFramesToWaitForKey;
    }
    hr = TimedTransform(pSample, outSample.Get());
    if (WaitingForKey(pSample) && hr == S_OK) {
        hr = S_FALSE;
    }
    return FinishSample(hr, std::move(outSample));
}

/// Delivers the result of Transform, or notifies the graph once that quality suffers. `hr` is
/// Transform's.
HRESULT CVideoTransformFilter::FinishSample(HRESULT hr, nyx::ComPtr<IMediaSample> pOutSample) {
    if (hr == S_OK) {
        return m_pOutput->Deliver(pOutSample.Get());
    }
    // Released before the graph is notified: a sample may hold a lock on the display.
    pOutSample.Reset();
    if (hr != S_FALSE) {
        return hr;
    }
    m_bSampleSkipped = TRUE;
    NoteQualityChange();
    return S_OK;
}

/// Sends `EC_QUALITY_CHANGE` for the first frame that is left out of the stream.
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

/// Counts this frame of the wait for a key frame. Whether to withhold it.
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

/// Updates the distance between key frames with one more frame. A key frame ends the skipping.
void CVideoTransformFilter::CountFrame(bool keyFrame) {
    if (keyFrame) {
        m_nKeyFramePeriod = std::max(m_nKeyFramePeriod, m_nFramesSinceKeyFrame);
        m_nFramesSinceKeyFrame = 0;
        m_bSkipping = FALSE;
    } else if (m_nKeyFramePeriod > 0) {
        m_nKeyFramePeriod = std::max(m_nKeyFramePeriod, m_nFramesSinceKeyFrame);
    }
}

/// Whether decoding takes a large part of the time, the stream is a whole frame late, and later
/// than the time to the next key frame: then skipping to that frame loses nothing.
bool CVideoTransformFilter::LateBeyondNextKey(int duration) const {
    const int late = m_itrLate;
    const LONGLONG framesToKey = LONGLONG{m_nKeyFramePeriod} - m_nFramesSinceKeyFrame - 1;
    return LONGLONG{4} * m_itrAvgDecode > duration && late > duration && m_nKeyFramePeriod > 0 &&
           late / kUnitsPerMillisecond > duration / kUnitsPerMillisecond * framesToKey;
}

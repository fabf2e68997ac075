#pragma once

#include "baseclasses/amfilter.h"
#include "baseclasses/transfrm_pins.h"

/// A filter with one input and one output that turns each sample into one other. A derived class
/// supplies CheckInputType, CheckTransform, DecideBufferSize, GetMediaType and Transform.
///
/// Locks: the filter lock is always taken before the receive lock. Samples and the end of the
/// stream pass under the receive lock; state changes, connections and flushes take the filter lock.
class CTransformFilter : public CBaseFilter {
  public:
    CTransformFilter(LPCTSTR pObjectName, LPUNKNOWN lpUnk, REFCLSID clsid);
    ~CTransformFilter() override;

    int GetPinCount() override { return 2; }
    /// 0 is the input, 1 the output pin; both are created on first use.
    CBasePin* GetPin(int n) override;
    HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR Id, IPin** ppPin) override;

    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;

    /// Turns the contents of `pIn` into those of `pOut`. `S_FALSE` withholds the result.
    [[nodiscard]] virtual HRESULT Transform(IMediaSample* pIn, IMediaSample* pOut) = 0;
    /// `S_OK` for an input type that can be handled.
    [[nodiscard]] virtual HRESULT CheckInputType(const CMediaType* mtIn) = 0;
    /// `S_OK` when `mtIn` can be turned into `mtOut`.
    [[nodiscard]] virtual HRESULT CheckTransform(const CMediaType* mtIn,
                                                 const CMediaType* mtOut) = 0;
    /// Sets up the output allocator.
    [[nodiscard]] virtual HRESULT DecideBufferSize(IMemAllocator* pAllocator,
                                                   ALLOCATOR_PROPERTIES* pprop) = 0;
    /// Preferred output type `iPosition`; called only while the input is connected.
    [[nodiscard]] virtual HRESULT GetMediaType(int iPosition, CMediaType* pMediaType) = 0;

    /// Called before the first and after the last sample, under the receive lock.
    [[nodiscard]] virtual HRESULT StartStreaming() { return S_OK; }
    [[nodiscard]] virtual HRESULT StopStreaming() { return S_OK; }

    /// Answers a quality message from downstream, on any thread and under no lock.
    [[nodiscard]] virtual HRESULT AlterQuality(Quality q) = 0;

    // The calls of the input pin.
    [[nodiscard]] virtual HRESULT Receive(IMediaSample* pSample) = 0;
    [[nodiscard]] virtual HRESULT EndFlush() = 0;

  protected:
    /// Gets an output buffer and sets the properties of the received `pSample` on it. A type that
    /// the renderer has attached stays. The caller releases `*ppOutSample`.
    [[nodiscard]] HRESULT InitializeOutputSample(IMediaSample* pSample, IMediaSample** ppOutSample);

    BOOL m_bSampleSkipped = FALSE;  ///< the last sample was not delivered

    CCritSec m_csFilter;
    CCritSec m_csReceive;

    friend class CTransformInputPin;
    friend class CTransformOutputPin;
    CTransformInputPin* m_pInput = nullptr;
    CTransformOutputPin* m_pOutput = nullptr;

  private:
    void MakePins();
    bool BothConnected() const;
    [[nodiscard]] HRESULT PauseConnected();

    CCritSec m_PinsLock;  ///< guards the creation of the pins; innermost
};

#pragma once

#include "baseclasses/amfilter.h"
#include "baseclasses/transfrm_pins.h"

/// A filter with one input and one output that turns each sample into one other. A derived class
/// supplies CheckInputType, CheckTransform, DecideBufferSize, GetMediaType and Transform.
///
/// Locks: the filter lock before the receive lock, never the other way round. Samples and the end
/// of the stream pass under the receive lock; state changes, connections and flushes take the
/// filter lock.
class CTransformFilter : public CBaseFilter {
  public:
    CTransformFilter(LPCTSTR pObjectName, LPUNKNOWN lpUnk, REFCLSID clsid);
    ~CTransformFilter() override;

    int GetPinCount() override { return 2; }
    /// 0 the input, 1 the output pin; both are made on first use.
    CBasePin* GetPin(int n) override;
    HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR Id, IPin** ppPin) override;

    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;

    /// Turns the contents of `pIn` into those of `pOut`. `S_FALSE` withholds the result.
    virtual HRESULT Transform(IMediaSample* pIn, IMediaSample* pOut) = 0;
    /// `S_OK` for an input type that can be handled.
    virtual HRESULT CheckInputType(const CMediaType* mtIn) = 0;
    /// `S_OK` when `mtIn` can be turned into `mtOut`.
    virtual HRESULT CheckTransform(const CMediaType* mtIn, const CMediaType* mtOut) = 0;
    /// Sets up the output allocator.
    virtual HRESULT DecideBufferSize(IMemAllocator* pAllocator, ALLOCATOR_PROPERTIES* pprop) = 0;
    /// Preferred output type `iPosition`; asked only while the input is connected.
    virtual HRESULT GetMediaType(int iPosition, CMediaType* pMediaType) = 0;

    /// Called when samples begin and cease to come; the receive lock is held.
    virtual HRESULT StartStreaming();
    virtual HRESULT StopStreaming();

    // Steps of a connection on either side, under the filter lock.
    virtual HRESULT SetMediaType(PIN_DIRECTION direction, const CMediaType* pmt);
    virtual HRESULT CheckConnect(PIN_DIRECTION dir, IPin* pPin);
    virtual HRESULT BreakConnect(PIN_DIRECTION dir);
    virtual HRESULT CompleteConnect(PIN_DIRECTION direction, IPin* pReceivePin);

    /// Answers a quality message from downstream, on any thread and under no lock.
    virtual HRESULT AlterQuality(Quality q) = 0;

    // The stream, as the input pin gets it.
    virtual HRESULT Receive(IMediaSample* pSample) = 0;
    virtual HRESULT EndOfStream();
    virtual HRESULT BeginFlush();
    virtual HRESULT EndFlush();
    virtual HRESULT NewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate);

  protected:
    /// Takes an output buffer and gives it the properties of `pSample`, which Receive has got. The
    /// renderer may have attached a new type to it; that stays.
    HRESULT InitializeOutputSample(IMediaSample* pSample, IMediaSample** ppOutSample);

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
    HRESULT PauseConnected();

    CCritSec m_PinsLock;  ///< for making the pins, innermost
};

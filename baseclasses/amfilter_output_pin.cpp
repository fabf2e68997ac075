#include "baseclasses/amfilter_output_pin.h"

#include <initializer_list>

#include "baseclasses/amfilter.h"

HRESULT WINAPI CreateMemoryAllocator(IMemAllocator** ppAllocator) {
    CheckPointer(ppAllocator, E_POINTER);
    *ppAllocator = nullptr;
    return CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER, IID_IMemAllocator,
                            reinterpret_cast<void**>(ppAllocator));
}

HRESULT CBaseOutputPin::CheckConnect(IPin* pPin) {
    const HRESULT hr = CBasePin::CheckConnect(pPin);
    if (FAILED(hr)) {
        return hr;
    }
    ReleaseInterface(m_pInputPin);
    return pPin->QueryInterface(IID_IMemInputPin, reinterpret_cast<void**>(&m_pInputPin));
}

HRESULT CBaseOutputPin::CompleteConnect(IPin*) {
    CheckPointer(m_pInputPin, VFW_E_NO_TRANSPORT);
    ReleaseInterface(m_pAllocator);
    return DecideAllocator(m_pInputPin, &m_pAllocator);
}

HRESULT CBaseOutputPin::BreakConnect() {
    const HRESULT hr = CBasePin::BreakConnect();
    ReleaseInterface(m_pInputPin);
    return hr;
}

HRESULT CBaseOutputPin::DecideAllocator(IMemInputPin* pPin, IMemAllocator** ppAlloc) {
    CheckPointer(pPin, E_POINTER);
    CheckPointer(ppAlloc, E_POINTER);
    ALLOCATOR_PROPERTIES request{};
    if (FAILED(pPin->GetAllocatorRequirements(&request))) {
        request = {};
    }
    if (request.cbAlign == 0) {
        request.cbAlign = 1;
    }
    HRESULT hr = E_FAIL;
    for (const bool peers : {true, false}) {
        *ppAlloc = nullptr;
        hr = peers ? pPin->GetAllocator(ppAlloc) : CreateMemoryAllocator(ppAlloc);
        if (SUCCEEDED(hr)) {
            hr = UseAllocator(pPin, *ppAlloc, &request);
        }
        if (SUCCEEDED(hr)) {
            return S_OK;
        }
        ReleaseInterface(*ppAlloc);
    }
    return hr;
}

/// Sizes `pAlloc` and notifies the peer that the connection uses it.
HRESULT CBaseOutputPin::UseAllocator(IMemInputPin* pPin, IMemAllocator* pAlloc,
                                     ALLOCATOR_PROPERTIES* request) {
    CheckPointer(pAlloc, VFW_E_NO_ALLOCATOR);
    const HRESULT hr = DecideBufferSize(pAlloc, request);
    return SUCCEEDED(hr) ? pPin->NotifyAllocator(pAlloc, FALSE) : hr;
}

HRESULT CBaseOutputPin::Active() {
    CheckPointer(m_pAllocator, VFW_E_NO_ALLOCATOR);
    return m_pAllocator->Commit();
}

HRESULT CBaseOutputPin::Deliver(IMediaSample* pSample) {
    CheckPointer(m_pInputPin, VFW_E_NOT_CONNECTED);
    return m_pInputPin->Receive(pSample);
}

HRESULT CBaseOutputPin::DeliverEndOfStream() {
    CheckPointer(m_Connected, VFW_E_NOT_CONNECTED);
    return m_Connected->EndOfStream();
}

HRESULT CBaseOutputPin::DeliverBeginFlush() {
    CheckPointer(m_Connected, VFW_E_NOT_CONNECTED);
    return m_Connected->BeginFlush();
}

HRESULT CBaseOutputPin::DeliverEndFlush() {
    CheckPointer(m_Connected, VFW_E_NOT_CONNECTED);
    return m_Connected->EndFlush();
}

HRESULT CBaseOutputPin::DeliverNewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop,
                                          double dRate) {
    CheckPointer(m_Connected, VFW_E_NOT_CONNECTED);
    return m_Connected->NewSegment(tStart, tStop, dRate);
}

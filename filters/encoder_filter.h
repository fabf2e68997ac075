#pragma once

/// @file
/// The encoder filter: a codec made a DirectShow video transform filter the other way round. The
/// template only binds; what it does is told in encoder_negotiation.h and encode_sample.h.

#include "baseclasses/streams.h"
#include "codecs/codec.h"
#include "filters/encode_sample.h"
#include "filters/encoder_negotiation.h"
#include "filters/nyx_util.h"

namespace nyx {

/// `Base` is CVideoTransformFilter; `Codec` a codec class that encodes, whose constructor reads its
/// settings and binds its engine. Keeps no state between samples.
template <class Base, class Codec>
class NyxEncoderImpl : public Base, public Codec, public NyxUtil {
  public:
    NyxEncoderImpl(const wchar_t* name, IUnknown* outer, REFCLSID clsid)
        : Base(name, outer, clsid) {}

    STDMETHODIMP NonDelegatingQueryInterface(REFIID iid, void** object) override {
        if (!object) {
            return E_POINTER;
        }
        *object = nullptr;
        return IsAvailable() ? Base::NonDelegatingQueryInterface(iid, object) : E_FAIL;
    }

    ~NyxEncoderImpl() override = default;

    HRESULT Transform(IMediaSample* input, IMediaSample* output) override {
        if (!input || !output) {
            return E_POINTER;
        }
        if (!this->m_pInput || !this->m_pOutput) {
            return E_UNEXPECTED;
        }
        return EncodeSample(*this, this->m_pInput->CurrentMediaType(),
                            this->m_pOutput->CurrentMediaType(), input, output);
    }

    HRESULT CheckInputType(const CMediaType* input) override {
        if (!input) {
            return E_POINTER;
        }
        return IsAvailable() ? CheckEncoderTypes(*this, *input, nullptr) : VFW_E_TYPE_NOT_ACCEPTED;
    }

    HRESULT CheckTransform(const CMediaType* input, const CMediaType* output) override {
        if (!input || !output) {
            return E_POINTER;
        }
        return IsAvailable() ? CheckEncoderTypes(*this, *input, output) : VFW_E_TYPE_NOT_ACCEPTED;
    }

    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) override {
        if (!allocator || !properties || !this->m_pInput) {
            return E_POINTER;
        }
        if (!IsAvailable() || !this->m_pInput->IsConnected()) {
            return E_UNEXPECTED;
        }
        return RequestEncoderBuffer(this->m_pInput->CurrentMediaType(), allocator, properties);
    }

    HRESULT GetMediaType(int position, CMediaType* type) override {
        if (!type || !this->m_pInput) {
            return E_POINTER;
        }
        if (!IsAvailable()) {
            return E_UNEXPECTED;
        }
        if (position < 0) {
            return E_INVALIDARG;
        }
        if (!this->m_pInput->IsConnected()) {
            return E_UNEXPECTED;
        }
        return OfferEncoderType(*this, this->m_pInput->CurrentMediaType(), position, type);
    }

  protected:
    static bool IsAvailable() { return Codec::IsEngineAvailable(kEngineForEncoding); }
};

}  // namespace nyx

#pragma once

/// @file
/// The decoder filter: a codec made a DirectShow video transform filter. The template only binds;
/// what it does is told in decoder_negotiation.h and decode_sample.h.

#include "baseclasses/streams.h"
#include "codecs/codec.h"
#include "filters/decode_sample.h"
#include "filters/decoder_negotiation.h"
#include "filters/nyx_util.h"

namespace nyx {

/// `Base` is CVideoTransformFilter, whose streaming and quality control are used unchanged; `Codec`
/// a codec class, whose constructor reads its settings and binds its engine. Keeps no state between
/// samples.
template <class Base, class Codec>
class NyxDecoderImpl : public Base, public Codec, public NyxUtil {
  public:
    NyxDecoderImpl(const wchar_t* name, IUnknown* outer, REFCLSID clsid)
        : Base(name, outer, clsid) {}

    STDMETHODIMP NonDelegatingQueryInterface(REFIID iid, void** object) override {
        if (!object) {
            return E_POINTER;
        }
        if (!IsAvailable()) {
            *object = nullptr;
            return E_FAIL;
        }
        return Base::NonDelegatingQueryInterface(iid, object);
    }

    ~NyxDecoderImpl() override = default;

    HRESULT Transform(IMediaSample* input, IMediaSample* output) override {
        if (!input || !output) {
            return E_POINTER;
        }
        if (!this->m_pInput || !this->m_pOutput) {
            return E_UNEXPECTED;
        }
        return DecodeSample(*this, this->m_pInput->CurrentMediaType(),
                            {&this->m_pOutput->CurrentMediaType(), this->m_pOutput->GetConnected()},
                            input, output);
    }

    HRESULT CheckInputType(const CMediaType* input) override {
        if (!input) {
            return E_POINTER;
        }
        return IsAvailable() ? CheckDecoderTypes(*this, *input, nullptr) : VFW_E_TYPE_NOT_ACCEPTED;
    }

    HRESULT CheckTransform(const CMediaType* input, const CMediaType* output) override {
        if (!input || !output) {
            return E_POINTER;
        }
        return IsAvailable() ? CheckDecoderTypes(*this, *input, output) : VFW_E_TYPE_NOT_ACCEPTED;
    }

    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) override {
        if (!allocator || !properties || !this->m_pInput) {
            return E_POINTER;
        }
        if (!IsAvailable() || !this->m_pInput->IsConnected()) {
            return E_UNEXPECTED;
        }
        return RequestDecoderBuffer(this->m_pOutput->CurrentMediaType(), allocator, properties);
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
        return OfferDecoderType(*this, this->m_pInput->CurrentMediaType(), position, type);
    }

  private:
    static bool IsAvailable() { return Codec::IsEngineAvailable(kEngineForDecoding); }
};

}  // namespace nyx

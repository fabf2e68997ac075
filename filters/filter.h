#pragma once

/// @file
/// Makes a codec a DirectShow video transform filter, for decoding or encoding. The template checks
/// arguments and state; the functions of a policy do the work.

#include "baseclasses/streams.h"
#include "codecs/codec.h"
#include "filters/nyx_util.h"

namespace nyx {

/// `Base` is CVideoTransformFilter, whose streaming and quality control are used unchanged; `Codec`
/// a codec class, whose constructor reads its settings and binds its engine; `Policy` is
/// DecoderPolicy or EncoderPolicy. Keeps no state between samples: the formats of a connection are
/// read from its media types for each frame.
template <class Base, class Codec, class Policy>
class NyxFilterImpl : public Base, public Codec, public NyxUtil {
  public:
    NyxFilterImpl(const wchar_t* name, IUnknown* outer, REFCLSID clsid)
        : Base(name, outer, clsid) {}

    STDMETHODIMP NonDelegatingQueryInterface(REFIID iid, void** object) override {
        if (!object) {
            return E_POINTER;
        }
        *object = nullptr;
        return IsAvailable() ? Base::NonDelegatingQueryInterface(iid, object) : E_FAIL;
    }

    ~NyxFilterImpl() override = default;

    [[nodiscard]] HRESULT Transform(IMediaSample* input, IMediaSample* output) override {
        if (!input || !output) {
            return E_POINTER;
        }
        if (!this->m_pInput || !this->m_pOutput) {
            return E_UNEXPECTED;
        }
        // The base class still counts this frame among those that wait for a key frame.
        const bool waitingForKeyFrame = this->m_nWaitForKey > 1 && input->IsSyncPoint() != S_OK;
        return Policy::Transform(static_cast<Codec&>(*this), *this->m_pInput, *this->m_pOutput,
                                 input, output, waitingForKeyFrame);
    }

    [[nodiscard]] HRESULT CheckInputType(const CMediaType* input) override {
        if (!input) {
            return E_POINTER;
        }
        return IsAvailable() ? Policy::CheckTypes(*this, *input, nullptr) : VFW_E_TYPE_NOT_ACCEPTED;
    }

    [[nodiscard]] HRESULT CheckTransform(const CMediaType* input,
                                         const CMediaType* output) override {
        if (!input || !output) {
            return E_POINTER;
        }
        return IsAvailable() ? Policy::CheckTypes(*this, *input, output) : VFW_E_TYPE_NOT_ACCEPTED;
    }

    [[nodiscard]] HRESULT DecideBufferSize(IMemAllocator* allocator,
                                           ALLOCATOR_PROPERTIES* properties) override {
        if (!allocator || !properties || !this->m_pInput) {
            return E_POINTER;
        }
        if (!IsAvailable() || !this->m_pInput->IsConnected()) {
            return E_UNEXPECTED;
        }
        return Policy::RequestBuffer(*this->m_pInput, *this->m_pOutput, allocator, properties);
    }

    [[nodiscard]] HRESULT GetMediaType(int position, CMediaType* type) override {
        if (!type || !this->m_pInput) {
            return E_POINTER;
        }
        if (!IsAvailable()) {
            return E_UNEXPECTED;
        }
        if (position < 0) {
            return E_INVALIDARG;
        }
        CMediaType input;  // a copy, since the streaming thread may replace the pin's own
        const HRESULT result = this->m_pInput->ConnectionMediaType(&input);
        if (FAILED(result)) {
            return result == VFW_E_NOT_CONNECTED ? E_UNEXPECTED : result;
        }
        return Policy::OfferType(*this, input, position, type);
    }

  protected:
    static bool IsAvailable() { return Codec::IsEngineAvailable(Policy::kMode); }
};

}  // namespace nyx

#pragma once

#include "codecs/zeta_codec.h"
#include "filters/encode_parameter.h"
#include "filters/encoder_filter.h"

namespace nyx {

/// The Zeta encoder filter: adds its parameter interface and its property page to the template.
class CZetaEncoder : public NyxEncoderImpl<CVideoTransformFilter, CZetaCodec>,
                     public ISpecifyPropertyPages,
                     public IEncodeParmeter_QZTA {
  public:
    using NyxFilterImpl::NyxFilterImpl;
    ~CZetaEncoder() override = default;

    DECLARE_IUNKNOWN

    STDMETHODIMP NonDelegatingQueryInterface(REFIID iid, void** object) override;

    STDMETHODIMP GetPages(CAUUID* pages) override;

    STDMETHODIMP GetParameter(EncodeParameterBlock* block, BOOL fromRegistry) override;
    STDMETHODIMP SetParameter(const EncodeParameterBlock* block, BOOL save) override;
};

}  // namespace nyx

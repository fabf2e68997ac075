#include "filters/offered_type.h"

namespace nyx {
namespace {

/// The fields that both forms share by name, the rest zero.
template <class Block>
Block* NewBlock(const OfferedType& offer, const GUID& formatType, CMediaType* type) {
    auto* block = reinterpret_cast<Block*>(type->AllocFormatBuffer(sizeof(Block)));
    if (!block) {
        return nullptr;
    }
    type->SetFormatType(&formatType);
    *block = {};
    block->rcSource = {0, 0, offer.header.biWidth, offer.header.biHeight};
    block->rcTarget = block->rcSource;
    block->dwBitRate = offer.bitRate;
    block->AvgTimePerFrame = offer.averageFrameDuration;
    block->bmiHeader = offer.header;
    return block;
}

HRESULT FillVideoInfo2(const OfferedType& offer, CMediaType* type) {
    auto* block = NewBlock<VIDEOINFOHEADER2>(offer, FORMAT_VideoInfo2, type);
    if (!block) {
        return E_OUTOFMEMORY;
    }
    WriteFrameParameters(offer.fieldOrder, offer.aspect, block);
    return S_OK;
}

HRESULT FillVideoInfo(const OfferedType& offer, CMediaType* type) {
    return NewBlock<VIDEOINFOHEADER>(offer, FORMAT_VideoInfo, type) ? S_OK : E_OUTOFMEMORY;
}

}  // namespace

HRESULT FillOfferedType(const OfferedType& offer, BlockForm form, CMediaType* type) {
    FreeMediaType(*type);
    type->InitMediaType();
    type->SetType(&MEDIATYPE_Video);
    type->SetSubtype(&offer.subtype);
    type->SetTemporalCompression(FALSE);
    if (offer.fixedSizeSamples) {
        type->SetSampleSize(offer.header.biSizeImage);
        type->bFixedSizeSamples = TRUE;  // for sizes that 32 bits cut to 0 too
    } else {
        type->SetVariableSize();
    }
    return form == BlockForm::kVideoInfo2 ? FillVideoInfo2(offer, type)
                                          : FillVideoInfo(offer, type);
}

}  // namespace nyx

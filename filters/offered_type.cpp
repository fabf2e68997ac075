#include "filters/offered_type.h"

#include "filters/buffer_request.h"

namespace nyx {
namespace {

/// A block with the fields that both forms have, the rest zero; null without memory.
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

BITMAPINFOHEADER PictureHeader(LONG width, LONG height, WORD bitCount, DWORD compression) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = bitCount;
    header.biCompression = compression;
    header.biSizeImage = static_cast<DWORD>(SignedPictureSize(bitCount, height, width));
    return header;
}

HRESULT FillOfferedType(const OfferedType& offer, BlockForm form, CMediaType* type) {
    FreeMediaType(*type);
    type->InitMediaType();
    type->SetType(&MEDIATYPE_Video);
    type->SetSubtype(&offer.subtype);
    type->SetTemporalCompression(FALSE);
    if (offer.fixedSizeSamples) {
        type->SetSampleSize(offer.header.biSizeImage);
        type->bFixedSizeSamples = TRUE;  // also for a size that 32 bits cut to 0
    } else {
        type->SetVariableSize();
    }
    return form == BlockForm::kVideoInfo2 ? FillVideoInfo2(offer, type)
                                          : FillVideoInfo(offer, type);
}

}  // namespace nyx

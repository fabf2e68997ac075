#include "source/media_types.h"

#include "baseclasses/platform.h"
#include "platform/fourcc.h"
#include "source/sample_clock.h"

#include <mmreg.h>

namespace nyx::source {
namespace {

DWORD InterlaceFlags(AVFieldOrder fields) {
    constexpr DWORD kInterlaced = AMINTERLACE_IsInterlaced | AMINTERLACE_FieldPatBothRegular |
                                  AMINTERLACE_DisplayModeBobOrWeave;
    switch (fields) {
        case AV_FIELD_TT:
        case AV_FIELD_BT:
            return kInterlaced | AMINTERLACE_Field1First;
        case AV_FIELD_BB:
        case AV_FIELD_TB:
            return kInterlaced;
        default:
            return 0;
    }
}

/// Fills in the fields that both kinds of video block have.
template <class Block>
HRESULT FillVideoBlock(const VideoFormat& format, const GUID& formatType, CMediaType* type,
                       Block** filled) {
    auto* block = reinterpret_cast<Block*>(type->AllocFormatBuffer(sizeof(Block)));
    if (!block) {
        return E_OUTOFMEMORY;
    }
    type->SetFormatType(&formatType);
    block->rcSource = {.left = 0, .top = 0, .right = format.width, .bottom = format.height};
    block->rcTarget = block->rcSource;
    block->dwBitRate = format.bitRate;
    block->AvgTimePerFrame = TimeOfTick(1, av_inv_q(format.rate));
    BITMAPINFOHEADER& header = block->bmiHeader;
    header.biSize = sizeof(header);
    header.biWidth = format.width;
    header.biHeight = format.height;
    header.biPlanes = 1;
    header.biBitCount = format.bitCount;
    header.biCompression = format.fourcc;
    header.biSizeImage = format.largestPacket;
    *filled = block;
    return S_OK;
}

HRESULT FillVideo(const VideoFormat& format, bool second, CMediaType* type) {
    const GUID subtype = FourCCSubtype(format.fourcc);
    type->SetType(&MEDIATYPE_Video);
    type->SetSubtype(&subtype);
    type->SetVariableSize();
    if (second) {
        VIDEOINFOHEADER* block = nullptr;
        return FillVideoBlock(format, FORMAT_VideoInfo, type, &block);
    }
    VIDEOINFOHEADER2* block = nullptr;
    const HRESULT result = FillVideoBlock(format, FORMAT_VideoInfo2, type, &block);
    if (SUCCEEDED(result)) {
        block->dwInterlaceFlags = InterlaceFlags(format.fields);
        block->dwPictAspectRatioX = static_cast<DWORD>(format.aspect.num);
        block->dwPictAspectRatioY = static_cast<DWORD>(format.aspect.den);
    }
    return result;
}

HRESULT FillAudio(const AudioFormat& format, CMediaType* type) {
    const int bits = format.pcm.deliveredBytes * 8;
    // A plain block cannot describe more than two channels, or integers of more than 16 bits.
    const bool real = format.pcm.kind == PcmKind::kFloat;
    const bool extensible = format.channels > 2 || (bits > 16 && !real);
    const GUID& subtype = real ? MEDIASUBTYPE_IEEE_FLOAT : MEDIASUBTYPE_PCM;
    auto* block = reinterpret_cast<WAVEFORMATEXTENSIBLE*>(
        type->AllocFormatBuffer(extensible ? sizeof(WAVEFORMATEXTENSIBLE) : sizeof(WAVEFORMATEX)));
    if (!block) {
        return E_OUTOFMEMORY;
    }
    type->SetType(&MEDIATYPE_Audio);
    type->SetSubtype(&subtype);
    type->SetFormatType(&FORMAT_WaveFormatEx);
    type->SetSampleSize(static_cast<ULONG>(format.deliveredFrame()));
    WAVEFORMATEX& wave = block->Format;
    wave.wFormatTag = real ? WAVE_FORMAT_IEEE_FLOAT : WAVE_FORMAT_PCM;
    wave.nChannels = static_cast<WORD>(format.channels);
    wave.nSamplesPerSec = static_cast<DWORD>(format.rate);
    wave.nBlockAlign = static_cast<WORD>(format.deliveredFrame());
    wave.nAvgBytesPerSec = wave.nSamplesPerSec * wave.nBlockAlign;
    wave.wBitsPerSample = static_cast<WORD>(bits);
    if (extensible) {
        wave.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
        wave.cbSize = sizeof(WAVEFORMATEXTENSIBLE) - sizeof(WAVEFORMATEX);
        block->Samples.wValidBitsPerSample = wave.wBitsPerSample;
        block->dwChannelMask = format.channelMask;
        block->SubFormat = subtype;  // the audio system uses the same GUIDs
    }
    return S_OK;
}

}  // namespace

HRESULT FillMediaType(const StreamFormat& stream, int position, CMediaType* type) {
    if (position < 0) {
        return E_INVALIDARG;
    }
    if (position >= (stream.video ? 2 : 1)) {
        return VFW_S_NO_MORE_ITEMS;
    }
    type->SetTemporalCompression(FALSE);
    return stream.video ? FillVideo(*stream.video, position == 1, type)
                        : FillAudio(stream.audio, type);
}

}  // namespace nyx::source

#include "source/media_types.h"

#include "media/video_block.h"
#include "platform/fourcc.h"
#include "source/sample_clock.h"

#include <mmreg.h>

namespace nyx::source {
namespace {

DWORD InterlaceFlags(AVFieldOrder fields) {
    const bool topFirst = fields == AV_FIELD_TT || fields == AV_FIELD_BT;
    const bool bottomFirst = fields == AV_FIELD_BB || fields == AV_FIELD_TB;
    return topFirst || bottomFirst ? TwoFieldFlags(topFirst) : 0;
}

HRESULT FillVideo(const VideoFormat& format, bool header2, CMediaType* type) {
    const VideoTypeContents contents = {
        .subtype = FourCCSubtype(format.fourcc),
        .header = PictureHeader(format.width, format.height, format.bitCount, format.fourcc,
                                format.largestPacket),
        .bitRate = format.bitRate,
        .averageFrameDuration = TimeOfTick(1, av_inv_q(format.rate)),
        .fixedSizeSamples = false,
        .interlaceFlags = InterlaceFlags(format.fields),
        .pictureAspectRatio = {static_cast<DWORD>(format.aspect.num),
                               static_cast<DWORD>(format.aspect.den)},
    };
    return SetVideoType(contents, header2, type);
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
    return stream.video ? FillVideo(*stream.video, position == 0, type)
                        : FillAudio(stream.audio, type);
}

}  // namespace nyx::source

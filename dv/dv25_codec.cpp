#include "dv/dv25_codec.h"

#include <cstddef>

#include "codecs/fault_guard.h"
#include "dv/resample.h"

namespace nyx {
namespace {

constexpr LONG kRecordedWidth = 720;

/// A picture of 720 pixels per row, top-down or bottom-up.
SurfaceFormat RecordedSurface(const ScratchImage& picture, int index, bool bottomUp) {
    SurfaceFormat surface = picture.Surface(index);
    if (bottomUp) {
        surface.data += std::ptrdiff_t{surface.stride} * (surface.height - 1);
        surface.stride = -surface.stride;
    }
    return surface;
}

/// "YUY2" is resampled by macropixels of two pixels.
ResampleUnit UnitOf(LONG bytesPerPixel) {
    return bytesPerPixel == 3 ? ResampleUnit::kThreeBytes : ResampleUnit::kFourBytes;
}
LONG UnitsOf(LONG width, LONG bytesPerPixel) {
    return bytesPerPixel == 2 ? width / 2 : width;
}

}  // namespace

CDv25Codec::CDv25Codec()
    : CDvCodecBase(kDvFormats<kQdvc>),
      wide_screen_(IsSettingOn(kQdvc, L"wide_screen")),
      dvcpro25_(IsSettingOn(kQdvc, L"dvcpro25")) {}

HRESULT CDv25Codec::ReadReferenceFrame(ByteSpan sample, std::unique_ptr<BYTE[]>* buffer,
                                       DWORD* length) {
    if (!sample.data()) {
        return E_FAIL;
    }
    return IsReferenceSample(sample) ? reference_.ReadFrame(sample, buffer, length) : S_FALSE;
}

HRESULT CDv25Codec::DecodeFrame(LONG width, LONG height, LONG flags, const void* frame,
                                BYTE* destination, LONG stride, LONG bytesPerPixel,
                                LONG outputCode) {
    if (width == kRecordedWidth) {
        return CDvCodecBase::DecodeFrame(width, height, flags, frame, destination, stride,
                                         bytesPerPixel, outputCode);
    }
    ScratchMemory memory(&kept_);
    const ScratchImage scratch(&memory, kRecordedWidth, height, bytesPerPixel);
    if (!scratch) {
        return E_OUTOFMEMORY;
    }
    // `outputCode` names the layout; the index has no effect here.
    const SurfaceFormat recorded = RecordedSurface(scratch, kIndexYuy2, stride < 0);
    const HRESULT result =
        CDvCodecBase::DecodeFrame(kRecordedWidth, height, flags, frame, recorded.data,
                                  recorded.stride, bytesPerPixel, outputCode);
    if (FAILED(result) || bytesPerPixel == 4) {
        return result;
    }
    return GuardedResult([&] {
        return StretchRows(UnitOf(bytesPerPixel),
                           {recorded.data, recorded.stride, UnitsOf(kRecordedWidth, bytesPerPixel)},
                           {destination, stride, UnitsOf(width, bytesPerPixel)}, height);
    });
}

LONG CDv25Codec::EncodeFlags(const SurfaceFormat& source) const {
    const LONG variant = dvcpro25_ ? kEngineDvcPro25 : kEngineDv25;
    const DvSignal* signal = FindDvSignalIf([&](const DvSignal& candidate) {
        return candidate.variant == variant && candidate.height == source.height;
    });
    if (!signal) {
        return 0;
    }
    const bool wide = wide_screen_ || source.width == signal->wideWidth;
    return signal->system | variant | (wide ? kEngineWide : 0);
}

HRESULT CDv25Codec::EncodePicture(LONG flags, const SurfaceFormat& source, void* frame,
                                  LONG* length) {
    if (source.width == kRecordedWidth) {
        return CallEncode(flags, source, frame, length);
    }
    const LONG bytesPerPixel = source.bytesPerPixel;
    ScratchMemory memory(&kept_);
    const ScratchImage scratch(&memory, kRecordedWidth, source.height, bytesPerPixel);
    if (!scratch) {
        return E_OUTOFMEMORY;
    }
    const SurfaceFormat recorded = RecordedSurface(scratch, source.index, source.stride < 0);
    const HRESULT result = GuardedResult([&] {
        return SqueezeRows(UnitOf(bytesPerPixel),
                           {source.data, source.stride, UnitsOf(source.width, bytesPerPixel)},
                           {recorded.data, recorded.stride, UnitsOf(kRecordedWidth, bytesPerPixel)},
                           source.height);
    });
    return FAILED(result) ? result : CallEncode(flags, recorded, frame, length);
}

}  // namespace nyx

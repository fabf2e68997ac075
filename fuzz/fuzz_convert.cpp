/// Conversions with any formats, flags, sizes, pitches and alpha planes: exactly the picture's
/// pixels are read and written, and a refused request writes nothing.

#include <algorithm>
#include <vector>

#include "convert/convert.h"
#include "convert/cpu_info.h"
#include "convert/formats.h"
#include "fuzz/byte_source.h"
#include "tests/support/conversion_reference.h"

namespace {

using nyx::fuzz::ByteSource;
using nyx::fuzz::Require;
using nyx::reference::kLayouts;

constexpr BYTE kUntouched = 0x5A;

DWORD AnyFormat(ByteSource& source) {
    const auto choice = source.ConsumeIntegralInRange<std::size_t>(0, std::size(kLayouts));
    return choice < std::size(kLayouts) ? kLayouts[choice].fourcc : source.ConsumeIntegral<DWORD>();
}

/// An image in memory that ends with its last pixel, so that the sanitizer sees the first byte too
/// far; rows may be apart, and walked from the last one up.
struct Image {
    Image(ByteSource& source, LONG bytesPerPixel, LONG width, LONG height)
        : row(std::max<LONG>(width * std::max<LONG>(bytesPerPixel, 1), 0)),
          pitch(row + source.ConsumeIntegralInRange<LONG>(0, 33)),
          bytes(static_cast<std::size_t>(std::max<LONG>(pitch * (height - 1) + row, 1)),
                kUntouched) {
        const bool bottomUp = source.ConsumeBool() && row > 0 && height > 0;
        const LONG step = bottomUp ? -pitch : pitch;
        plane = {bytes.data() + (bottomUp ? pitch * (height - 1) : 0), step, step - row};
    }

    /// Nothing between the rows was written, or with `nowhere` nothing at all.
    void RequireKept(bool nowhere) const {
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            const bool inRow = row > 0 && static_cast<LONG>(at) % pitch < row;
            Require((!nowhere && inRow) || bytes[at] == kUntouched);
        }
    }

    LONG row, pitch;
    std::vector<BYTE> bytes;
    nyx::ImagePlane plane;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource source(data, size);
    const bool toYuv = source.ConsumeBool();
    const LONG width = source.ConsumeIntegralInRange<LONG>(-2, 160);
    const LONG height = source.ConsumeIntegralInRange<LONG>(-1, 6);
    const DWORD from = AnyFormat(source);
    const DWORD to = AnyFormat(source);
    Image in(source, nyx::BytesPerPixel(from), width, height);
    Image inAlpha(source, 1, width, height);
    const Image out(source, nyx::BytesPerPixel(to), width, height);
    const Image outAlpha(source, 1, width, height);
    const auto* sourceAlpha = source.ConsumeBool() ? &inAlpha.plane : nullptr;
    const auto* destinationAlpha = source.ConsumeBool() && toYuv ? &outAlpha.plane : nullptr;
    const auto fromMode = source.ConsumeIntegralInRange<LONG>(0, 2);
    const auto toMode = source.ConsumeIntegralInRange<LONG>(0, 2);
    const auto range = source.ConsumeIntegralInRange<LONG>(-1, 2);
    const auto matrix = source.ConsumeIntegralInRange<LONG>(-1, 3);
    source.ConsumeData(in.bytes.data(), in.bytes.size());
    source.ConsumeData(inAlpha.bytes.data(), inAlpha.bytes.size());

    nyx::Conversion conversion;
    const bool alpha = sourceAlpha || destinationAlpha;
    HRESULT result = nyx::ChooseConversion({.source = from,
                                            .destination = to,
                                            .range = range,
                                            .matrix = matrix,
                                            .alphaPlane = alpha,
                                            .sourceAlphaMode = fromMode,
                                            .destinationAlphaMode = toYuv ? fromMode : toMode},
                                           &conversion);
    if (SUCCEEDED(result)) {
        result = nyx::RunConversion(nyx::GetCpuInfo(), conversion,
                                    {&in.plane, &out.plane, sourceAlpha, destinationAlpha}, width,
                                    height);
    }
    out.RequireKept(FAILED(result));
    outAlpha.RequireKept(FAILED(result) || !destinationAlpha);
    return 0;
}

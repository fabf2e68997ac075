#include "codecs/format_rules.h"

#include <algorithm>

#include "codecs/header_checks.h"

namespace nyx {
namespace {

bool AllowsFlag(AlphaFlag rule, bool alpha) {
    return rule == AlphaFlag::kAny || (rule == AlphaFlag::kMustBeSet) == alpha;
}

bool IsUncompressedSide(const FormatPair& pair, const BITMAPINFOHEADER& header, bool alpha) {
    return pair.fourcc == header.biCompression && pair.bitCount == header.biBitCount &&
           AllowsFlag(pair.alpha, alpha);
}

bool IsStream(const CodecFormats& formats, const BITMAPINFOHEADER* header) {
    return IsPlainHeader(header) && header->biCompression == formats.fourcc;
}

}  // namespace

HRESULT CheckDecodeFormats(const CodecFormats& formats, const BITMAPINFOHEADER* input,
                           const BITMAPINFOHEADER* output, bool alphaOut) {
    if (!IsStream(formats, input) || !formats.acceptsSize(input->biWidth, input->biHeight)) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    if (output && !(IsPlainHeader(output) && output->biWidth >= input->biWidth &&
                    AbsoluteHeight(*output) == input->biHeight)) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    const bool accepted =
        std::any_of(formats.decode.begin(), formats.decode.end(), [&](const FormatPair& pair) {
            return pair.streamBits == input->biBitCount &&
                   (!output || IsUncompressedSide(pair, *output, alphaOut));
        });
    return accepted ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CheckEncodeFormats(const CodecFormats& formats, const BITMAPINFOHEADER* input,
                           bool alphaInput, const BITMAPINFOHEADER* output) {
    if (!IsPlainHeader(input) || !formats.acceptsSize(input->biWidth, AbsoluteHeight(*input))) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    if (output && !(IsStream(formats, output) && output->biWidth == input->biWidth &&
                    output->biHeight == AbsoluteHeight(*input))) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    const bool accepted =
        std::any_of(formats.encode.begin(), formats.encode.end(), [&](const FormatPair& pair) {
            return IsUncompressedSide(pair, *input, alphaInput) &&
                   (!output || pair.streamBits == output->biBitCount);
        });
    return accepted ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

}  // namespace nyx

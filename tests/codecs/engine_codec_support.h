#pragma once

/// @file
/// The codecs on engines, with headers, pictures and frames for their tests.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "codecs/lossless_codec.h"
#include "codecs/mpeg_intra_codec.h"
#include "codecs/zeta2_codec.h"
#include "codecs/zeta_codec.h"
#include "platform/fourcc.h"
#include "settings/codec_settings.h"
#include "tests/support/engines.h"
#include "tests/support/frames.h"

namespace nyx::test {

constexpr DWORD kYuy2FourCC = FourCC("YUY2");

inline BITMAPINFOHEADER Yuy2Header(LONG width, LONG height) {
    return MakeHeader(kYuy2FourCC, 16, width, height);
}

inline BITMAPINFOHEADER RgbHeader(WORD bitCount, LONG width, LONG height) {
    return MakeHeader(BI_RGB, bitCount, width, height);
}

inline std::size_t PictureBytes(const BITMAPINFOHEADER& header) {
    return static_cast<std::size_t>(header.biWidth) *
           static_cast<std::size_t>(std::abs(header.biHeight)) * ((header.biBitCount + 7u) / 8);
}

/// What `codec` makes of a picture; empty when it failed.
template <typename Codec>
std::vector<BYTE> EncodePicture(Codec& codec, const BITMAPINFOHEADER& input, bool alpha,
                                const std::vector<BYTE>& picture, WORD streamBits) {
    BITMAPINFOHEADER output =
        MakeHeader(codec.GetFourCC(), streamBits, input.biWidth, std::abs(input.biHeight));
    std::vector<BYTE> frame(codec.GetMaxCompressedSize(&input, alpha));
    if (codec.Compress(&input, alpha, picture.data(), &output, frame.data(), 0, 0, 0) != S_OK) {
        return {};
    }
    frame.resize(output.biSizeImage);
    return frame;
}

/// The stream's header for a frame of so many bytes.
inline BITMAPINFOHEADER FrameHeaderFor(DWORD fourcc, WORD bits, LONG width, LONG height,
                                       std::size_t bytes) {
    BITMAPINFOHEADER header = MakeHeader(fourcc, bits, width, height);
    header.biSizeImage = static_cast<DWORD>(bytes);
    return header;
}

/// `frame` behind an "INFO" chunk of `payload` bytes, at least 16.
inline std::vector<BYTE> WithInfo(const std::vector<BYTE>& frame, DWORD payload) {
    std::vector<BYTE> sample(8 + payload);
    std::memcpy(sample.data(), "INFO", 4);
    std::memcpy(sample.data() + 4, &payload, 4);
    sample.insert(sample.end(), frame.begin(), frame.end());
    return sample;
}

/// A frame of so many coded lines by the stand-in of the MPEG-2 intra engine, which must be loaded.
inline std::vector<BYTE> MpegIntraFrame(LONG width, LONG codedHeight) {
    const auto source = SmoothPicture(Yuy2Header(width, codedHeight));
    const auto encode = reinterpret_cast<standin::MpegIntraEncodeEntry>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"rkm2vi01.dll"), "standin_m2vi_encode")));
    std::vector<BYTE> frame(source.size());
    const LONG length = encode(source.data(), width * 2, width, codedHeight, 2, frame.data(),
                               static_cast<DWORD>(frame.size()));
    frame.resize(static_cast<std::size_t>(std::max(length, LONG{0})));
    return frame;
}

/// One of the codecs on engines and what it can do.
struct NamedCodec {
    const char* name;
    ICodec* codec;
    bool alpha;  ///< carries alpha
    bool encodes;
};

/// All of them. Their engines are bound here: the search for them comes first.
struct EngineCodecs {
    CZetaCodec zeta;
    CZeta2Codec zeta2;
    CLosslessCodec lossless;
    CMpegIntraCodec mpeg;
    const NamedCodec all[4] = {{"QZTA", &zeta, true, true},
                               {"QZT2", &zeta2, true, true},
                               {"QLLC", &lossless, true, true},
                               {"QMIC", &mpeg, false, false}};
};

/// Settings of the Zeta2 codec for as long as a test needs them.
class Zeta2Settings {
  public:
    Zeta2Settings(LONG colorSpace, LONG quantScale, LONG maxStreamSize, LONG preset) {
        Write(colorSpace, quantScale, maxStreamSize, preset);
    }
    ~Zeta2Settings() { Write(0, 5, 30, 2); }
    Zeta2Settings(const Zeta2Settings&) = delete;
    Zeta2Settings& operator=(const Zeta2Settings&) = delete;

  private:
    static void Write(LONG colorSpace, LONG quantScale, LONG maxStreamSize, LONG preset) {
        constexpr DWORD kCode = FourCC("QZT2");
        WriteCodecSetting(kCode, L"color_space", colorSpace);
        WriteCodecSetting(kCode, L"quant_scale", quantScale);
        WriteCodecSetting(kCode, L"max_stream_size", maxStreamSize);
        WriteCodecSetting(kCode, L"preset", preset);
    }
};

/// The words of an engine's record, or its arguments.
inline std::vector<DWORD> Words(const standin::Call& call) {
    return {call.words, call.words + call.wordCount};
}

inline DWORD Word(const void* pointer) {
    return reinterpret_cast<DWORD>(pointer);
}

/// Root of the mean squared difference of two pictures' bytes.
inline double RootMeanSquare(const std::vector<BYTE>& a, const std::vector<BYTE>& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double difference = double(a[i]) - double(b[i]);
        sum += difference * difference;
    }
    return std::sqrt(sum / static_cast<double>(a.size()));
}

}  // namespace nyx::test

// "rkzalpha.dll": frames with alpha.

#include "engines/standin/zeta_entries.h"

namespace standin {
namespace {

struct ZetaAlpha : ZetaRecords {
    static constexpr std::string_view kTag = "ZTA1";
    static constexpr Codes kCodes = {.rgb24 = 8, .rgb24Step = 2, .rgb32 = 4, .rgb32Step = 1};
    static constexpr RecordShape kDecodeShape{14, {2, 8, 9}};
    static constexpr RecordShape kEncodeShape = kDecodeShape;
    using DecodeRecord = nyx::ZetaAlphaDecodeRecord;
    using EncodeRecord = nyx::ZetaAlphaEncodeRecord;
    using Callback = void(__stdcall*)(BYTE* picture, LONG stride, DWORD, DWORD, BYTE* block,
                                      LONG width, LONG rows);
    using Fill = void(__stdcall*)(BYTE* picture, LONG stride, DWORD, DWORD, LONG width, LONG rows);

    /// The targets of a pixel-format word: a fill and a writer to decode, a reader to encode.
    struct DecodeSlot {
        Fill fill;
        Callback writer;
    };
    struct EncodeSlot {
        Callback reader;
    };

    static bool IsValid(const DecodeRecord& record) {
        return record.command == nyx::kCommandDecode && IsZero(record.reserved5, 3) &&
               IsZero(record.reserved10, 5);
    }
    static bool IsValid(const EncodeRecord& record) {
        return record.command == nyx::kCommandAlphaEncode && IsZero(record.reserved5, 3) &&
               record.reserved14 == 0 &&
               (IsAddress(record.pixelFormat) || record.bytesPerPixel != 2) &&
               IsPicture(record, nyx::kZetaEncodeConstant);
    }
    static DWORD LengthOf(const DecodeRecord&) { return ~DWORD{0}; }  // gets none

    /// The engine gets no capacity argument: callers provide 4.8 bytes per pixel, or 32 per block
    /// of 16 by 16 pixels where that is more.
    static std::size_t CapacityOf(const EncodeRecord& record) {
        const auto w = static_cast<std::size_t>(record.width);
        const auto h = static_cast<std::size_t>(record.height);
        return std::max(w * h * 48 / 10, ((w + 15) / 16) * ((h + 15) / 16) * 32);
    }
    static bool HasAlpha(const EncodeRecord&) { return true; }
    static bool Copy(Direction direction, nyx::PixelFormatCode code, const Surface& surface,
                     Picture* picture) {
        if (!IsAddress(code)) {
            return standin::Copy(direction, kCodes, code, surface, picture);
        }
        CopyBlocks(direction, surface, picture,
                   [&](BYTE* at, BYTE* block, LONG width, LONG rows, bool clear) {
                       if (direction == Direction::kLoad) {
                           reinterpret_cast<const EncodeSlot*>(code)->reader(at, surface.stride, 0,
                                                                             0, block, width, rows);
                           return;
                       }
                       const auto* slot = reinterpret_cast<const DecodeSlot*>(code);
                       if (clear) {
                           slot->fill(at, surface.stride, 0, 0, width, rows);
                       } else {
                           slot->writer(at, surface.stride, 0, 0, block, width, rows);
                       }
                   });
        return true;
    }
};

}  // namespace
}  // namespace standin

extern "C" LONG __stdcall zetaa_decode(void* words) {
    return standin::DecodeEntry<standin::ZetaAlpha>(words);
}

extern "C" LONG __stdcall zetaa_encode(void* words) {
    return standin::EncodeEntry<standin::ZetaAlpha>(words);
}

// "rkz2core.dll": 10-bit frames with or without alpha.

#include "engines/standin/zeta_entries.h"

namespace standin {
namespace {

struct Zeta2 {
    static constexpr std::string_view kTag = "QZ21";
    static constexpr bool kReportsAlpha = true;
    static constexpr Codes kCodes = {
        .yuy2 = 1, .rgb24 = 9, .rgb24Step = 2, .rgb32 = 8, .rgb32Step = 2};
    static constexpr RecordShape kDecodeShape{11, {2, 3, 4}};
    static constexpr RecordShape kEncodeShape{12, {2, 3, 4}};
    static constexpr RecordShape kPlaneShape{3, {1}};
    using DecodeRecord = nyx::Zeta2DecodeRecord;
    using EncodeRecord = nyx::Zeta2EncodeRecord;

    static bool IsProbe(const DecodeRecord& record) { return record.plane == nullptr; }
    static bool IsValid(const DecodeRecord& record) {
        return record.command == nyx::kCommandZeta2 && record.plane->reserved == 0 &&
               record.alphaKind == 0 && IsZero(record.reserved, 5);
    }
    static bool IsValid(const EncodeRecord& record) {
        // The caller's work size divides by its bytes per pixel, which the record does not hold.
        constexpr LONG kBytesPerPixel[] = {2, 3, 4, 8, 16};
        const bool workSize =
            std::any_of(std::begin(kBytesPerPixel), std::end(kBytesPerPixel), [&](LONG bytes) {
                return record.workSize == record.height * record.width / bytes / 8;
            });
        return workSize && record.command == nyx::kCommandZeta2 && record.plane->reserved == 0 &&
               (record.alpha == 0 || record.alpha == nyx::kZeta2EncodeAlpha) &&
               record.reserved == 0 && IsPicture(record, nyx::kZeta2EncodeConstant);
    }
    static DWORD LengthOf(const DecodeRecord& record) { return record.codedLength; }
    static std::size_t CapacityOf(const EncodeRecord& record) { return record.outputCapacity; }
    static bool HasAlpha(const EncodeRecord& record) { return record.alpha != 0; }

    /// The bytes per pixel depend on the number alone: odd ones above 1 are RGB 24-bit, even ones
    /// RGB 32-bit.
    static LONG BytesPerPixelOf(nyx::PixelFormatCode code) {
        if (code == kCodes.yuy2) {
            return 2;
        }
        return code % 2 != 0 ? 3 : 4;
    }
    template <class Record>
    static Surface SurfaceOf(const Record& record) {
        const nyx::PixelFormatCode code = record.pixelFormat;
        return {static_cast<BYTE*>(record.plane->data), record.plane->stride,
                BytesPerPixelOf(code)};
    }
    static bool Copy(Direction direction, nyx::PixelFormatCode code, const Surface& surface,
                     Picture* picture) {
        if (!IsAddress(code)) {
            return standin::Copy(direction, kCodes, code, surface, picture);
        }
        CopyWorkingRows(surface, reinterpret_cast<WorkingRowsCallback>(code), picture);
        return true;
    }
};

}  // namespace
}  // namespace standin

extern "C" LONG __stdcall zeta2_decode(void* words) {
    return standin::DecodeEntry<standin::Zeta2>(
        words, static_cast<nyx::Zeta2DecodeRecord*>(words)->plane, standin::Zeta2::kPlaneShape);
}

extern "C" LONG __stdcall zeta2_encode(void* words) {
    return standin::EncodeEntry<standin::Zeta2>(
        words, static_cast<nyx::Zeta2EncodeRecord*>(words)->plane, standin::Zeta2::kPlaneShape);
}

// "rkzcore.dll": opaque frames.

#include "engines/standin/zeta_entries.h"

namespace standin {
namespace {

struct ZetaCore : ZetaRecords {
    static constexpr std::string_view kTag = "ZCF1";
    static constexpr Codes kCodes = {.rgb24 = 8, .rgb24Step = 2, .rgb32 = 7, .rgb32Step = 2};
    static constexpr RecordShape kDecodeShape{13, {2, 5, 6}};
    static constexpr RecordShape kEncodeShape{14, {2, 5, 6}};
    using DecodeRecord = nyx::ZetaCoreDecodeRecord;
    using EncodeRecord = nyx::ZetaCoreEncodeRecord;
    using Callback = void(__stdcall*)(BYTE* picture, LONG stride, BYTE* block, LONG width,
                                      LONG rows);

    static bool IsValid(const DecodeRecord& record) {
        return record.command == nyx::kCommandDecode && record.coreConstant == nyx::kCoreConstant &&
               IsZero(record.reserved, 5);
    }
    static bool IsValid(const EncodeRecord& record) {
        const LONG blocks = ((record.width + 15) / 16) * ((record.height + 15) / 16);
        return record.command == nyx::kCommandCoreEncode && record.workSize == blocks * 4096 &&
               record.coreConstant == nyx::kCoreConstant && record.reserved == 0 &&
               IsPicture(record, nyx::kZetaEncodeConstant);
    }
    static DWORD LengthOf(const DecodeRecord& record) { return record.codedLength; }
    static std::size_t CapacityOf(const EncodeRecord& record) { return record.outputCapacity; }
    static bool HasAlpha(const EncodeRecord&) { return false; }
    static bool Copy(Direction direction, nyx::PixelFormatCode code, const Surface& surface,
                     Picture* picture) {
        if (!IsAddress(code)) {
            return standin::Copy(direction, kCodes, code, surface, picture);
        }
        const Callback callback = *reinterpret_cast<const Callback*>(code);
        CopyBlocks(direction, surface, picture,
                   [&](BYTE* at, BYTE* block, LONG width, LONG rows, bool) {
                       callback(at, surface.stride, block, width, rows);
                   });
        return true;
    }
};

}  // namespace
}  // namespace standin

extern "C" LONG __stdcall zcf_decode(void* words) {
    return standin::DecodeEntry<standin::ZetaCore>(words);
}

extern "C" LONG __stdcall zcf_encode(void* words) {
    return standin::EncodeEntry<standin::ZetaCore>(words);
}

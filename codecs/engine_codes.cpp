#include "codecs/engine_codes.h"

#include <cstddef>

#include "codecs/pixel_format_index.h"
#include "codecs/row_callbacks.h"
#include "codecs/working_rows.h"

namespace nyx {
namespace {

constexpr std::size_t kNumberedIndices = kIndexV210;

// index                                        0  1  2  3  4  5  6  7  8  9 10 11 12
constexpr BYTE kZetaCoreCodes[kNumberedIndices] = {0, 8, 6, 4, 2, 7, 5, 3, 1, 7, 5, 3, 1};
constexpr BYTE kZetaAlphaCodes[kNumberedIndices] = {0, 8, 6, 4, 2, 4, 3, 2, 1, 4, 3, 2, 1};
constexpr BYTE kZeta2Codes[kNumberedIndices] = {1, 9, 7, 5, 3, 8, 6, 4, 2, 8, 6, 4, 2};
constexpr BYTE kLosslessKinds[kNumberedIndices] = {0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3};

bool IsNumbered(int index) {
    return index >= 0 && index < static_cast<int>(kNumberedIndices);
}

bool HasCallbacks(int index) {
    return index >= kIndexV210 && index < kPixelFormatCount;
}

/// The Zeta engines' slots for an index above 12, filled for the next call since an engine may
/// write to them; always with the same addresses, whichever thread does it. Null for "v210" and
/// "b64a".
const RowCallbacks* CallbacksOf(int index) {
    static constinit RowCallbacks slots[kPackedLayouts] = {};
    if (!HasCallbacks(index)) {
        return nullptr;
    }
    const auto& layout = kPixelFormats[static_cast<std::size_t>(index)].packed;
    if (!layout) {
        return nullptr;
    }
    const auto place = static_cast<std::size_t>(*layout);
    slots[place] = kRowCallbacks[place];
    return &slots[place];
}

/// An address as an engine's record holds it.
template <typename Pointer>
PixelFormatCode AddressOf(Pointer pointer) {
    return reinterpret_cast<PixelFormatCode>(pointer);
}

std::size_t AlphaUseOf(bool layoutKeepsAlpha, DWORD alphaMode) {
    return layoutKeepsAlpha && alphaMode == kPremultipliedMode ? 1 : 0;
}

}  // namespace

PixelFormatCode ZetaCoreCode(int index, Direction direction) {
    if (IsNumbered(index)) {
        return kZetaCoreCodes[index];
    }
    const RowCallbacks* callbacks = CallbacksOf(index);
    if (!callbacks) {
        return 0;
    }
    return direction == Direction::kDecode ? AddressOf(&callbacks->coreDecode)
                                           : AddressOf(&callbacks->coreEncode);
}

PixelFormatCode ZetaAlphaCode(int index, Direction direction, DWORD alphaMode) {
    if (IsNumbered(index)) {
        return kZetaAlphaCodes[index];
    }
    const RowCallbacks* callbacks = CallbacksOf(index);
    if (!callbacks) {
        return 0;
    }
    const bool keepsAlpha = index < kIndex2vuy;
    const std::size_t use = AlphaUseOf(keepsAlpha, alphaMode);
    return direction == Direction::kDecode ? AddressOf(&callbacks->alphaDecode[use])
                                           : AddressOf(&callbacks->alphaEncode[use]);
}

PixelFormatCode Zeta2Code(int index, Direction direction, DWORD alphaMode) {
    if (IsNumbered(index)) {
        return kZeta2Codes[index];
    }
    if (!HasCallbacks(index)) {
        return 0;
    }
    const WorkingRowsCallbacks& callbacks =
        kWorkingRows[index - kIndexV210][AlphaUseOf(KeepsAlpha(index), alphaMode)];
    return direction == Direction::kDecode ? AddressOf(callbacks.write) : AddressOf(callbacks.read);
}

LONG NativeLosslessKind(int index) {
    return IsNumbered(index) ? kLosslessKinds[index] : -1;
}

}  // namespace nyx

#include "codecs/engine_codes.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <optional>
#include <utility>

#include "codecs/engine_guard.h"
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

/// The layout whose callbacks serve an index above 12; none for "v210" and "b64a".
std::optional<PackedLayout> CallbackLayout(int index) {
    return index >= 0 && index < kPixelFormatCount
               ? kPixelFormats[static_cast<std::size_t>(index)].packed
               : std::nullopt;
}

/// One word of a slot, as the engine reads it.
using SlotEntry = std::atomic<void*>;
static_assert(sizeof(SlotEntry) == sizeof(LONG));

template <auto Body>
void* Callback() {
    return reinterpret_cast<void*>(&EngineCallback<Body>::Call);
}

constexpr int kAlphaModes = 2;  // straight, premultiplied

int AlphaModeIndex(PackedLayout layout, DWORD alphaMode) {
    // "2vuy" has no alpha channel and so one slot for both modes.
    return layout != PackedLayout::k2vuy && alphaMode == kPremultipliedMode ? 1 : 0;
}

/// The slots of one layout.
struct LayoutSlots {
    SlotEntry coreDecode[1];
    SlotEntry coreEncode[1];
    SlotEntry alphaDecode[kAlphaModes][2];
    SlotEntry alphaEncode[kAlphaModes][1];
};

LayoutSlots slots[kPackedLayouts];

template <PackedLayout kLayout>
void FillSlots(LayoutSlots& layout) {
    layout.coreDecode[0] = Callback<&WriteCoreBlock<kLayout>>();
    layout.coreEncode[0] = Callback<&ReadCoreBlock<kLayout>>();
    layout.alphaDecode[0][0] = Callback<&FillTransparent<kLayout>>();
    layout.alphaDecode[0][1] = Callback<&WriteAlphaBlock<kLayout, AlphaUse::kStraight>>();
    layout.alphaDecode[1][0] = Callback<&FillTransparent<kLayout>>();
    layout.alphaDecode[1][1] = Callback<&WriteAlphaBlock<kLayout, AlphaUse::kPremultiplied>>();
    layout.alphaEncode[0][0] = Callback<&ReadAlphaBlock<kLayout, AlphaUse::kStraight>>();
    layout.alphaEncode[1][0] = Callback<&ReadAlphaBlock<kLayout, AlphaUse::kPremultiplied>>();
}

LayoutSlots& FilledSlots(PackedLayout layout) {
    FillSlots<PackedLayout::k2vuy>(slots[static_cast<int>(PackedLayout::k2vuy)]);
    FillSlots<PackedLayout::kV408>(slots[static_cast<int>(PackedLayout::kV408)]);
    FillSlots<PackedLayout::kR408>(slots[static_cast<int>(PackedLayout::kR408)]);
    FillSlots<PackedLayout::kR4fl>(slots[static_cast<int>(PackedLayout::kR4fl)]);
    return slots[static_cast<int>(layout)];
}

PixelFormatCode AddressOf(SlotEntry* slot) {
    return reinterpret_cast<PixelFormatCode>(slot);
}

constexpr std::size_t kCallbackIndices = kPixelFormatCount - kNumberedIndices;

/// The addresses of a direction's Zeta2 callbacks, from index 13 on.
using CallbackTable = std::array<void*, kCallbackIndices>;

template <AlphaUse kAlpha, std::size_t... kOffsets>
CallbackTable Zeta2Writers(std::index_sequence<kOffsets...>) {
    return {Callback<&WriteWorkingRows<kIndexV210 + static_cast<int>(kOffsets), kAlpha>>()...};
}

template <AlphaUse kAlpha, std::size_t... kOffsets>
CallbackTable Zeta2Readers(std::index_sequence<kOffsets...>) {
    return {Callback<&ReadWorkingRows<kIndexV210 + static_cast<int>(kOffsets), kAlpha>>()...};
}

bool IsNumbered(int index) {
    return index >= 0 && index < static_cast<int>(kNumberedIndices);
}

}  // namespace

PixelFormatCode ZetaCoreCode(int index, Direction direction) {
    if (IsNumbered(index)) {
        return kZetaCoreCodes[index];
    }
    const std::optional<PackedLayout> layout = CallbackLayout(index);
    if (!layout) {
        return 0;
    }
    LayoutSlots& filled = FilledSlots(*layout);
    return AddressOf(direction == Direction::kDecode ? filled.coreDecode : filled.coreEncode);
}

PixelFormatCode ZetaAlphaCode(int index, Direction direction, DWORD alphaMode) {
    if (IsNumbered(index)) {
        return kZetaAlphaCodes[index];
    }
    const std::optional<PackedLayout> layout = CallbackLayout(index);
    if (!layout) {
        return 0;
    }
    LayoutSlots& filled = FilledSlots(*layout);
    const int mode = AlphaModeIndex(*layout, alphaMode);
    return AddressOf(direction == Direction::kDecode ? filled.alphaDecode[mode]
                                                     : filled.alphaEncode[mode]);
}

PixelFormatCode Zeta2Code(int index, Direction direction, DWORD alphaMode) {
    if (IsNumbered(index)) {
        return kZeta2Codes[index];
    }
    if (index < 0 || index >= kPixelFormatCount) {
        return 0;
    }
    constexpr std::make_index_sequence<kCallbackIndices> kAll;
    const bool decode = direction == Direction::kDecode;
    const bool premultiplied = KeepsAlpha(index) && alphaMode == kPremultipliedMode;
    CallbackTable table;
    if (premultiplied) {
        table = decode ? Zeta2Writers<AlphaUse::kPremultiplied>(kAll)
                       : Zeta2Readers<AlphaUse::kPremultiplied>(kAll);
    } else {
        table = decode ? Zeta2Writers<AlphaUse::kStraight>(kAll)
                       : Zeta2Readers<AlphaUse::kStraight>(kAll);
    }
    const auto offset = static_cast<std::size_t>(index) - kNumberedIndices;
    return reinterpret_cast<PixelFormatCode>(table[offset]);
}

LONG NativeLosslessKind(int index) {
    return IsNumbered(index) ? kLosslessKinds[index] : -1;
}

}  // namespace nyx

#include "codecs/engine_codes.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <optional>
#include <utility>

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

/// The layout whose callbacks implement an index above 12; none for "v210" and "b64a".
std::optional<PackedLayout> CallbackLayout(int index) {
    return index >= 0 && index < kPixelFormatCount
               ? kPixelFormats[static_cast<std::size_t>(index)].packed
               : std::nullopt;
}

/// Wraps a callback in the engines' calling convention. Needs no barrier for exceptions, since the
/// callbacks neither allocate nor throw.
template <auto kBody>
struct Callback;
template <typename... Arguments, void (*kBody)(Arguments...)>
struct Callback<kBody> {
    static void __stdcall Call(Arguments... arguments) { kBody(arguments...); }
};

/// The address as an engine's record holds it.
template <typename Function>
PixelFormatCode AddressOf(Function* function) {
    return reinterpret_cast<PixelFormatCode>(function);
}

constexpr int kAlphaModes = 2;  // straight, premultiplied

int AlphaModeIndex(PackedLayout layout, DWORD alphaMode) {
    // "2vuy" has no alpha channel and so one slot for both modes.
    return layout != PackedLayout::k2vuy && alphaMode == kPremultipliedMode ? 1 : 0;
}

/// The slots of one layout, each of one or two addresses. An engine may read them while another
/// thread stores the same addresses again.
struct LayoutSlots {
    std::atomic<PixelFormatCode> coreDecode[1];
    std::atomic<PixelFormatCode> coreEncode[1];
    std::atomic<PixelFormatCode> alphaDecode[kAlphaModes][2];
    std::atomic<PixelFormatCode> alphaEncode[kAlphaModes][1];
};
static_assert(sizeof(LayoutSlots) == 8 * sizeof(void*));

LayoutSlots slots[kPackedLayouts];

template <PackedLayout kLayout>
LayoutSlots& Filled() {
    LayoutSlots& layout = slots[static_cast<int>(kLayout)];
    layout.coreDecode[0] = AddressOf(&Callback<&WriteCoreBlock<kLayout>>::Call);
    layout.coreEncode[0] = AddressOf(&Callback<&ReadCoreBlock<kLayout>>::Call);
    const PixelFormatCode fill = AddressOf(&Callback<&FillTransparent<kLayout>>::Call);
    layout.alphaDecode[0][0] = layout.alphaDecode[1][0] = fill;
    layout.alphaDecode[0][1] =
        AddressOf(&Callback<&WriteAlphaBlock<kLayout, AlphaUse::kStraight>>::Call);
    layout.alphaDecode[1][1] =
        AddressOf(&Callback<&WriteAlphaBlock<kLayout, AlphaUse::kPremultiplied>>::Call);
    layout.alphaEncode[0][0] =
        AddressOf(&Callback<&ReadAlphaBlock<kLayout, AlphaUse::kStraight>>::Call);
    layout.alphaEncode[1][0] =
        AddressOf(&Callback<&ReadAlphaBlock<kLayout, AlphaUse::kPremultiplied>>::Call);
    return layout;
}

LayoutSlots& FilledSlots(PackedLayout layout) {
    switch (layout) {
        case PackedLayout::kV408:
            return Filled<PackedLayout::kV408>();
        case PackedLayout::kR408:
            return Filled<PackedLayout::kR408>();
        case PackedLayout::kR4fl:
            return Filled<PackedLayout::kR4fl>();
        default:
            return Filled<PackedLayout::k2vuy>();
    }
}

constexpr std::size_t kCallbackIndices = kPixelFormatCount - kNumberedIndices;

/// The Zeta2 callbacks from index 13 on, straight and premultiplied. All of a direction have one
/// type, so that the compiler builds the tables.
using Zeta2Writer = decltype(&Callback<&WriteWorkingRows<kIndexV210, AlphaUse::kStraight>>::Call);
using Zeta2Reader = decltype(&Callback<&ReadWorkingRows<kIndexV210, AlphaUse::kStraight>>::Call);
template <typename Entry>
using Zeta2Callbacks = std::array<std::array<Entry, kCallbackIndices>, kAlphaModes>;

template <std::size_t... kOffsets>
constexpr Zeta2Callbacks<Zeta2Writer> Writers(std::index_sequence<kOffsets...>) {
    constexpr int kFirst = kIndexV210;
    return {{{&Callback<&WriteWorkingRows<kFirst + int{kOffsets}, AlphaUse::kStraight>>::Call...},
             {&Callback<
                 &WriteWorkingRows<kFirst + int{kOffsets}, AlphaUse::kPremultiplied>>::Call...}}};
}
template <std::size_t... kOffsets>
constexpr Zeta2Callbacks<Zeta2Reader> Readers(std::index_sequence<kOffsets...>) {
    constexpr int kFirst = kIndexV210;
    return {
        {{&Callback<&ReadWorkingRows<kFirst + int{kOffsets}, AlphaUse::kStraight>>::Call...},
         {&Callback<&ReadWorkingRows<kFirst + int{kOffsets}, AlphaUse::kPremultiplied>>::Call...}}};
}

constexpr auto kZeta2Writers = Writers(std::make_index_sequence<kCallbackIndices>());
constexpr auto kZeta2Readers = Readers(std::make_index_sequence<kCallbackIndices>());

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
    const std::size_t mode = KeepsAlpha(index) && alphaMode == kPremultipliedMode ? 1 : 0;
    const auto offset = static_cast<std::size_t>(index) - kNumberedIndices;
    return direction == Direction::kDecode ? AddressOf(kZeta2Writers[mode][offset])
                                           : AddressOf(kZeta2Readers[mode][offset]);
}

LONG NativeLosslessKind(int index) {
    return IsNumbered(index) ? kLosslessKinds[index] : -1;
}

}  // namespace nyx

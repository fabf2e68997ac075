#pragma once

#include <algorithm>

#include "platform/win_types.h"
#include "settings/encode_parameter_block.h"

namespace nyx {

/// The record that hosts, codec, property page and settings share.
using EncoderParameters = EncodeParameterBlock;
static_assert(sizeof(EncoderParameters) == 16);

constexpr LONG kCustomPreset = 4;
constexpr LONG kDefaultPreset = 2;

/// The values of one preset.
struct QualityPreset {
    LONG quant_scale;
    LONG max_stream_size;
};

/// Presets 0 to 3, finest first.
constexpr QualityPreset kQualityPresets[] = {{3, 50}, {4, 40}, {5, 30}, {19, 4}};

/// A closed range of custom values.
struct SettingRange {
    LONG low;
    LONG high;

    LONG Clamp(LONG value) const { return std::clamp(value, low, high); }
};
constexpr SettingRange kQuantScaleRange = {4, 19};
constexpr SettingRange kMaxStreamSizeRange = {4, 100};

/// The presets of one codec and its ranges of custom values.
struct QualityRules {
    const QualityPreset (&presets)[kCustomPreset];
    SettingRange quantScale;
    SettingRange maxStreamSize;
};

/// The qualities of Zeta, and of Zeta2, whose quantiser starts at 0.
constexpr QualityRules kZetaQuality = {kQualityPresets, kQuantScaleRange, kMaxStreamSizeRange};
constexpr QualityPreset kZeta2Presets[] = {{0, 50}, {4, 40}, {5, 30}, {18, 4}};
constexpr QualityRules kZeta2Quality = {kZeta2Presets, {0, 18}, kMaxStreamSizeRange};

/// Applies the preset rules: presets 0 to 3 replace quantiser and size by their pair, the custom
/// preset clamps both to their ranges, and any other preset acts as the default one.
EncoderParameters ApplyPresetRules(EncoderParameters stored,
                                   const QualityRules& rules = kZetaQuality) noexcept;

/// Reads the four values of the codec with the given FourCC and applies the preset rules.
EncoderParameters ReadEncoderParameters(DWORD fourcc,
                                        const QualityRules& rules = kZetaQuality) noexcept;

}  // namespace nyx

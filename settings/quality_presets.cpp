#include "settings/quality_presets.h"

#include "settings/codec_settings.h"

namespace nyx {

EncoderParameters ApplyPresetRules(EncoderParameters stored, const QualityRules& rules) noexcept {
    if (stored.preset == kCustomPreset) {
        stored.quant_scale = rules.quantScale.Clamp(stored.quant_scale);
        stored.max_stream_size = rules.maxStreamSize.Clamp(stored.max_stream_size);
        return stored;
    }
    if (stored.preset < 0 || stored.preset > kCustomPreset) {
        stored.preset = kDefaultPreset;
    }
    const QualityPreset& preset = rules.presets[stored.preset];
    stored.quant_scale = preset.quant_scale;
    stored.max_stream_size = preset.max_stream_size;
    return stored;
}

EncoderParameters ReadEncoderParameters(DWORD fourcc, const QualityRules& rules) noexcept {
    const QualityPreset& usual = rules.presets[kDefaultPreset];
    const EncoderParameters stored = {
        .color_space = ReadCodecSetting(fourcc, L"color_space", 0),
        .quant_scale = ReadCodecSetting(fourcc, L"quant_scale", usual.quant_scale),
        .max_stream_size = ReadCodecSetting(fourcc, L"max_stream_size", usual.max_stream_size),
        .preset = ReadCodecSetting(fourcc, L"preset", kDefaultPreset),
    };
    return ApplyPresetRules(stored, rules);
}

}  // namespace nyx

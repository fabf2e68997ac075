#include "settings/settings.h"

#include <gtest/gtest.h>

#include "platform/fourcc.h"
#include "settings/codec_settings.h"
#include "settings/quality_presets.h"

namespace nyx {
namespace {

constexpr wchar_t kKey[] = L"Software\\Veltro\\Codec\\TEST";
constexpr DWORD kTest = FourCC("TEST");

TEST(SettingPath, SplitsAtTheLastSeparatorThatNoLeadUnitSwallows) {
    const auto split = [](const wchar_t* whole, const wchar_t* name) {
        const auto [key, value] = SplitSettingPath(whole, name);
        return key + L"|" + value;
    };
    const wchar_t* cases[][3] = {{L"A", L"v", L"A|v"},
                                 {L"A\\", L"v", L"A|v"},
                                 {L"A", L"s\\", L"A\\s|"},
                                 {L"C:\\", L"v", L"C:\\|v"},
                                 {L"A\x0081\\", L"v", L"A\x0081\\|v"},
                                 {L"A\x00FC", L"v", L"|A\x00FC\\v"},
                                 {nullptr, nullptr, L"\\|"}};
    for (const auto& [key, name, expected] : cases) {
        EXPECT_EQ(split(key, name), expected);
    }
    for (wchar_t unit : std::wstring(L"\x80\x81\x9F\xA0\xDF\xE0\xFC\xFD")) {
        const bool swallows = (unit >= 0x81 && unit <= 0x9F) || (unit >= 0xE0 && unit <= 0xFC);
        const std::wstring name = {unit, L'\\', L'c'};
        EXPECT_EQ(split(L"A", name.c_str()).find(L'|'), swallows ? 1u : 3u) << int{unit};
    }
}

struct Settings : testing::Test {
    ~Settings() override { RegDeleteTreeW(HKEY_CURRENT_USER, kKey); }
};

TEST_F(Settings, FourRawBytesCountWhateverTheirType) {
    const BYTE bytes[] = {1, 2, 3, 4, 5, 6, 7, 8};
    const DWORD cases[][3] = {
        {REG_BINARY, 4, 0x04030201}, {REG_SZ, 2, 0x0201}, {REG_BINARY, 0, 42}, {REG_QWORD, 8, 42}};
    EXPECT_EQ(ReadSettingDword(HKEY_CURRENT_USER, kKey, L"v", 42), 42u) << "no key";
    for (const auto& [type, size, expected] : cases) {
        RegSetKeyValueW(HKEY_CURRENT_USER, kKey, L"v", type, bytes, size);
        EXPECT_EQ(ReadSettingDword(HKEY_CURRENT_USER, kKey, L"v", 42), expected) << size;
    }
}

TEST_F(Settings, WhatIsWrittenIsReadAsADwordUnderTheFourCC) {
    EXPECT_EQ(WriteCodecSetting(kTest, L"preset", -7), ERROR_SUCCESS);
    EXPECT_EQ(ReadCodecSetting(kTest, L"preset", 0), -7);
    EXPECT_EQ(ReadCodecSetting(kTest, L"v", -3), -3) << "no value";
    EXPECT_EQ(RegGetValueW(HKEY_CURRENT_USER, kKey, L"preset", RRF_RT_REG_DWORD, nullptr, nullptr,
                           nullptr),
              0);
    EXPECT_EQ(WriteSettingDword(HKEY_CURRENT_USER, kKey, L"sub\\v", 7), ERROR_SUCCESS);
    EXPECT_EQ(ReadSettingDword(HKEY_CURRENT_USER, kKey, L"sub\\v", 42), 7u);
    EXPECT_EQ(ReadSettingDword(nullptr, kKey, L"v", 42), 42u);
    EXPECT_EQ(WriteSettingDword(nullptr, kKey, L"v", 1), ERROR_INVALID_HANDLE);
}

TEST_F(Settings, PresetsReplaceOrClampWhatIsStored) {
    const LONG cases[][7] = {
        // rules; preset, quantiser, size as stored, and as read
        {0, 0, 9, 9, 0, 3, 50},  {0, 1, 9, 9, 1, 4, 40},     {0, 2, 9, 9, 2, 5, 30},
        {0, 3, 9, 9, 3, 19, 4},  {0, 4, 25, 0, 4, 19, 4},    {0, 4, 3, 101, 4, 4, 100},
        {0, 4, 9, 9, 4, 9, 9},   {0, 7, 9, 9, 2, 5, 30},     {0, -1, 9, 9, 2, 5, 30},
        {1, 0, 9, 9, 0, 0, 50},  {1, 1, 9, 9, 1, 4, 40},     {1, 3, 9, 9, 3, 18, 4},
        {1, 4, 19, 3, 4, 18, 4}, {1, 4, -1, 101, 4, 0, 100}, {1, 5, 9, 9, 2, 5, 30}};
    const auto read = [](LONG rules) {
        const auto p = ReadEncoderParameters(kTest, rules == 0 ? kZetaQuality : kZeta2Quality);
        return std::vector<LONG>{p.preset, p.quant_scale, p.max_stream_size, p.color_space};
    };
    EXPECT_EQ(read(0), (std::vector<LONG>{2, 5, 30, 0}));
    for (const auto& c : cases) {
        WriteCodecSetting(kTest, L"preset", c[1]);
        WriteCodecSetting(kTest, L"quant_scale", c[2]);
        WriteCodecSetting(kTest, L"max_stream_size", c[3]);
        WriteCodecSetting(kTest, L"color_space", 3);
        EXPECT_EQ(read(c[0]), (std::vector<LONG>{c[4], c[5], c[6], 3}));
    }
}

}  // namespace
}  // namespace nyx

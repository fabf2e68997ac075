#include "settings/settings.h"

#include <gtest/gtest.h>

#include "platform/fourcc.h"
#include "settings/codec_settings.h"
#include "settings/quality_presets.h"
#include "settings/setting_path.h"

namespace nyx {
namespace {

constexpr wchar_t kKey[] = L"Software\\Veltro\\Codec\\TEST";

TEST(SettingPath, SplitsAtTheLastSeparatorThatNoLeadUnitSwallows) {
    const wchar_t* cases[][4] = {
        // key path, value name; key, value
        {L"A", L"v", L"A", L"v"},
        {L"A\\", L"v", L"A", L"v"},
        {L"A", L"s\\", L"A\\s", L""},
        {L"", L"v", L"\\", L"v"},
        {L"C:", L"v", L"C:", L"v"},
        {L"C:\\", L"v", L"C:\\", L"v"},
        {L"A", L"b:v", L"A\\b:", L"v"},
        {L"A\\\\", L"v", L"A\\", L"v"},
        {L"A\x0081\\", L"v", L"A\x0081\\", L"v"},
        {L"A\x00FC", L"v", L"", L"A\x00FC\\v"},
        {nullptr, nullptr, L"\\", L""},
    };
    for (const auto& c : cases) {
        const SettingPath path = SplitSettingPath(c[0], c[1]);
        EXPECT_EQ(path.key, c[2]) << (&c - cases);
        EXPECT_EQ(path.value, c[3]) << (&c - cases);
    }
    for (wchar_t unit : std::wstring(L"\x80\x81\x9F\xA0\xDF\xE0\xFC\xFD")) {
        const bool swallows = (unit >= 0x81 && unit <= 0x9F) || (unit >= 0xE0 && unit <= 0xFC);
        const wchar_t name[] = {L'b', unit, L'\\', L'c', 0};
        EXPECT_EQ(SplitSettingPath(L"A", name).value, swallows ? name : L"c") << int{unit};
    }
}

class Settings : public testing::Test {
  protected:
    void SetUp() override { RegDeleteTreeW(HKEY_CURRENT_USER, kKey); }
    void TearDown() override { RegDeleteTreeW(HKEY_CURRENT_USER, kKey); }
};

TEST_F(Settings, FourRawBytesCountWhateverTheirType) {
    const struct {
        DWORD type, size, value;
    } cases[] = {{REG_BINARY, 4, 0x04030201}, {REG_DWORD, 4, 0x04030201}, {REG_SZ, 4, 0x04030201},
                 {REG_BINARY, 2, 0x0201},     {REG_BINARY, 0, 42},        {REG_QWORD, 8, 42}};
    const BYTE bytes[] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(ReadSettingDword(HKEY_CURRENT_USER, kKey, L"v", 42), 42u) << "no key";
    for (const auto& c : cases) {
        ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, kKey, L"v", c.type, bytes, c.size),
                  ERROR_SUCCESS);
        EXPECT_EQ(ReadSettingDword(HKEY_CURRENT_USER, kKey, L"v", 42), c.value) << c.size;
    }
    EXPECT_EQ(ReadSettingDword(HKEY_CURRENT_USER, kKey, L"w", 42), 42u) << "no value";
}

TEST_F(Settings, WhatIsWrittenIsReadAsADwordUnderTheFourCC) {
    constexpr DWORD kCode = FourCC("TEST");
    EXPECT_EQ(WriteCodecSetting(kCode, L"preset", -7), ERROR_SUCCESS);
    EXPECT_EQ(ReadCodecSetting(kCode, L"preset", 0), -7);
    DWORD value = 0, size = sizeof(value);
    EXPECT_EQ(
        RegGetValueW(HKEY_CURRENT_USER, kKey, L"preset", RRF_RT_REG_DWORD, nullptr, &value, &size),
        ERROR_SUCCESS);
    EXPECT_EQ(WriteSettingDword(HKEY_CURRENT_USER, kKey, L"sub\\v", 7), ERROR_SUCCESS);
    EXPECT_EQ(ReadSettingDword(HKEY_CURRENT_USER, kKey, L"sub\\v", 42), 7u);
    EXPECT_EQ(ReadCodecSetting(kCode, L"v", -3), -3);
}

TEST_F(Settings, RefusedKeysGiveTheDefaultOrAnError) {
    EXPECT_EQ(ReadSettingDword(nullptr, kKey, L"v", 42), 42u);
    EXPECT_EQ(WriteSettingDword(nullptr, kKey, L"v", 1), ERROR_INVALID_HANDLE);
    HKEY key = nullptr;  // a volatile key takes no lasting one below it
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kKey, 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(WriteSettingDword(key, L"below", L"v", 1), ERROR_CHILD_MUST_BE_VOLATILE);
    EXPECT_EQ(ReadSettingDword(key, L"below", L"v", 42), 42u);
    RegCloseKey(key);
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
        const EncoderParameters p =
            ReadEncoderParameters(FourCC("TEST"), rules == 0 ? kZetaQuality : kZeta2Quality);
        return std::vector<LONG>{p.preset, p.quant_scale, p.max_stream_size, p.color_space};
    };
    EXPECT_EQ(read(0), (std::vector<LONG>{2, 5, 30, 0}));
    for (const auto& c : cases) {
        WriteCodecSetting(FourCC("TEST"), L"preset", c[1]);
        WriteCodecSetting(FourCC("TEST"), L"quant_scale", c[2]);
        WriteCodecSetting(FourCC("TEST"), L"max_stream_size", c[3]);
        WriteCodecSetting(FourCC("TEST"), L"color_space", 3);
        EXPECT_EQ(read(c[0]), (std::vector<LONG>{c[4], c[5], c[6], 3})) << c[0] << c[1];
    }
}

}  // namespace
}  // namespace nyx

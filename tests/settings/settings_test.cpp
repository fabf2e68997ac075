#include "settings/settings.h"

#include <gtest/gtest.h>

#include "platform/fourcc.h"
#include "settings/codec_settings.h"

namespace nyx {
namespace {

constexpr wchar_t kKey[] = L"Software\\Veltro\\Codec\\TEST";

class Settings : public testing::Test {
  protected:
    void SetUp() override { RegDeleteTreeW(HKEY_CURRENT_USER, kKey); }
    void TearDown() override { RegDeleteTreeW(HKEY_CURRENT_USER, kKey); }

    void Store(const wchar_t* name, DWORD type, const void* data, DWORD size) {
        HKEY key = nullptr;
        ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                  &key, nullptr),
                  ERROR_SUCCESS);
        EXPECT_EQ(RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), size),
                  ERROR_SUCCESS);
        RegCloseKey(key);
    }

    DWORD Read(const wchar_t* name) { return ReadSettingDword(HKEY_CURRENT_USER, kKey, name, 42); }
};

TEST_F(Settings, WhatIsWrittenIsRead) {
    EXPECT_EQ(Read(L"value"), 42u);
    EXPECT_EQ(WriteSettingDword(HKEY_CURRENT_USER, kKey, L"value", 0xFFFFFFFF), ERROR_SUCCESS);
    EXPECT_EQ(Read(L"value"), 0xFFFFFFFFu);
    EXPECT_EQ(Read(L"other"), 42u);
    EXPECT_EQ(WriteSettingDword(HKEY_CURRENT_USER, kKey, L"sub\\value", 7), ERROR_SUCCESS);
    EXPECT_EQ(Read(L"sub\\value"), 7u);
    EXPECT_EQ(Read(L"value"), 0xFFFFFFFFu);
}

TEST_F(Settings, FourBytesCountWhateverTheirType) {
    const BYTE bytes[] = {1, 2, 3, 4, 5, 6, 7, 8};
    Store(L"binary", REG_BINARY, bytes, 4);
    Store(L"long", REG_QWORD, bytes, 8);
    Store(L"short", REG_BINARY, bytes, 2);
    Store(L"empty", REG_BINARY, bytes, 0);
    Store(L"text", REG_SZ, L"5", 4);
    EXPECT_EQ(Read(L"binary"), 0x04030201u);
    EXPECT_EQ(Read(L"long"), 42u);
    EXPECT_EQ(Read(L"short"), 0x0201u);
    EXPECT_EQ(Read(L"empty"), 42u);
    EXPECT_EQ(Read(L"text"), DWORD{L'5'});
}

TEST_F(Settings, BadPlacesGiveTheDefaultOrAnError) {
    EXPECT_EQ(ReadSettingDword(nullptr, kKey, L"value", 42), 42u);
    EXPECT_EQ(ReadSettingDword(HKEY_CURRENT_USER, nullptr, nullptr, 42), 42u);
    EXPECT_NE(WriteSettingDword(nullptr, kKey, L"value", 1), ERROR_SUCCESS);
}

TEST_F(Settings, RefusedKeysGiveTheDefaultOrAnError) {
    // A volatile key takes no lasting one below it.
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kKey, 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(WriteSettingDword(key, L"below", L"value", 1), ERROR_CHILD_MUST_BE_VOLATILE);
    EXPECT_EQ(ReadSettingDword(key, L"below", L"value", 42), 42u);
    // A key that was deleted under its holder.
    ASSERT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, kKey), ERROR_SUCCESS);
    EXPECT_NE(WriteSettingDword(key, L"below", L"value", 1), ERROR_SUCCESS);
    EXPECT_EQ(ReadSettingDword(key, L"", L"value", 42), 42u);
    RegCloseKey(key);
}

TEST_F(Settings, CodecSettingsLieUnderTheFourCC) {
    constexpr DWORD kCode = FourCC("TEST");
    EXPECT_EQ(ReadCodecSetting(kCode, L"preset", -3), -3);
    EXPECT_EQ(WriteCodecSetting(kCode, L"preset", -7), ERROR_SUCCESS);
    EXPECT_EQ(ReadCodecSetting(kCode, L"preset", 0), -7);
    EXPECT_EQ(Read(L"preset"), static_cast<DWORD>(-7));
}

}  // namespace
}  // namespace nyx

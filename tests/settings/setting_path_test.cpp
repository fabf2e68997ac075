#include "settings/setting_path.h"

#include <gtest/gtest.h>

namespace nyx {
namespace {

TEST(SettingPath, SplitsAtTheLastSeparator) {
    struct Case {
        const wchar_t* keyPath;
        const wchar_t* valueName;
        const wchar_t* key;
        const wchar_t* value;
    };
    const Case cases[] = {
        {L"Software\\A", L"preset", L"Software\\A", L"preset"},
        {L"Software\\A\\", L"preset", L"Software\\A", L"preset"},
        {L"Software\\A", L"sub\\preset", L"Software\\A\\sub", L"preset"},
        {L"Software\\A", L"sub\\", L"Software\\A\\sub", L""},
        {L"", L"preset", L"\\", L"preset"},
        {L"\\", L"preset", L"\\", L"preset"},
        {L"C:", L"preset", L"C:", L"preset"},
        {L"C:\\", L"preset", L"C:\\", L"preset"},
        {L"C:\\A", L"preset", L"C:\\A", L"preset"},
        {L"A", L"b:preset", L"A\\b:", L"preset"},
        {L"A\\\\", L"preset", L"A\\", L"preset"},
        // A lead unit takes the unit behind it along, separator or not.
        {L"A\x0081\\", L"preset", L"A\x0081\\", L"preset"},
        {L"A\x00FC", L"preset", L"", L"A\x00FC\\preset"},
        {L"A", L"b\x00E0\\c", L"A", L"b\x00E0\\c"},
        {L"A", L"b\x00DF\\c", L"A\\b\x00DF", L"c"},
        {L"A", L"b\x00FD\\c", L"A\\b\x00FD", L"c"},
        {nullptr, nullptr, L"\\", L""},
    };
    for (const Case& c : cases) {
        const SettingPath path = SplitSettingPath(c.keyPath, c.valueName);
        EXPECT_EQ(path.key, c.key) << testing::PrintToString(c.keyPath);
        EXPECT_EQ(path.value, c.value) << testing::PrintToString(c.keyPath);
    }
}

}  // namespace
}  // namespace nyx

// The installer of the package: what it installs works for programs of each word size, and
// uninstalling leaves nothing. Once per system, by its own word size.

#include <shlobj.h>

#include "tests/nyxhost/nyxhost.h"
#include "tests/support/registered.h"

namespace nyx::test {
namespace {

constexpr wchar_t kEntry[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\NyxCodecs";

std::wstring EntryText(const wchar_t* name) {
    wchar_t text[512] = {};
    DWORD bytes = sizeof(text) - sizeof(*text);
    const UniqueKey key = OpenKey(HKEY_LOCAL_MACHINE, kEntry, KEY_READ | DWORD{KEY_WOW64_32KEY});
    RegQueryValueExW(key.get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &bytes);
    return text;
}

fs::path SystemFolder(int id) {
    wchar_t path[MAX_PATH] = {};
    SHGetFolderPathW(nullptr, id, nullptr, 0, path);
    return path;
}

class Installer : public NyxHost {
  protected:
    void SetUp() override {
        SYSTEM_INFO system = {};
        GetNativeSystemInfo(&system);
        runs64_ = system.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_AMD64;
        if (runs64_ != (sizeof(void*) == 8)) {
            GTEST_SKIP() << "shown by the 64-bit suite";
        }
        if (!fs::exists(setup)) {
            GTEST_SKIP() << "no " << setup << ": run scripts/package";
        }
    }
    static std::vector<Entries> All() {
        std::vector<Entries> all = {Registered(KEY_WOW64_32KEY), Registered(KEY_WOW64_64KEY)};
        for (Entries& view : all) {  // the uninstaller takes the compressors' key if it is empty
            view.erase("[CLSID\\{33D9A760-90C8-11D0-BD43-00A0C911CE86}\\Instance]");
        }
        return all;
    }
    bool runs64_ = false;
    const fs::path setup = MaterialFile("setup.exe");
    const fs::path installed =
        SystemFolder(sizeof(void*) == 8 ? CSIDL_PROGRAM_FILESX86 : CSIDL_PROGRAM_FILES) /
        "Nyx codecs";
    const fs::path menu = SystemFolder(CSIDL_COMMON_PROGRAMS) / "Nyx codecs";
};

TEST_F(Installer, WhatItInstallsWorksAndGoesWithoutATrace) {
    // The system makes the keys of its categories with the first filter and keeps them.
    EXPECT_EQ(Register(L"nyxcodecs") + Register(L"nyxcodecs", L"/u "), 0u);
    if (runs64_) {
        EXPECT_EQ(Register(kNarrow) + Register(kNarrow, L"/u "), 0u);
    }
    const std::vector<Entries> before = All();
    const auto run = [this](const std::wstring& line) { return RunIn(folder.path, line).code; };
    const std::wstring quiet = L'"' + setup.wstring() + L"\" /S";
    EXPECT_EQ(run(quiet), 0u);
    const std::string version = checks::Narrow(EntryText(L"DisplayVersion"));
    EXPECT_FALSE(version.empty() || EntryText(L"Publisher").empty());
    EXPECT_TRUE(fs::exists(menu / "README.lnk"));
    EXPECT_TRUE(fs::exists(installed / "include" / "play_file.cpp"));
    for (const bool isFirst : {true, false}) {
        if (!isFirst && !runs64_) {
            continue;
        }
        place = isFirst ? installed : installed / "x64";
        SCOPED_TRACE(place);
        const Entries entries = Registered(isFirst ? KEY_WOW64_32KEY : KEY_WOW64_64KEY);
        EXPECT_EQ(
            std::count_if(entries.begin(), entries.end(),
                          [ending = "=" + checks::Narrow(place.wstring()) + "\\nyxcodecs.dll"](
                              const std::string& entry) { return entry.ends_with(ending); }),
            10);
        Run(0, "--version", {"nyxhost " + version});
        Run(11, "list", {"DirectShow filters, video compressors"});
        Run(0, "decode DV25-625.avi --raw real.raw");
        Run(0, "render DVCPRO50-525.mxf",
            {"filter: Nyx Footage Source", "filter: DVCPRO50 Decoder", "2 pictures"});
        Run(0, "render DV25-625.avi", {"filter: Nyx AVI Footage Splitter", "2 pictures"});
        if (isFirst == (sizeof(void*) == 4)) {  // a closed engine on the path takes precedence
            Use({Engines(L"standin")});
            Run(0, "decode DV25-625.avi --raw painted.raw");
            EXPECT_TRUE(Bytes("real.raw") != Bytes("painted.raw"));
            Use({});
        }
    }
    EXPECT_EQ(run(quiet), 0u) << "once more";

    EXPECT_EQ(run(EntryText(L"QuietUninstallString")), 0u);  // goes on in another process
    for (int tries = 0; fs::exists(installed) && tries < 6000; ++tries) {
        Sleep(100);
    }
    EXPECT_FALSE(fs::exists(installed));
    EXPECT_FALSE(fs::exists(menu));
    EXPECT_TRUE(EntryText(L"DisplayVersion").empty());
    const std::vector<Entries> after = All();
    for (std::size_t view = 0; view < after.size(); ++view) {
        EXPECT_EQ(Without(after[view], before[view]), Entries()) << "left";
        EXPECT_EQ(Without(before[view], after[view]), Entries()) << "taken";
    }
}

}  // namespace
}  // namespace nyx::test

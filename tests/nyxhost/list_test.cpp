// The registered filters, those that work, and what the others need.

#include <regex>

#include "tests/nyxhost/nyxhost.h"

namespace nyx::test {
namespace {

const std::string kBits = sizeof(void*) == 8 ? "64-bit" : "32-bit";

/// Doctor's exit code where this word size has all: the other one, where it runs, has nothing.
const DWORD kHealthy = [] {
    SYSTEM_INFO system = {};
    GetNativeSystemInfo(&system);
    return system.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_INTEL ? 0u : 4u;
}();

void SetText(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
    EXPECT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, value.c_str(),
                              static_cast<DWORD>(2 * value.size() + 2)),
              0);
}

TEST_F(NyxHost, ListsWhatIsRegisteredAndWhatItNeeds) {
    const auto narrow = [](const std::wstring& path) { return checks::Narrow(path); };
    Run(0, "--version", {", " + kBits});
    Run(4, "list",
        {"nyxcodecs.dll, " + kBits + ": not registered; run regsvr32 nyxcodecs.dll",
         "no filter of these modules is registered"});
    Run(4, "doctor",
        {kBits + " programs", "wrong: nyxcodecs.dll is not registered",
         "regsvr32 with the " + kBits + " nyxsource.dll"});
    // By the source's DLL beside the program.
    Run(4, "decode clip.avi --raw none.raw", {"no decoder is registered for \"Q210\""});
    if (sizeof(void*) == 8) {
        fs::copy_file(ModuleFile(kNarrow), folder.path / "nyxcodecs.dll");
        EXPECT_EQ(Register(folder.PathOf(L"nyxcodecs")), 0u);
        Run(4, "list",
            {"nyxcodecs.dll, " + kBits + ": not registered (only for the other word size); run"});
        fs::remove(folder.path / "nyxcodecs.dll");
        Run(4, "doctor", {"\\nyxcodecs.dll is registered and not loadable: "});
        EXPECT_EQ(Register(kNarrow) + Register(kNarrow, L"/u "), 0u);
    }
    EXPECT_EQ(Register(L"nyxcodecs"), 0u);
    const auto lacking = [this] {
        const std::regex text("engine missing or too old\n");
        return std::distance(std::sregex_iterator(said.begin(), said.end(), text), {});
    };
    const std::string works = "}, DirectShow filters\n                             works\n";
    const std::string q210 = "  Rokka Q210 Decoder         {3D1F4E99-3ADF-471E-8C1A-B7D678B4A238";
    Run(11, "list",
        {"nyxcodecs.dll, " + kBits + ": " + narrow(ModuleFile(L"nyxcodecs")),
         "nyxsource.dll, " + kBits + ": not registered", q210 + works, "rkzcore.dll (not found)",
         "rkzalpha.dll (not found)"});
    EXPECT_EQ(lacking(), 8);
    // A module that is cut short, in the user's folder, which a report does not name.
    wchar_t profile[MAX_PATH] = {};
    ASSERT_GT(GetEnvironmentVariableW(L"USERPROFILE", profile, MAX_PATH), 0u);
    const fs::path own = fs::path(profile) / "nyxsource.dll";
    fs::copy_file(ModuleFile(L"nyxsource"), own);
    EXPECT_EQ(Register(fs::path(own).replace_extension()), 0u);
    fs::resize_file(own, 4096);
    Run(4, "doctor --report report.txt",
        {"nyxsource.dll is registered and not loadable: ", " (0x8007"});
    said = Bytes("report.txt");
    Says({"nyxhost ", ", " + kBits, "processor: ", "%USERPROFILE%\\nyxsource.dll is registered",
          "registry of " + kBits + " programs", ": 0x00000002 0x00800000", "ThreadingModel = Both",
          "}\\{1D4C0B31-52E7-4F0A-8C66-9A0E5B7F3C01}"});
    EXPECT_EQ(said.find("\\" + narrow(fs::path(profile).filename().wstring()) + "\\"),
              std::string::npos);
    EXPECT_EQ(Register(L"nyxsource"), 0u);
    fs::remove(own);
    const std::wstring old = Engines(L"standin\\old"), open = Engines(L"open");
    fs::create_directory(folder.path / "damaged");
    Write("damaged/rkz2core.dll", "no library");
    Use({folder.PathOf(L"damaged"), old, open, Engines(L"standin")});
    Run(11, "doctor",
        {"rkllc.dll is too old", "rkz2core.dll is not a " + kBits + " library",
         "1.0.0.0, open, " + narrow(open)});
    Run(11, "list",
        {"Nyx Footage Source         {5F2C1E6A-8B0D-4C57-9D3E-7A41B6C9E210}, DirectShow filters",
         "rkz2core.dll (not a " + kBits + " library)",
         "rkm2vi01.dll (1.0.0.0, open, " + narrow(open) + "\\rkm2vi01.dll)",
         "rkllc.dll (1.20.65535.65535, older than 1.21, stand-in, " + narrow(old) + "\\rkllc.dll)",
         "{F891D31F-209D-4AF8-AEBC-FF2472BC14C3}, DirectShow filters, video compressors"});
    EXPECT_EQ(lacking(), 7);
    Says({"  Rokka MPEG2-Intra Decoder  {48BC3ED7-498D-4F7C-A121-EE72A9EFC483" + works,
          q210 + works});
    Use({Engines(L"standin")});
    Run(0, "list");  // all is there
    Run(kHealthy, "doctor clip.avi",
        {"source: Nyx Footage Source", "decoder: Rokka Q210 Decoder, merit 0x00800000"});
    Use({});
    Run(11, "doctor tape.mxf",
        {"rkdvh.dll is missing", "Rokka DV Decoder cannot be created", "do: provide the engine"});
}

TEST_F(RegisteredNyxHost, SetsTheRangeOfRgbPictures) {
    const auto hash = [this] {
        Run(0, "decode clip.avi --hash");
        const std::size_t last = said.rfind("\n0,");
        return said.substr(last, said.find('\n', last + 1) - last);
    };
    const std::string full = hash();
    Run(0, "settings all color_space=1");
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 8);
    EXPECT_NE(hash(), full);
    Run(0, "settings all color_space=default");
    Run(0, "settings Q210");
    EXPECT_EQ(said, "Q210  Q210         color_space=0  RGB pictures span 0 to 255\n");
    EXPECT_EQ(hash(), full);
}

TEST_F(RegisteredNyxHost, TellsWhichEntryAndWhichFilterOpensAFile) {
    Run(11, "doctor tape.avi", {"source: File Source", "Rokka DV Decoder cannot be created"});
    Use({Engines(L"standin")});
    Run(kHealthy, "doctor tape.avi",
        {"AVI splitter, merit 0x00800001, where",
         "splitter: Nyx AVI Footage Splitter, merit 0x00800001", "decoder: Rokka DV Decoder"});
    EXPECT_EQ(Register(L"nyxsource", L"/n /i:mxf,avi "), 0u);
    Run(5, "doctor tape.avi",
        {"AVI splitter, merit 0x00200000, off", "not open the file with a filter of nyxsource.dll",
         "0 = 0,4,,52494646,8,4,,41564920, Source Filter = {"});
    // Another program's entry, which the look-up finds before ours.
    const std::wstring stream = L"Media Type\\{E436EB83-524F-11CE-9F53-0020AF0BA770}\\";
    const std::wstring other = stream + L"{00000000-0000-0000-0000-000000000001}";
    SetText(other, L"0", L"0,4,00FFFFFF,00494646,8,4,,41564920");
    SetText(other, L"Source Filter", L"{E436EBB5-524F-11CE-9F53-0020AF0BA770}");
    Run(5, "doctor clip.avi",
        {"{00000000-0000-0000-0000-000000000001}: 0 = 0,4,00FFFFFF,00494646,8,4,,41564920, "
         "Source Filter = {E436EBB5-524F-11CE-9F53-0020AF0BA770}"});
    RegDeleteTreeW(HKEY_CLASSES_ROOT, other.c_str());
}

TEST_F(RegisteredNyxHost, NamesAThirdPartyDecoderThatTheSystemPrefers) {
    // Here a copy of our DLL under another name.
    fs::copy_file(ModuleFile(L"nyxcodecs"), folder.path / "other.dll");
    const std::wstring ours = L"CLSID\\{083863F1-70DE-11D0-BD40-00A0C911CE86}\\Instance\\";
    const std::wstring q210 = L"{3D1F4E99-3ADF-471E-8C1A-B7D678B4A238}";
    const std::wstring zeta2 = L"{05B95B6B-C3CD-4B91-AF3B-BBBB7DF64CD0}";
    const UniqueKey copied = OpenKey(HKEY_CLASSES_ROOT, (ours + zeta2).c_str(), KEY_ALL_ACCESS);
    EXPECT_EQ(RegCopyTreeW(HKEY_CLASSES_ROOT, (ours + q210).c_str(), copied.get()), 0);
    SetText(ours + zeta2, L"CLSID", zeta2);
    SetText(L"CLSID\\" + q210 + L"\\InprocServer32", nullptr, folder.PathOf(L"other.dll"));
    Run(0, "render clip.avi",
        {"filter: Rokka Q210 Decoder, merit 0x00800000", "in: video, Q210, 720x486, 20 bits",
         "out: video, yuy2, 720x486, 16 bits", "chosen over Rokka Q210 Decoder, merit 0x00800000",
         "3 pictures"});
    Use({Engines(L"standin")});
    Run(5, "doctor clip.avi",
        {"the decoder is of other.dll", "chosen over Rokka Q210 Decoder, merit 0x00800000"});
}

}  // namespace
}  // namespace nyx::test

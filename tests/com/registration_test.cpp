// Self-registration by the system's program replaces nothing, and unregistering takes all of it
// away; of nyxcodecs.dll what it enters, to the byte; of nyxshell.dll where files get their
// handlers; beside a 32-bit module, each in its own view.

#include <gtest/gtest.h>

#include <array>

#include "tests/support/engines.h"
#include "tests/support/programs.h"
#include "tests/support/registered.h"

namespace nyx::test {
namespace {

namespace fs = std::filesystem;

// The mapper's record: version, merit, two pins; of each pin its flags and the places of its types.
const std::string kNo = "00 00 00 00 ", kOne = "01 00 00 00 ", kTwo = "02 00 00 00 ";
const std::string kGuid = "00 00 10 00 80 00 00 aa 00 38 9b 71";
const std::string kVideo = "76 69 64 73 " + kGuid + " ";

/// A decoder's merit, and its output of any type.
std::string DecoderData(const std::string& code) {
    char digits[16];
    std::snprintf(digits, sizeof(digits), "%02x %02x %02x %02x ", code[0], code[1], code[2],
                  code[3]);
    return kTwo + "00 00 80 00 " + kTwo + kNo + "30 70 69 33 " + kNo + kOne + kOne + kNo + kNo +
           "30 74 79 33 " + kNo + "60 00 00 00 70 00 00 00 31 70 69 33 08 00 00 00 " + kOne + kOne +
           kNo + kNo + "30 74 79 33 " + kNo + "60 00 00 00 80 00 00 00 " + kVideo + digits + kGuid +
           " " + kNo + kNo + kNo + "00 00 00 00";
}

const std::string kEncoderData =
    kTwo + "00 00 20 00 " + kTwo + kNo + "30 70 69 33 " + kNo + kOne + kTwo + kNo + kNo +
    "30 74 79 33 " + kNo + "70 00 00 00 80 00 00 00 31 74 79 33 " + kNo +
    "70 00 00 00 90 00 00 00 31 70 69 33 08 00 00 00 " + kOne + kOne + kNo + kNo + "30 74 79 33 " +
    kNo + "70 00 00 00 a0 00 00 00 " + kVideo + "59 55 59 32 " + kGuid +
    " 7e eb 36 e4 4f 52 ce 11 9f 53 00 20 af 0b a7 70 51 5a 54 41 " + kGuid;

/// The classes of nyxcodecs.dll: decoders, the encoder and its page.
struct Class {
    std::string code, clsid, title;
};
const Class kClasses[] = {
    {"QDVC", "{194BF9E2-3566-43C0-AA21-EEC7278EA7D8}", "Rokka DV Decoder"},
    {"QDV5", "{B3106B88-8D62-4B34-8FDF-6CA7867BB99F}", "DVCPRO50 Decoder"},
    {"QDVH", "{43749036-6EBA-4A63-9B9B-2EDC0D073B2B}", "DVCPRO HD Decoder"},
    {"QZTA", "{F8C71073-10DB-4DFF-8EA6-CEA26400AFFB}", "Rokka Zeta Decoder"},
    {"QLLC", "{9770AADC-2F6D-4586-9059-F847E46D3833}", "Rokka Lossless Decoder"},
    {"QMIC", "{48BC3ED7-498D-4F7C-A121-EE72A9EFC483}", "Rokka MPEG2-Intra Decoder"},
    {"QZT2", "{05B95B6B-C3CD-4B91-AF3B-BBBB7DF64CD0}", "Rokka Zeta2 Decoder"},
    {"Q210", "{3D1F4E99-3ADF-471E-8C1A-B7D678B4A238}", "Rokka Q210 Decoder"},
    {"encoder", "{F891D31F-209D-4AF8-AEBC-FF2472BC14C3}", "Rokka Zeta Encoder"},
    {"page", "{55B150FB-86E8-4B96-9849-73B76D260D2A}", "Rokka Zeta Encoder Property Page"},
};

/// What nyxcodecs.dll of this path enters.
Entries Expected(const fs::path& path) {
    Entries entries;
    const auto add = [&](const std::string& key, const std::vector<std::string>& values) {
        entries.insert("[CLSID\\" + key + "]");
        for (const std::string& value : values) {
            entries.insert("[CLSID\\" + key + "] " + value);
        }
    };
    for (const auto& [code, clsid, title] : kClasses) {
        add(clsid, {"=" + title});
        add(clsid + "\\InprocServer32",
            {"=" + checks::Narrow(path.wstring()), "ThreadingModel=Both"});
        const bool isEncoder = code == "encoder";
        const std::vector<std::string> filter = {
            "CLSID=" + clsid, "FilterData=3: " + (isEncoder ? kEncoderData : DecoderData(code)),
            "FriendlyName=" + title};
        if (code != "page") {
            add("{083863F1-70DE-11D0-BD40-00A0C911CE86}\\Instance\\" + clsid, filter);
        }
        if (isEncoder) {
            add("{33D9A760-90C8-11D0-BD43-00A0C911CE86}\\Instance\\" + title, filter);
        }
    }
    return entries;
}

class Registration : public ::testing::Test {
  protected:
    const TemporaryFolder folder{L"\u03A9\u0436\u65E5"};  // it may be named in any script
    const fs::path path = LongName(folder.path);

    void TearDown() override {
        for (const auto& entry : fs::directory_iterator(path)) {
            if (entry.path().extension() == ".dll") {
                Call(L"/u " + entry.path().filename().wstring());
            }
        }
    }
    /// regsvr32's exit code.
    DWORD Call(const std::wstring& arguments) const {
        return RunIn(path, L"regsvr32 /s " + arguments).code;
    }
};

/// Files of two types are another program's: a thumbnail's handler and one of properties.
class OtherHandlers {
  public:
    /// False where a program of this system has them already, which stay as they are.
    bool Enter() {
        isMine_ = !OpenKey(HKEY_CLASSES_ROOT, L".gxf", KEY_READ) &&
                  !OpenKey(HKEY_LOCAL_MACHINE, properties_.c_str(), KEY_READ);
        const std::wstring thumbnails = L".gxf\\ShellEx\\{E357FCCD-A995-4576-B01F-234630154E96}";
        return isMine_ &&
               !RegSetKeyValueW(HKEY_CLASSES_ROOT, thumbnails.c_str(), nullptr, REG_SZ, L"o", 4) &&
               !RegSetKeyValueW(HKEY_LOCAL_MACHINE, properties_.c_str(), nullptr, REG_SZ, L"o", 4);
    }
    ~OtherHandlers() {
        if (isMine_) {
            RegDeleteTreeW(HKEY_CLASSES_ROOT, L".gxf");
            RegDeleteTreeW(HKEY_LOCAL_MACHINE, properties_.c_str());
        }
    }

  private:
    bool isMine_ = false;
    const std::wstring properties_ = kPropertyHandlers + std::wstring(L"\\.dv");
};

/// Our handlers of the other types.
Entries ExpectedHandlers() {
    const std::string ours = "] ={5F2C1E6E-8B0D-4C57-9D3E-7A41B6C9E210}";
    const std::string thumbnails = "\\ShellEx\\{E357FCCD-A995-4576-B01F-234630154E96}" + ours;
    const std::string properties = "[" + checks::Narrow(kPropertyHandlers) + "\\";
    return {"[.mxf" + thumbnails,       "[.dv" + thumbnails,        "[.dif" + thumbnails,
            properties + ".mxf" + ours, properties + ".gxf" + ours, properties + ".dif" + ours};
}

class OfModule : public Registration, public ::testing::WithParamInterface<const wchar_t*> {};

TEST_P(OfModule, ReplacesNothingAndLeavesNothing) {
    const std::wstring name = GetParam();
    fs::copy_file(ProgramFolder() + name, path / name);
    const bool isShell = name == L"nyxshell.dll";
    OtherHandlers others;
    if (isShell && !others.Enter()) {
        GTEST_SKIP() << "this system has handlers of these files";
    }
    if (!isShell) {  // The system makes the keys of its categories with the first filter.
        EXPECT_EQ(Call(name), 0u);
        EXPECT_EQ(Call(L"/u " + name), 0u);
    }
    const Entries before = Registered();
    EXPECT_EQ(Call(name), 0u);
    const Entries after = Registered();
    EXPECT_EQ(Without(before, after), Entries()) << "replaced";
    if (name == L"nyxcodecs.dll") {
        const Entries entered = Without(after, before), expected = Expected(path / name);
        EXPECT_EQ(Without(entered, expected), Entries()) << "more";
        EXPECT_EQ(Without(expected, entered), Entries()) << "missing";
    }
    if (isShell) {
        Entries handlers = Without(after, before);
        std::erase_if(handlers, [](const std::string& entry) {
            return entry.find("] ={5F2C1E6E-") == std::string::npos;
        });
        EXPECT_EQ(handlers, ExpectedHandlers());
    }
    EXPECT_EQ(Call(name), 0u);
    EXPECT_TRUE(after == Registered()) << "twice is once";
    EXPECT_EQ(Call(L"/u " + name), 0u);
    EXPECT_EQ(Without(Registered(), before), Entries()) << "left";
    EXPECT_EQ(Without(before, Registered()), Entries()) << "taken";
}
INSTANTIATE_TEST_SUITE_P(All, OfModule,
                         ::testing::Values(L"nyxcodecs.dll", L"nyxsource.dll", L"nyxshell.dll"));

TEST_F(Registration, EachWordSizeHasItsOwnView) {
    if (sizeof(void*) == 4) {
        GTEST_SKIP() << "shown by the 64-bit suite";
    }
    const std::wstring name = L"nyxcodecs.dll", narrow = L"narrow.dll";
    fs::copy_file(ProgramFolder() + name, path / name);
    fs::copy_file(ProgramFolder() + L"..\\..\\win32\\bin\\" + name, path / narrow);
    for (const std::wstring& one : {name, narrow}) {
        EXPECT_EQ(Call(one), 0u);
        EXPECT_EQ(Call(L"/u " + one), 0u);
    }
    const auto views = [] { return std::array{Registered(), Registered(KEY_WOW64_32KEY)}; };
    const auto before = views();
    const Entries entered[] = {Expected(path / name), Expected(path / narrow)};
    bool isIn[2] = {};
    for (const bool isNarrow : {false, true, false, false, true}) {
        const std::wstring call = (isIn[isNarrow] ? L"/u " : L"") + (isNarrow ? narrow : name);
        SCOPED_TRACE(checks::Narrow(call));
        EXPECT_EQ(Call(call), 0u);
        isIn[isNarrow] = !isIn[isNarrow];
        const auto now = views();
        for (const std::size_t view : {0u, 1u}) {
            EXPECT_EQ(Without(now[view], before[view]), isIn[view] ? entered[view] : Entries());
            EXPECT_EQ(Without(before[view], now[view]), Entries()) << "taken";
        }
    }
}

}  // namespace
}  // namespace nyx::test

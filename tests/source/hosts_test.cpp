// Registered, the source is what hosts that know nothing of it open files with.

#include <qedit.h>

#include <map>

#include "platform/fourcc.h"
#include "tests/source/footage_host.h"

__CRT_UUID_DECL(IMediaEvent, 0x56a868b6, 0x0ad4, 0x11ce, 0xb0, 0x3a, 0x00, 0x20, 0xaf, 0x0b, 0xa7,
                0x70)

namespace nyx::test {
namespace {

// The classes behind qedit.h, which names the interfaces only.
constexpr CLSID kNullRenderer = {
    0xc1f400a4, 0x3f08, 0x11d3, {0x9f, 0x0b, 0x00, 0x60, 0x08, 0x03, 0x9e, 0x37}};
constexpr CLSID kMediaDetector = {
    0x65bd0711, 0x24d2, 0x4ff7, {0x93, 0x24, 0xed, 0x2e, 0x5d, 0x3a, 0xba, 0xfa}};

template <class Interface>
ComPtr<Interface> Platform(const CLSID& clsid) {
    ComPtr<Interface> object;
    EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), &object),
              S_OK);
    return object;
}

/// All keys, each with its values' bytes, below one.
void Record(HKEY root, const std::wstring& path, std::map<std::wstring, std::string>* all) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return;
    }
    wchar_t name[512];
    BYTE data[4096];
    (*all)[path];
    for (DWORD i = 0, chars = 512, bytes = 4096, type = 0;
         RegEnumValueW(key, i, name, &chars, nullptr, &type, data, &bytes) == ERROR_SUCCESS;
         ++i, chars = 512, bytes = 4096) {
        (*all)[path + L"\\\\" + name] = std::string(data, data + bytes);
    }
    for (DWORD i = 0; RegEnumKeyW(key, i, name, 512) == ERROR_SUCCESS; ++i) {
        Record(root, path + L"\\" + name, all);
    }
    RegCloseKey(key);
}

std::map<std::wstring, std::string> Classes() {
    std::map<std::wstring, std::string> all;
    Record(HKEY_CLASSES_ROOT, L"Media Type", &all);
    Record(HKEY_CLASSES_ROOT, L"CLSID", &all);
    return all;
}

class Hosts : public ComTest {
  protected:
    Hosts() { EXPECT_EQ(Module().RegisterServer(), S_OK); }
    ~Hosts() override { EXPECT_EQ(Module().UnregisterServer(), S_OK); }
};

TEST(Registration, EntersWhatFilesAreKnownByAndLeavesNoTrace) {
    const auto before = Classes();
    ASSERT_EQ(Module().RegisterServer(), S_OK);
    ASSERT_EQ(Module().RegisterServer(), S_OK);
    const auto registered = Classes();
    EXPECT_GT(registered.size(), before.size());
    for (const auto& [path, value] : before) {
        EXPECT_EQ(registered.at(path), value) << "replaced";
    }
    ASSERT_EQ(Module().UnregisterServer(), S_OK);
    EXPECT_TRUE(Classes() == before);
    EXPECT_EQ(Module().UnregisterServer(), S_OK);
}

TEST_F(Hosts, RenderFilePlaysSeeksAndTellsTheLength) {
    const struct {
        const char* file;
        LONGLONG length;
    } rows[] = {{"dv50.mxf", 10010000},
                {"d10.mxf", 10000000},
                {"mpeg.gxf", 20000000},
                {"tagged.avi", 10000000}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        const auto graph = Platform<IGraphBuilder>(CLSID_FilterGraph);
        const auto picture = Platform<IBaseFilter>(kNullRenderer);
        const auto sound = Platform<IBaseFilter>(kNullRenderer);
        EXPECT_EQ(graph->AddFilter(picture.Get(), L"picture"), S_OK);
        EXPECT_EQ(graph->AddFilter(sound.Get(), L"sound"), S_OK);
        EXPECT_EQ(graph->RenderFile(Material(row.file).c_str(), nullptr), S_OK);
        As<IMediaFilter>(graph)->SetSyncSource(nullptr);
        const auto seeking = As<IMediaSeeking>(graph);
        LONGLONG length = 0, from = row.length / 2;
        EXPECT_EQ(seeking->GetDuration(&length), S_OK);
        EXPECT_EQ(length, row.length);
        for (int round = 0; round < 2; ++round) {
            long code = 0;
            EXPECT_GE(As<IMediaControl>(graph)->Run(), S_OK);
            EXPECT_EQ(As<IMediaEvent>(graph)->WaitForCompletion(100000, &code), S_OK);
            EXPECT_EQ(code, EC_COMPLETE);
            EXPECT_EQ(seeking->SetPositions(&from, AM_SEEKING_AbsolutePositioning, nullptr, 0),
                      S_OK);
            EXPECT_EQ(As<IMediaControl>(graph)->Stop(), S_OK);
        }
    }
}

TEST_F(Hosts, TheMediaControlInterfaceAndTheDetectorPlayAndDescribe) {
    const LoadedModule codecs(ProgramFolder() + L"nyxcodecs.dll");
    EXPECT_EQ(codecs.RegisterServer(), S_OK);
    // Leaves the plain renderer: the mixing ones end in the runtime where it has no 3D.
    const auto mapper = Platform<IFilterMapper2>(CLSID_FilterMapper2);
    mapper->UnregisterFilter(nullptr, nullptr, CLSID_VideoRendererDefault);
    mapper->UnregisterFilter(nullptr, nullptr, CLSID_VideoMixingRenderer9);
    const auto send = [&](const std::wstring& command) {
        wchar_t answer[128] = {};
        EXPECT_EQ(mciSendStringW(command.c_str(), answer, 128, nullptr), 0u) << command.c_str();
        return std::wstring(answer);
    };
    send(L"open \"" + Material("tagged.avi") + L"\" type mpegvideo alias clip");
    send(L"set clip time format milliseconds");
    EXPECT_EQ(send(L"status clip length"), L"1000");
    send(L"play clip from 400");
    FootageHost::WaitFor([&] { return std::stoi(send(L"status clip position")) >= 800; });
    send(L"close clip");

    const auto detector = Platform<IMediaDet>(kMediaDetector);
    const BSTR name = SysAllocString(Material("tagged.avi").c_str());
    EXPECT_EQ(detector->put_Filename(name), S_OK);
    SysFreeString(name);
    LONG streams = 0;
    double length = 0, rate = 0;
    EXPECT_EQ(detector->get_OutputStreams(&streams), S_OK);
    EXPECT_EQ(streams, 1);
    EXPECT_EQ(detector->get_StreamLength(&length), S_OK);
    EXPECT_EQ(length, 1.0);
    EXPECT_EQ(detector->get_FrameRate(&rate), S_OK);
    EXPECT_EQ(rate, 25.0);
    EXPECT_EQ(LoadedModule(L"quartz.dll").RegisterServer(), S_OK);
    EXPECT_EQ(codecs.UnregisterServer(), S_OK);
}

}  // namespace
}  // namespace nyx::test

// Once registered, the source opens files for hosts that know nothing of it.

#include <qedit.h>

#include "platform/system.h"
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

class Hosts : public ComTest {
  protected:
    Hosts() { EXPECT_EQ(Module().RegisterServer(), S_OK); }
    ~Hosts() override { EXPECT_EQ(Module().UnregisterServer(), S_OK); }
};

/// Another program's splitter, which the system tries after ours. It only counts how often.
struct NextSplitter : host::Object<IClassFactory> {
    NextSplitter() {
        const REGPINTYPES any = {&MEDIATYPE_Stream, &GUID_NULL};
        REGFILTERPINS pin{};
        pin.nMediaTypes = 1;
        pin.lpMediaType = &any;
        REGFILTER2 record{};
        record.dwVersion = 1;
        record.dwMerit = MERIT_PREFERRED;
        record.cPins = 1;
        record.rgPins = &pin;
        EXPECT_EQ(CoRegisterClassObject(IID_IClassFactory, this, CLSCTX_INPROC_SERVER,
                                        REGCLS_MULTIPLEUSE, &cookie) |
                      mapper->RegisterFilter(IID_IClassFactory, L"Next", nullptr, nullptr, nullptr,
                                             &record),
                  S_OK);
    }
    void Withdraw() const {
        EXPECT_EQ(mapper->UnregisterFilter(nullptr, nullptr, IID_IClassFactory) |
                      CoRevokeClassObject(cookie),
                  S_OK);
    }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID, void**) override {
        ++asked;
        return E_FAIL;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

    const ComPtr<IFilterMapper2> mapper = Platform<IFilterMapper2>(CLSID_FilterMapper2);
    DWORD cookie = 0;
    int asked = 0;
};

TEST_F(Hosts, RenderFilePlaysSeeksAndReportsTheLength) {
    const TemporaryFolder folder(L"tagged");
    std::vector<std::pair<std::wstring, LONGLONG>> files = {{Material("dv50.mxf"), 10010000},
                                                            {Material("d10.mxf"), 10000000},
                                                            {Material("mpeg.gxf"), 20000000}};
    for (const char* code : {"QZTA", "QZT2", "QLLC", "QMIC", "Q210", "QDVC", "QDV5", "QDVH"}) {
        std::string avi = ReadAll(Material("tagged.avi"));
        for (const std::size_t at : {108u, 184u}) {  // the stream's handler, its picture's header
            avi.replace(avi.find("Q210", at), 4, code);
        }
        files.emplace_back(folder.PathOf(std::wstring(code, code + 4) + L".avi"), 10000000);
        std::ofstream(std::filesystem::path(files.back().first), std::ios::binary) << avi;
    }
    for (const auto& [file, expected] : files) {
        SCOPED_TRACE(std::filesystem::path(file));
        const auto graph = Platform<IGraphBuilder>(CLSID_FilterGraph);
        graph->AddFilter(Platform<IBaseFilter>(kNullRenderer).Get(), nullptr);
        graph->AddFilter(Platform<IBaseFilter>(kNullRenderer).Get(), nullptr);
        EXPECT_EQ(graph->RenderFile(file.c_str(), nullptr), S_OK);
        As<IMediaFilter>(graph)->SetSyncSource(nullptr);
        const auto seeking = As<IMediaSeeking>(graph);
        LONGLONG length = 0;
        EXPECT_EQ(seeking->GetDuration(&length), S_OK);
        EXPECT_EQ(length, expected);
        for (int round = 0; round < 2; ++round) {
            long code = 0;
            EXPECT_GE(As<IMediaControl>(graph)->Run(), S_OK);
            EXPECT_EQ(As<IMediaEvent>(graph)->WaitForCompletion(200000, &code), S_OK);
            EXPECT_EQ(code, EC_COMPLETE);
            EXPECT_EQ(seeking->SetPositions(&(length /= 2), AM_SEEKING_AbsolutePositioning, nullptr,
                                            AM_SEEKING_NoPositioning),
                      S_OK);
            EXPECT_EQ(As<IMediaControl>(graph)->Stop(), S_OK);
        }
    }
}

TEST_F(Hosts, TheSystemGoesOnToTheNextSplitterWithTheFilesOfOthers) {
    const auto next = host::Make<NextSplitter>();
    for (const char* file : {"other.avi", "other.mov"}) {
        EXPECT_EQ(
            Platform<IGraphBuilder>(CLSID_FilterGraph)->RenderFile(Material(file).c_str(), nullptr),
            VFW_E_CANNOT_RENDER);
        EXPECT_GT(std::exchange(next->asked, 0), 0) << file;
    }
    next->Withdraw();
}

TEST_F(Hosts, MciPlaysAndTheMediaDetectorDescribes) {
    const LoadedModule codecs(ProgramFolder() + L"nyxcodecs.dll");
    EXPECT_EQ(codecs.RegisterServer(), S_OK);
    // Leaves the plain renderer: Wine's mixing ones crash without 3D.
    const auto mapper = Platform<IFilterMapper2>(CLSID_FilterMapper2);
    if (IsWine()) {
        mapper->UnregisterFilter(nullptr, nullptr, CLSID_VideoRendererDefault);
        mapper->UnregisterFilter(nullptr, nullptr, CLSID_VideoMixingRenderer9);
    }
    const auto send = [&](const std::wstring& command) {
        wchar_t answer[128] = {};
        EXPECT_EQ(mciSendStringW(command.c_str(), answer, 128, nullptr), 0u) << command.c_str();
        return std::wstring(answer);
    };
    send(L"open \"" + Material("tagged.avi") + L"\" type mpegvideo alias clip");
    send(L"set clip time format milliseconds");
    EXPECT_EQ(send(L"status clip length"), L"1000");
    send(L"play clip from 400");
    WaitFor([&] { return std::stoi(send(L"status clip position")) >= 800; });
    send(L"close clip");

    const auto detector = Platform<IMediaDet>(kMediaDetector);
    const BSTR name = SysAllocString(Material("tagged.avi").c_str());
    LONG streams = 0;
    double length = 0, rate = 0;
    EXPECT_EQ(detector->put_Filename(name), S_OK);
    EXPECT_EQ(detector->get_OutputStreams(&streams) | detector->get_StreamLength(&length), S_OK);
    EXPECT_EQ(detector->get_FrameRate(&rate), S_OK);
    SysFreeString(name);
    EXPECT_EQ((std::vector{double(streams), length, rate}), (std::vector{1.0, 1.0, 25.0}));
    if (IsWine()) {
        EXPECT_EQ(LoadedModule(L"quartz.dll").RegisterServer(), S_OK);
    }
    EXPECT_EQ(codecs.UnregisterServer(), S_OK);
}

}  // namespace
}  // namespace nyx::test

// Thumbnails and properties, as the shell asks for them.

#include <initguid.h>
#include <propkey.h>
#include <propsys.h>
#include <thumbcache.h>

#include <cmath>
#include <map>
#include <set>

#include "platform/fourcc.h"
#include "tests/source/footage_host.h"
#include "tests/support/leaks.h"

namespace nyx::test {
namespace {

const bool isShell = (moduleFile = L"nyxshell.dll", true);

/// This process's own memory, used yet or not.
std::size_t PrivateBytes() {
    std::size_t sum = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const BYTE* at = nullptr; VirtualQuery(at, &region, sizeof(region)) > 0;
         at += region.RegionSize) {
        sum += region.State == MEM_COMMIT && region.Type == MEM_PRIVATE ? region.RegionSize : 0;
    }
    return sum;
}

/// A stream over bytes, whose host may be slow and whose disk may fail.
struct Bytes : host::Object<IStream> {
    explicit Bytes(std::string all) : bytes(std::move(all)) {}
    STDMETHODIMP Read(void* to, ULONG count, ULONG* got) override {
        ++reads;
        memory = memory > 0 ? std::max(memory, PrivateBytes()) : 0;
        Sleep(delay);
        if (place <= bad && bad < place + count) {
            return STG_E_READFAULT;
        }
        const std::size_t left = bytes.size() - std::min<std::size_t>(bytes.size(), place);
        *got = std::min({count, static_cast<ULONG>(left), most});
        std::memcpy(to, bytes.data() + place, *got);
        place += *got;
        return *got == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Seek(LARGE_INTEGER to, DWORD, ULARGE_INTEGER*) override {
        place = static_cast<std::size_t>(to.QuadPart);
        return S_OK;
    }
    STDMETHODIMP Stat(STATSTG* status, DWORD) override {
        *status = {};
        status->cbSize.QuadPart = bytes.size();
        return S_OK;
    }
    STDMETHODIMP Write(const void*, ULONG, ULONG*) override { return STG_E_ACCESSDENIED; }
    STDMETHODIMP SetSize(ULARGE_INTEGER) override { return STG_E_ACCESSDENIED; }
    STDMETHODIMP CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Commit(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Revert() override { return E_NOTIMPL; }
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IStream**) override { return E_NOTIMPL; }

    std::string bytes;
    ULONG most = 5000;  ///< that a read returns
    std::size_t bad = SIZE_MAX;
    DWORD delay = 0;
    int reads = 0;
    std::size_t memory = 0;  ///< the most that the process had at a read; 0: not watched
    std::size_t place = 0;
};

/// A thumbnail and how it came about.
struct Shown {
    HRESULT result = E_FAIL;
    SIZE size{};
    std::string pixels{};  ///< rows from the top, 32 bits each
};

Shown Take(const ComPtr<IThumbnailProvider>& provider, UINT size) {
    Shown shown;
    HBITMAP bitmap = nullptr;
    WTS_ALPHATYPE alpha = WTSAT_UNKNOWN;
    shown.result = provider->GetThumbnail(size, &bitmap, &alpha);
    EXPECT_EQ(bitmap != nullptr, shown.result == S_OK);
    DIBSECTION section{};
    if (bitmap && GetObjectW(bitmap, sizeof(section), &section)) {
        EXPECT_TRUE(alpha == WTSAT_RGB && section.dsBm.bmBitsPixel == 32);
        shown.size = {section.dsBm.bmWidth, section.dsBm.bmHeight};
        shown.pixels.resize(std::size_t(shown.size.cx) * std::size_t(shown.size.cy) * 4);
        BITMAPINFO format{};
        format.bmiHeader = {40, shown.size.cx, -shown.size.cy, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        const HDC screen = GetDC(nullptr);
        EXPECT_EQ(GetDIBits(screen, bitmap, 0, UINT(shown.size.cy), shown.pixels.data(), &format,
                            DIB_RGB_COLORS),
                  shown.size.cy);
        ReleaseDC(nullptr, screen);
        DeleteObject(bitmap);
    }
    return shown;
}

Shown Thumbnail(const ComPtr<Bytes>& stream, UINT size = 96,
                const LoadedModule& module = Module()) {
    const auto provider = module.Create<IThumbnailProvider>(CLSID_NyxFootageHandler);
    EXPECT_EQ(As<IInitializeWithStream>(provider)->Initialize(stream.Get(), STGM_READ), S_OK);
    return Take(provider, size);
}
Shown Thumbnail(const std::string& bytes, UINT size = 96) {
    return Thumbnail(Make<Bytes>(bytes), size);
}

/// The properties, and what reading them returned.
std::pair<HRESULT, ComPtr<IPropertyStore>> Properties(const ComPtr<Bytes>& stream,
                                                      const LoadedModule& module = Module()) {
    const auto store = module.Create<IPropertyStore>(CLSID_NyxFootageHandler);
    EXPECT_EQ(As<IInitializeWithStream>(store)->Initialize(stream.Get(), STGM_READ), S_OK);
    DWORD count = 0;
    return {store->GetCount(&count), store};
}

PROPVARIANT Value(const ComPtr<IPropertyStore>& store, const PROPERTYKEY& key) {
    PROPVARIANT value{};  // text stays allocated: the test is short
    EXPECT_EQ(store->GetValue(key, &value), S_OK);
    return value;
}

/// Of the colours, in dB.
double Psnr(const std::string& a, const std::string& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size() && a.size() == b.size(); ++i) {
        const int difference = static_cast<BYTE>(a[i]) - static_cast<BYTE>(b[i]);
        sum += i % 4 < 3 ? difference * difference : 0;
    }
    return a.size() == b.size() ? 10 * std::log10(65025 / (sum / (double(a.size()) * 0.75) + 1e-9))
                                : 0;
}

class Shell : public FootageTest {
  protected:
    Shell() { SetEnvironmentVariableW(L"PATH", EngineFolder(L"..\\open").c_str()); }
    const std::string references = "Z:" + std::string(std::getenv("NYX_REFERENCES")) + "/";
};

TEST_F(Shell, ThumbnailsAreTheDecodersPicturesScaled) {
    std::ifstream list(references + "list");
    int rows = 0;
    std::string clip, size, wide, high;
    while (list >> clip >> size && std::getline(list >> std::ws, wide, 'x') && list >> high) {
        SCOPED_TRACE(clip + " at " + size);
        const bool dark = clip == "dark.mxf";
        const auto bytes = dark ? ReadAll(references + clip) : ReadAll(Material(clip));
        const Shown shown = Thumbnail(bytes, UINT(std::stoul(size)));
        EXPECT_EQ(shown.result, S_OK);
        EXPECT_TRUE(shown.size.cx == std::stol(wide) && shown.size.cy == std::stol(high));
        const double psnr = Psnr(shown.pixels, ReadAll(references + clip + "-" + size + ".bgra"));
        EXPECT_GE(psnr, 40);
        ++rows;
    }
    EXPECT_EQ(rows, 20 * 4);
}

TEST_F(Shell, PropertiesAreWhatFfprobeSays) {
    const std::map<std::string, const PROPERTYKEY*> keys = {
        {"duration", &PKEY_Media_Duration},  {"bitrate", &PKEY_Video_TotalBitrate},
        {"width", &PKEY_Video_FrameWidth},   {"height", &PKEY_Video_FrameHeight},
        {"rate", &PKEY_Video_FrameRate},     {"channels", &PKEY_Audio_ChannelCount},
        {"samples", &PKEY_Audio_SampleRate}, {"bits", &PKEY_Audio_SampleSize},
    };
    std::set<std::string> clips;
    std::ifstream list(references + "list");
    for (std::string line; std::getline(list, line);) {
        clips.insert(line.substr(0, line.find(' ')));
    }
    int rows = 0;
    for (const std::string& clip : clips) {
        const auto store = Properties(Make<Bytes>(ReadAll(Material(clip)))).second;
        std::ifstream values(references + clip + ".properties");
        std::string name;
        for (double value = 0; values >> name >> value; ++rows) {
            const bool counts64 = name == "duration";
            const PROPVARIANT found = Value(store, *keys.at(name));
            EXPECT_EQ(found.vt, counts64 ? VT_UI8 : VT_UI4) << clip << " " << name;
            const double number =  // ffprobe's bit rates are signed
                counts64 ? double(found.uhVal.QuadPart) : std::min<double>(found.ulVal, INT32_MAX);
            EXPECT_NEAR(number, value, counts64 || name == "bitrate" ? value / 50 : 0)
                << clip << name;
        }
    }
    EXPECT_GT(rows, 100);
    const struct {
        const char* clip;
        const wchar_t *coding, *comment;
        DWORD fourcc;
    } texts[] = {
        {"tc.mxf", L"DV", L"Timecode 00:00:59;20; streams: 1 video, 0 audio", FourCC("QDVC")},
        {"tc.gxf", L"DV", L"Timecode 00:00:59;20; streams: 1 video, 0 audio", FourCC("QDVC")},
        {"tc.dv", L"DV", L"Timecode 00:00:59;20; streams: 1 video, 0 audio", FourCC("QDVC")},
        {"mono.mov", L"DVCPRO50", L"streams: 1 video, 5 audio", FourCC("QDV5")}};
    for (const auto& [clip, coding, comment, fourcc] : texts) {
        const auto store = Properties(Make<Bytes>(ReadAll(Material(clip)))).second;
        EXPECT_STREQ(Value(store, PKEY_Video_Compression).pwszVal, coding);
        EXPECT_STREQ(Value(store, PKEY_Comment).pwszVal, comment) << clip;
        EXPECT_EQ(Value(store, PKEY_Video_FourCC).ulVal, fourcc);
        EXPECT_EQ(store->SetValue(PKEY_Comment, {}), STG_E_ACCESSDENIED);
        EXPECT_EQ(store->Commit(), STG_E_ACCESSDENIED);
    }
}

TEST_F(Shell, AFileIsNamedOnceByAStreamOrAPath) {
    const std::wstring path = Write(L"long \u3042.mxf", ReadAll(Material("dv50.mxf")));
    const auto provider = Module().Create<IThumbnailProvider>(CLSID_NyxFootageHandler);
    const auto byPath = As<IInitializeWithFile>(provider);
    EXPECT_EQ(Take(provider, 96).result, E_UNEXPECTED);
    EXPECT_EQ(byPath->Initialize(nullptr, STGM_READ), E_INVALIDARG);
    EXPECT_EQ(byPath->Initialize(path.c_str(), STGM_READ), S_OK);
    EXPECT_EQ(byPath->Initialize(path.c_str(), STGM_READ),
              HRESULT_FROM_WIN32(ERROR_ALREADY_INITIALIZED));
    const auto taken = Take(provider, 96);
    EXPECT_TRUE(taken.pixels == Thumbnail(ReadAll(path)).pixels && taken.result == S_OK);
    EXPECT_EQ(Take(provider, 0).result, E_INVALIDARG);
    EXPECT_EQ(Take(provider, UINT_MAX).size.cx, 2048);
}

TEST_F(Shell, HostileFilesHaveNoPictureOrALaterOne) {
    const std::string dv = ReadAll(Material("dv25.dv"));
    const std::string mov = ReadAll(Material("dv25.mov"));
    std::string claim = mov;  // a table of 320 MB
    claim.replace(claim.find("stco") + 8, 4, {'\x02', '\x80', '\0', '\0'});
    const struct {
        const char* name;
        std::string bytes;
        std::size_t bad;
        DWORD delay;
        bool picture, properties;
    } rows[] = {
        {"empty", "", SIZE_MAX, 0, false, false},
        {"garbage", std::string(100000, 'G'), SIZE_MAX, 0, false, false},
        {"a table cut off", mov.substr(0, mov.size() / 2), SIZE_MAX, 0, false, false},
        {"a frame cut off", dv.substr(0, 100), SIZE_MAX, 0, false, false},
        {"a claim", claim, SIZE_MAX, 0, false, false},
        {"unreadable", dv, 1, 0, false, false},
        {"slow", mov, SIZE_MAX, 700, false, false},
        {"long groups", ReadAll(Material("long.mxf")), SIZE_MAX, 0, false, false},
        {"sound alone", ReadAll(Material("atom/0.mxf")), SIZE_MAX, 0, false, true},
        {"the tail cut off", dv.substr(0, dv.size() / 2), SIZE_MAX, 0, true, true},
        {"unreadable at a tenth", dv, dv.size() / 10 + 1, 0, true, true},
    };
    for (const auto& [name, bytes, bad, delay, picture, properties] : rows) {
        SCOPED_TRACE(name);
        const auto stream = Make<Bytes>(bytes);
        stream->bad = bad;
        stream->delay = delay;
        const std::size_t before = stream->memory = PrivateBytes();
        EXPECT_EQ(Thumbnail(stream).result == S_OK, picture);
        EXPECT_LE(stream->memory, before + (256 << 20));
        EXPECT_TRUE(delay == 0 || stream->reads <= 3) << stream->reads;  // 2 s, and the last one
        EXPECT_EQ(Properties(stream).first == S_OK, properties);
    }
}

TEST_F(Shell, AFrameLeadsToNoOtherFile) {
    const std::string avi = ReadAll(Material("dv25.avi")),
                      frames = ReadAll(Material("dv25.avi.bytes"));
    constexpr std::size_t kFrame = 144000;
    const auto with = [&](std::string frame) {
        frame.resize(kFrame);
        return Thumbnail(
            std::string(avi).replace(avi.find(frames.substr(5 * kFrame, kFrame)), kFrame, frame));
    };
    const auto other = static_cast<std::uint32_t>(avi.find(frames.substr(25 * kFrame, kFrame)) - 8);
    const std::string place(reinterpret_cast<const char*>(&other), 4);
    const auto path = std::filesystem::path(Material("dv25.avi")).string();
    EXPECT_TRUE(with("REF " + place + "12345678" + path).pixels == with("").pixels);
}

TEST_F(Shell, TheCurrentFolderHasNoEngine) {
    const std::wstring engine = folder.PathOf(L"rkdvh.dll");
    ASSERT_TRUE(
        CopyFileW((EngineFolder(L"..\\open\\") + L"rkdvh.dll").c_str(), engine.c_str(), TRUE));
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    SetEnvironmentVariableW(L"PATH", nullptr);
    EXPECT_EQ(Thumbnail(ReadAll(Material("dv25.dv"))).result, E_FAIL);
    SetEnvironmentVariableW(L"PATH", folder.path.c_str());
    EXPECT_EQ(Thumbnail(ReadAll(Material("dv25.dv"))).result, S_OK);
    std::filesystem::current_path(before);
}

TEST_F(Shell, FiveHundredThumbnailsLeaveNothing) {
    const std::wstring path = folder.PathOf(L"copied.dll");
    ASSERT_TRUE(CopyFileW(ModulePath().c_str(), path.c_str(), TRUE));
    const auto small = Make<Bytes>(ReadAll(Material("tagged.avi")));
    const auto dv = Make<Bytes>(ReadAll(Material("dv25.mov")));
    const auto mpeg = Make<Bytes>(ReadAll(Material("mpeg.gxf")));
    SetEnvironmentVariableW(L"NYX_OPEN_ENGINES", L"threads=1");  // the system's stay for a while
    unsigned drawn = 0;
    ExpectNothingKept([&] {
        const LoadedModule module(path);
        for (int i = 0; i < 63; ++i) {
            const auto& stream = i == 0 ? dv : i == 1 ? mpeg : small;
            EXPECT_EQ(Thumbnail(stream, 48, module).result, S_OK);
        }
        {
            const auto properties = Properties(dv, module).second;
            EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
        }
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
        const HBITMAP next = CreateBitmap(1, 1, 1, 1, nullptr);
        DeleteObject(next);
        const unsigned number = LOWORD(next);  // the first that is free
        drawn = drawn == 0 ? number : drawn;
        EXPECT_LE(number, drawn + 20);
        EXPECT_FALSE(IsLoaded(L"rkdvh.dll") || IsLoaded(L"rkm2vi01.dll"));
    });
    EXPECT_EQ(GetModuleHandleW(path.c_str()), nullptr);
}

}  // namespace
}  // namespace nyx::test

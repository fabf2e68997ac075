// Thumbnails and properties, as the shell asks for them.

#include <propsys.h>
#include <thumbcache.h>

#include <initguid.h>
#include <propkey.h>

#include <cmath>
#include <map>

#include "tests/source/footage_host.h"
#include "tests/support/leaks.h"

namespace nyx::test {
namespace {

const bool isShell = (moduleFile = L"nyxshell.dll", true);

/// This process's own memory, used yet or not.
std::size_t PrivateBytes() {
    std::size_t sum = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const BYTE* at = nullptr; VirtualQuery(at, &region, sizeof(region));
         at += region.RegionSize) {
        sum += region.State == MEM_COMMIT && region.Type == MEM_PRIVATE ? region.RegionSize : 0;
    }
    return sum;
}

/// A stream over bytes, whose host may be slow and whose disk may fail.
struct Bytes : host::Object<IStream> {
    explicit Bytes(std::string all, std::size_t badPlace = SIZE_MAX, DWORD milliseconds = 0u)
        : bytes(std::move(all)), bad(badPlace), delay(milliseconds) {}
    STDMETHODIMP Read(void* to, ULONG count, ULONG* got) override {
        ++reads;
        memory = memory > 0 ? std::max(memory, PrivateBytes()) : 0;
        Sleep(delay);
        const std::string part =
            bytes.substr(std::min(place, bytes.size()), std::min(count, 5000ul));
        *got = static_cast<ULONG>(part.copy(static_cast<char*>(to), part.size()));
        place += *got;
        return place - *got <= bad && bad < place ? STG_E_READFAULT : S_OK;
    }
    STDMETHODIMP Seek(LARGE_INTEGER to, DWORD, ULARGE_INTEGER*) override {
        place = static_cast<std::size_t>(to.QuadPart);
        return S_OK;
    }
    STDMETHODIMP Stat(STATSTG* status, DWORD) override {
        status->cbSize.QuadPart = bytes.size();
        return S_OK;
    }
    STDMETHODIMP Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    STDMETHODIMP CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Commit(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Revert() override { return E_NOTIMPL; }
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IStream**) override { return E_NOTIMPL; }

    const std::string bytes;
    const std::size_t bad;
    const DWORD delay;
    int reads = 0;
    std::size_t place = 0, memory = 0;  ///< the most at a read; 0: not watched
};

/// A thumbnail and how it came about.
struct Shown {
    HRESULT result = E_FAIL;
    LONG width = 0, height = 0;
    std::string pixels{};  ///< rows from the top, 32 bits each
};

Shown Take(const ComPtr<IThumbnailProvider>& provider, UINT size) {
    Shown shown;
    HBITMAP bitmap = nullptr;
    WTS_ALPHATYPE alpha = WTSAT_UNKNOWN;
    shown.result = provider->GetThumbnail(size, &bitmap, &alpha);
    DIBSECTION section{};
    if (bitmap && alpha == WTSAT_RGB && GetObjectW(bitmap, sizeof(section), &section)) {
        shown.width = section.dsBm.bmWidth;
        shown.height = section.dsBm.bmHeight;
        shown.pixels.resize(std::size_t(shown.width) * std::size_t(shown.height) * 4);
        BITMAPINFO format{{40, shown.width, -shown.height, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
        const HDC screen = GetDC(nullptr);
        GetDIBits(screen, bitmap, 0, UINT(shown.height), shown.pixels.data(), &format, 0);
        ReleaseDC(nullptr, screen);
    }
    DeleteObject(bitmap);
    return shown;
}

PROPVARIANT Value(const ComPtr<IPropertyStore>& store, const PROPERTYKEY& key) {
    PROPVARIANT value{};  // text stays allocated: the programs are short
    store->GetValue(key, &value);
    return value;
}

/// The handler of a file.
template <class Interface>
ComPtr<Interface> Handler(const ComPtr<Bytes>& stream, const LoadedModule& module = Module()) {
    const auto handler = module.Create<Interface>(CLSID_NyxFootageHandler);
    EXPECT_EQ(As<IInitializeWithStream>(handler)->Initialize(stream.Get(), STGM_READ), S_OK);
    return handler;
}
Shown Thumbnail(const std::string& bytes, UINT size = 96) {
    return Take(Handler<IThumbnailProvider>(Make<Bytes>(bytes)), size);
}

/// Of the colours, in dB.
double Psnr(const std::string& a, const std::string& b) {
    double sum = 1e-9;
    for (std::size_t i = 0; i < a.size() && a.size() == b.size(); ++i) {
        const int difference = static_cast<BYTE>(a[i]) - static_cast<BYTE>(b[i]);
        sum += i % 4 < 3 ? difference * difference : 0;
    }
    return a.size() == b.size() ? 10 * std::log10(65025 * 0.75 * double(a.size()) / sum) : 0;
}

/// A file of make_references.sh.
std::filesystem::path Reference(const std::string& name) {
    return MaterialFile("shell/" + name);
}

struct Shell : FootageTest {
    Shell() { SetEnvironmentVariableW(L"PATH", EngineFolder(L"..\\open").c_str()); }
};

TEST_F(Shell, ThumbnailsAreTheDecodersPicturesScaled) {
    std::ifstream list(Reference("list"));
    int rows = 0;
    for (std::string clip, size, sides; list >> clip >> size >> sides; ++rows) {
        SCOPED_TRACE(clip + " at " + size);
        const auto bytes = clip == "dark.mxf" ? ReadAll(Reference(clip)) : "";
        const Shown shown =
            Thumbnail(bytes.empty() ? ReadAll(Material(clip)) : bytes, UINT(std::stoul(size)));
        EXPECT_EQ(std::to_string(shown.width) + "x" + std::to_string(shown.height), sides);
        EXPECT_GE(Psnr(shown.pixels, ReadAll(Reference(clip + "-" + size + ".bgra"))), 40);
    }
    EXPECT_EQ(rows, 20 * 3 + 2);
}

TEST_F(Shell, PropertiesAreWhatFfprobeSays) {
    const std::map<std::string, PROPERTYKEY> keys = {
        {"duration", PKEY_Media_Duration},  {"bitrate", PKEY_Video_TotalBitrate},
        {"width", PKEY_Video_FrameWidth},   {"height", PKEY_Video_FrameHeight},
        {"rate", PKEY_Video_FrameRate},     {"channels", PKEY_Audio_ChannelCount},
        {"samples", PKEY_Audio_SampleRate}, {"bits", PKEY_Audio_SampleSize}};
    std::ifstream values(Reference("properties"));
    int rows = 0;
    std::string clip, name;
    for (double value = 0; values >> clip >> name >> value; ++rows) {
        const auto found =
            Value(Handler<IPropertyStore>(Make<Bytes>(ReadAll(Material(clip)))), keys.at(name));
        EXPECT_EQ(found.vt, name == "duration" ? VT_UI8 : VT_UI4);
        const bool isExact = name != "duration" && name != "bitrate";  // ffprobe's is signed
        EXPECT_NEAR(std::min<double>(found.ulVal, INT32_MAX), value, isExact ? 0 : value / 50)
            << clip << name;
    }
    EXPECT_GT(rows, 100);
    for (const auto& [file, coding, comment] :
         {std::tuple("tc.mxf", L"DV", L"Timecode 00:00:59;20; streams: 1 video, 0 audio"),
          {"tc.gxf", L"DV", L"Timecode 00:00:59;20; streams: 1 video, 0 audio"},
          {"tc.dv", L"DV", L"Timecode 00:00:59;20; streams: 1 video, 0 audio"},
          {"mono.mov", L"DVCPRO50", L"streams: 1 video, 5 audio"}}) {
        const auto store = Handler<IPropertyStore>(Make<Bytes>(ReadAll(Material(file))));
        EXPECT_STREQ(Value(store, PKEY_Video_Compression).pwszVal, coding);
        EXPECT_STREQ(Value(store, PKEY_Comment).pwszVal, comment);
        EXPECT_TRUE(store->SetValue(PKEY_Comment, {}) == STG_E_ACCESSDENIED &&
                    store->Commit() == STG_E_ACCESSDENIED);
    }
}

TEST_F(Shell, AFileIsNamedOnceByAStreamOrAPath) {
    const std::wstring path = Write(L"\u3042.mxf", ReadAll(Material("dv50.mxf")));
    const auto provider = Module().Create<IThumbnailProvider>(CLSID_NyxFootageHandler);
    const auto byPath = As<IInitializeWithFile>(provider);
    EXPECT_EQ(Take(provider, 96).result, E_UNEXPECTED);
    EXPECT_EQ(byPath->Initialize(path.c_str(), STGM_READ), S_OK);
    EXPECT_EQ(byPath->Initialize(path.c_str(), STGM_READ),
              HRESULT_FROM_WIN32(ERROR_ALREADY_INITIALIZED));
    EXPECT_GE(Psnr(Take(provider, 96).pixels, ReadAll(Reference("dv50.mxf-96.bgra"))), 40);
    EXPECT_TRUE(Take(provider, 0).result == E_INVALIDARG && Take(provider, UINT_MAX).width == 2048);
}

TEST_F(Shell, HostileFilesHaveNoPictureOrALaterOne) {
    const std::string dv = ReadAll(Material("dv25.dv")), mov = ReadAll(Material("dv25.mov"));
    std::string claim = mov;  // a table of 320 MB
    claim.replace(claim.find("stco") + 8, 4, {'\x02', '\x80', '\0', '\0'});
    const std::tuple<const char*, ComPtr<Bytes>, bool, bool> rows[] = {
        {"empty", Make<Bytes>(""), false, false},
        {"garbage", Make<Bytes>(std::string(100000, 'G')), false, false},
        {"a table cut off", Make<Bytes>(mov.substr(0, mov.size() / 2)), false, false},
        {"a claim", Make<Bytes>(claim), false, false},
        {"unreadable", Make<Bytes>(dv, 1u), false, false},
        {"slow", Make<Bytes>(mov, SIZE_MAX, 700u), false, false},
        {"long groups", Make<Bytes>(ReadAll(Material("long.mxf"))), false, false},
        {"sound alone", Make<Bytes>(ReadAll(Material("atom/0.mxf"))), false, true},
        {"the tail cut off", Make<Bytes>(dv.substr(0, dv.size() / 2)), true, true},
        {"unreadable at a tenth", Make<Bytes>(dv, dv.size() / 10 + 1), true, true}};
    for (const auto& [name, stream, picture, properties] : rows) {
        SCOPED_TRACE(name);
        const std::size_t before = stream->memory = PrivateBytes();
        EXPECT_EQ(Take(Handler<IThumbnailProvider>(stream), 96).result == S_OK, picture);
        EXPECT_LE(stream->memory, before + (256 << 20));
        EXPECT_TRUE(stream->delay == 0 || stream->reads <= 3);  // 2 s, and the last one
        DWORD count = 0;
        EXPECT_EQ(Handler<IPropertyStore>(stream)->GetCount(&count) == S_OK, properties);
    }
}

TEST_F(Shell, AFrameLeadsToNoOtherFile) {
    const std::string avi = ReadAll(Material("dv25.avi"));
    const auto chunk = [&](int frame) {  // of 144000 bytes
        std::size_t at = 0;
        for (int i = 0; i <= frame; ++i) {
            at = avi.find(std::string("00dc\x80\x32\x02\0", 8), at + 1);
        }
        return at;
    };
    const auto with = [&](std::string frame) {
        frame.resize(144000);
        return Thumbnail(std::string(avi).replace(chunk(5) + 8, frame.size(), frame)).pixels;
    };
    const auto other = static_cast<std::uint32_t>(chunk(25));
    const std::string place(reinterpret_cast<const char*>(&other), 4);
    EXPECT_TRUE(with("REF " + place + "12345678" +
                     std::filesystem::path(Material("dv25.avi")).string()) == with(""));
}

TEST_F(Shell, TheCurrentFolderHasNoEngine) {
    std::filesystem::copy_file(EngineFolder(L"..\\open\\rkdvh.dll"), folder.path / "rkdvh.dll");
    const std::string dv = ReadAll(Material("dv25.dv"));
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    SetEnvironmentVariableW(L"PATH", nullptr);
    EXPECT_EQ(Thumbnail(dv).result, E_FAIL);
    SetEnvironmentVariableW(L"PATH", folder.path.c_str());
    EXPECT_EQ(Thumbnail(dv).result, S_OK);
    std::filesystem::current_path(before);
}

TEST_F(Shell, FiveHundredThumbnailsLeaveNothing) {
    const std::wstring path = folder.PathOf(L"copied.dll");
    ASSERT_TRUE(CopyFileW(ModulePath().c_str(), path.c_str(), TRUE));
    SetEnvironmentVariableW(L"NYX_OPEN_ENGINES", L"threads=1");  // the system's stay for a while
    const ComPtr<Bytes> streams[] = {Make<Bytes>(ReadAll(Material("dv25.mov"))),
                                     Make<Bytes>(ReadAll(Material("mpeg.gxf"))),
                                     Make<Bytes>(ReadAll(Material("tagged.avi")))};
    WORD drawn = 0;
    ExpectNothingKept([&] {
        const LoadedModule module(path);
        for (int i = 0; i < 63; ++i) {
            EXPECT_EQ(Take(Handler<IThumbnailProvider>(streams[std::min(i, 2)], module), 48).result,
                      S_OK);
        }
        auto store = Handler<IPropertyStore>(streams[0], module);
        EXPECT_EQ(Value(store, PKEY_Video_FrameWidth).ulVal, 720u);
        EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
        store.Reset();
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
        EXPECT_FALSE(IsLoaded(L"rkdvh.dll") || IsLoaded(L"rkm2vi01.dll"));
        const HBITMAP next = CreateBitmap(1, 1, 1, 1, nullptr);
        DeleteObject(next);
        const WORD number = LOWORD(next);  // the first that is free
        drawn = drawn == 0 ? number : drawn;
        EXPECT_LE(number, drawn + 20);
    });
    EXPECT_EQ(GetModuleHandleW(path.c_str()), nullptr);
}

}  // namespace
}  // namespace nyx::test

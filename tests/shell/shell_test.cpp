// Thumbnails and properties, as the shell asks for them.

#include <initguid.h>
#include <propkey.h>
#include <propsys.h>
#include <thumbcache.h>

#include <cmath>
#include <map>

#include "tests/source/footage_host.h"
#include "tests/support/leaks.h"

namespace nyx::test {
namespace {

const bool isShell = (moduleFile = L"nyxshell.dll", true);

/// A stream over bytes, whose host may be slow and whose disk may fail.
struct Bytes : host::Object<IStream> {
    explicit Bytes(std::string all) : bytes(std::move(all)) {}
    STDMETHODIMP Read(void* to, ULONG count, ULONG* got) override {
        ++reads;
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
    ULONG most = 100000;  ///< that a read returns
    std::size_t bad = SIZE_MAX;
    DWORD delay = 0;
    int reads = 0;
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
    const auto provider = module.Create<IThumbnailProvider>(CLSID_NyxFootageThumbnail);
    EXPECT_EQ(As<IInitializeWithStream>(provider)->Initialize(stream.Get(), STGM_READ), S_OK);
    return Take(provider, size);
}
Shown Thumbnail(const std::string& bytes, UINT size = 96) {
    return Thumbnail(Make<Bytes>(bytes), size);
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
    const EngineSearch engines{L"..\\open"};
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
        std::printf("%s %s %.1f\n", clip.c_str(), size.c_str(), psnr);
        EXPECT_GE(psnr, 40);
        ++rows;
    }
    EXPECT_EQ(rows, 20 * 4);
}

}  // namespace
}  // namespace nyx::test

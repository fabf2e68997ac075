// association_host SIZE FILE...: another program's view of files. Finds the handlers of each file's
// kind as the shell does, saves its thumbnail as a bitmap of the file's name in the current folder,
// and prints its properties. Exits with the number of files that lack one or the other.

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tests/shell/handlers.h"

namespace {

using namespace nyx;

/// An object of the class with this id, over a file's stream.
template <class Interface>
ComPtr<Interface> Handler(const wchar_t* id, const std::filesystem::path& file) {
    CLSID clsid{};
    ComPtr<Interface> object;
    ComPtr<IStream> stream;
    SHCreateStreamOnFileEx(file.c_str(), STGM_SHARE_DENY_NONE, 0, FALSE, nullptr, &stream);
    if (SUCCEEDED(CLSIDFromString(id, &clsid)) &&
        SUCCEEDED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)))) {
        As<IInitializeWithStream>(object)->Initialize(stream.Get(), STGM_READ);
    }
    return object;
}

bool Show(const std::filesystem::path& file, UINT size) {
    const std::wstring kind = file.extension().wstring();
    const std::wstring key =
        L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\PropertySystem\\PropertyHandlers\\" + kind;
    wchar_t pictures[64] = {}, properties[64] = {};
    DWORD count = 64, bytes = sizeof(properties);
    AssocQueryStringW(ASSOCF_INIT_DEFAULTTOSTAR, ASSOCSTR_SHELLEXTENSION, kind.c_str(),
                      L"{E357FCCD-A995-4576-B01F-234630154E96}", pictures, &count);
    RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, properties,
                 &bytes);
    const auto provider = Handler<IThumbnailProvider>(pictures, file);
    const auto store = Handler<IPropertyStore>(properties, file);
    const auto shown = provider ? test::Take(provider, size) : test::Shown();
    const auto number = [&](const PROPERTYKEY& of) { return test::Value(store, of).ulVal; };
    if (shown.result != S_OK || !store || number(PKEY_Media_Duration) == 0) {
        return false;
    }
    std::printf(
        "%ls: %.2f s, %lux%lu, %.2f pictures/s, %ls, %.1f Mbit/s, %lu channels; %ls\n",
        file.filename().c_str(), number(PKEY_Media_Duration) / 1e7, number(PKEY_Video_FrameWidth),
        number(PKEY_Video_FrameHeight), number(PKEY_Video_FrameRate) / 1e3,
        test::Value(store, PKEY_Video_Compression).pwszVal, number(PKEY_Video_TotalBitrate) / 1e6,
        number(PKEY_Audio_ChannelCount), test::Value(store, PKEY_Comment).pwszVal);
    const auto all = static_cast<DWORD>(54 + shown.pixels.size());
    const BITMAPFILEHEADER header = {0x4D42, all, 0, 0, 54};
    const BITMAPINFOHEADER format = {40, shown.width, -shown.height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    std::ofstream saved(std::filesystem::path(file.filename().wstring() + L".bmp"),
                        std::ios::binary);
    saved.write(reinterpret_cast<const char*>(&header), sizeof(header));
    saved.write(reinterpret_cast<const char*>(&format), sizeof(format));
    saved << shown.pixels;
    return saved.good();
}

}  // namespace

int wmain(int count, wchar_t** words) {
    CoInitialize(nullptr);
    int failures = 0;
    for (int i = 2; i < count; ++i) {
        failures += Show(words[i], static_cast<UINT>(std::wcstoul(words[1], nullptr, 10))) ? 0 : 1;
    }
    return failures;
}

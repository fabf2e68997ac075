// association_host SIZE FILE...: how any program gets thumbnails and properties of files. Finds the
// handlers of each file's kind as the shell does, saves its thumbnail as a bitmap of the file's
// name in the current folder, and prints its properties. Exits with the number of files that lack
// one or the other.

#include <propsys.h>
#include <shlwapi.h>
#include <thumbcache.h>

#include <initguid.h>
#include <propkey.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

#include "platform/com.h"

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

bool SaveThumbnail(const std::filesystem::path& file, UINT size) {
    wchar_t id[64] = {};
    DWORD count = 64;
    AssocQueryStringW(ASSOCF_INIT_DEFAULTTOSTAR, ASSOCSTR_SHELLEXTENSION, file.extension().c_str(),
                      L"{E357FCCD-A995-4576-B01F-234630154E96}", id, &count);
    const auto provider = Handler<IThumbnailProvider>(id, file);
    HBITMAP bitmap = nullptr;
    WTS_ALPHATYPE alpha{};
    BITMAP shape{};
    if (!provider || FAILED(provider->GetThumbnail(size, &bitmap, &alpha)) ||
        !GetObjectW(bitmap, sizeof(shape), &shape)) {
        return false;
    }
    BITMAPINFO format{{40, shape.bmWidth, shape.bmHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
    std::vector<char> pixels(static_cast<std::size_t>(shape.bmWidth * shape.bmHeight) * 4);
    const HDC screen = GetDC(nullptr);
    GetDIBits(screen, bitmap, 0, static_cast<UINT>(shape.bmHeight), pixels.data(), &format,
              DIB_RGB_COLORS);
    ReleaseDC(nullptr, screen);
    DeleteObject(bitmap);
    const BITMAPFILEHEADER header = {0x4D42, static_cast<DWORD>(54 + pixels.size()), 0, 0, 54};
    std::ofstream saved(std::filesystem::path(file.filename().wstring() + L".bmp"),
                        std::ios::binary);
    saved.write(reinterpret_cast<const char*>(&header), sizeof(header));
    saved.write(reinterpret_cast<const char*>(&format.bmiHeader), 40);
    saved.write(pixels.data(), static_cast<std::streamsize>(pixels.size()));
    return saved.good();
}

bool PrintProperties(const std::filesystem::path& file) {
    const std::wstring key =
        L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\PropertySystem\\PropertyHandlers\\" +
        file.extension().wstring();
    wchar_t id[64] = {};
    DWORD bytes = sizeof(id);
    RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, id, &bytes);
    const auto store = Handler<IPropertyStore>(id, file);
    const auto value = [&](const PROPERTYKEY& of) {
        PROPVARIANT found{};  // text stays allocated: the program ends soon
        if (store) {
            store->GetValue(of, &found);
        }
        return found;
    };
    if (value(PKEY_Media_Duration).vt != VT_UI8) {
        return false;
    }
    std::printf("%ls: %.2f s, %lux%lu, %.2f pictures/s, %ls, %.1f Mbit/s, %lu channels; %ls\n",
                file.filename().c_str(), double(value(PKEY_Media_Duration).uhVal.QuadPart) / 1e7,
                value(PKEY_Video_FrameWidth).ulVal, value(PKEY_Video_FrameHeight).ulVal,
                value(PKEY_Video_FrameRate).ulVal / 1e3, value(PKEY_Video_Compression).pwszVal,
                value(PKEY_Video_TotalBitrate).ulVal / 1e6, value(PKEY_Audio_ChannelCount).ulVal,
                value(PKEY_Comment).pwszVal);
    return true;
}

}  // namespace

int wmain(int count, wchar_t** words) {
    CoInitialize(nullptr);
    int failures = 0;
    for (int i = 2; i < count; ++i) {
        const auto size = static_cast<UINT>(std::wcstoul(words[1], nullptr, 10));
        const bool isSaved = SaveThumbnail(words[i], size);
        failures += PrintProperties(words[i]) && isSaved ? 0 : 1;
    }
    return failures;
}

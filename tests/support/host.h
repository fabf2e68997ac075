#pragma once

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "host/media_type.h"
#include "tests/support/engines.h"

namespace nyx::test {

using namespace host;

/// What the tests vary about a stream. Duration in 100-ns units.
struct Stream {
    LONG width = 0;
    LONG height = 0;
    REFERENCE_TIME frameDuration = 400000;
    Block block = Block::kVideoInfo;
};

/// Bytes of a packed picture: whole bytes per pixel, width, absolute height.
inline LONG PictureBytes(const BITMAPINFOHEADER& header) {
    return (header.biBitCount + 7) / 8 * header.biWidth * std::abs(header.biHeight);
}

/// The complete MEDIATYPE_Video type of a stream; `compression` is a FourCC or BI_RGB.
inline MediaType VideoType(const GUID& subtype, WORD bits, DWORD compression,
                           const Stream& stream) {
    BITMAPINFOHEADER header = {
        sizeof(header), stream.width, stream.height, 1, bits, compression, 0, 0, 0, 0, 0};
    header.biSizeImage = static_cast<DWORD>(PictureBytes(header));
    MediaType type =
        host::VideoType(subtype, stream.block, stream.frameDuration, &header, sizeof(header));
    type.bFixedSizeSamples = TRUE;
    type.lSampleSize = header.biSizeImage;
    return type;
}

/// File name of the module under test, beside the test program. A program that tests another build
/// sets it before the first use.
inline const wchar_t* moduleFile = L"nyxcodecs.dll";

inline std::wstring ModulePath() {
    return ProgramFolder() + moduleFile;
}

/// The module under test, loaded as a host loads it and kept loaded while this object lives.
struct LoadedModule {
    /// Throws std::runtime_error when the file does not load.
    explicit LoadedModule(const std::wstring& path = ModulePath())
        : handle(LoadLibraryW(path.c_str())) {
        if (!handle) {
            throw std::runtime_error("the module under test does not load");
        }
    }
    ~LoadedModule() { FreeLibrary(handle); }

    /// Creates an object through its class factory.
    HRESULT Create(REFCLSID clsid, IUnknown* outer, REFIID iid, void** object) const {
        ComPtr<IClassFactory> factory;
        const HRESULT result = GetClassObject(clsid, IID_IClassFactory, &factory);
        return FAILED(result) ? result : factory->CreateInstance(outer, iid, object);
    }
    /// The same without an outer object; empty when it cannot be made.
    template <class Interface = IBaseFilter>
    ComPtr<Interface> Create(REFCLSID clsid) const {
        ComPtr<Interface> object;
        Create(clsid, nullptr, __uuidof(Interface), &object);
        return object;
    }

    using Entry = HRESULT(STDAPICALLTYPE*)();
    using ClassEntry = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const HMODULE handle;
    const ClassEntry GetClassObject = Export<ClassEntry>(handle, "DllGetClassObject");
    const Entry CanUnloadNow = Export<Entry>(handle, "DllCanUnloadNow");
    const Entry RegisterServer = Export<Entry>(handle, "DllRegisterServer");
    const Entry UnregisterServer = Export<Entry>(handle, "DllUnregisterServer");
};

/// The one instance that the in-process tests share; loaded on first use.
inline const LoadedModule& Module() {
    static const LoadedModule module;
    return module;
}

}  // namespace nyx::test

#pragma once

#include <stdexcept>
#include <string>

#include "tests/support/host.h"

namespace nyx::test {

/// The folder of the running test program, with its closing backslash.
inline std::wstring ProgramFolder() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path.substr(0, path.find_last_of(L'\\') + 1);
}

/// File name of the module under test, beside the test program. A program that tests another build
/// sets it before the first use.
inline const wchar_t* moduleFile = L"nyxcodecs.dll";

inline std::wstring ModulePath() {
    return ProgramFolder() + moduleFile;
}

/// The module under test, loaded as a host loads it and kept loaded while this object lives.
struct LoadedModule {
    /// Throws std::runtime_error when the file does not load or lacks an entry.
    explicit LoadedModule(const std::wstring& path = ModulePath())
        : handle(LoadLibraryW(path.c_str())) {
        Find(&GetClassObject, "DllGetClassObject");
        Find(&CanUnloadNow, "DllCanUnloadNow");
        Find(&RegisterServer, "DllRegisterServer");
        Find(&UnregisterServer, "DllUnregisterServer");
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

    const HMODULE handle;
    HRESULT(STDAPICALLTYPE* GetClassObject)(REFCLSID, REFIID, void**);
    HRESULT(STDAPICALLTYPE* CanUnloadNow)();
    HRESULT(STDAPICALLTYPE* RegisterServer)();
    HRESULT(STDAPICALLTYPE* UnregisterServer)();

  private:
    template <class Function>
    void Find(Function* entry, const char* name) const {
        const FARPROC found = handle ? GetProcAddress(handle, name) : nullptr;
        if (!found) {
            throw std::runtime_error(std::string("the module under test has no ") + name);
        }
        *entry = reinterpret_cast<Function>(reinterpret_cast<void*>(found));
    }
};

/// The one instance that the in-process tests share; loaded on first use.
inline const LoadedModule& Module() {
    static const LoadedModule module;
    return module;
}

}  // namespace nyx::test

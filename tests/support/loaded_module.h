#pragma once

#include <string>

#include "tests/support/com_ptr.h"
#include "tests/support/directshow.h"

namespace nyx::test {

/// The folder of the running test program, with its closing backslash.
std::wstring ProgramFolder();

/// Has the program test another build of the module, by its file name. To be called before main.
bool UseModule(const wchar_t* file);

/// Full path of the module under test, which lies beside the test program.
std::wstring ModulePath();

/// The module under test, loaded as a host loads it and kept loaded while this object lives.
class LoadedModule {
  public:
    /// Loads the file; `path` defaults to the built module. Throws std::runtime_error when it does
    /// not load or lacks an entry.
    explicit LoadedModule(const std::wstring& path = ModulePath());
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    ~LoadedModule();

    HMODULE handle() const { return handle_; }

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) const {
        return getClassObject_(clsid, iid, object);
    }
    HRESULT CanUnloadNow() const { return canUnloadNow_(); }
    HRESULT RegisterServer() const { return registerServer_(); }
    HRESULT UnregisterServer() const { return unregisterServer_(); }

    /// Creates an object through its class factory.
    HRESULT CreateInstance(REFCLSID clsid, IUnknown* outer, REFIID iid, void** object) const;

    /// A filter by its class, empty when it cannot be made.
    ComPtr<IBaseFilter> CreateFilter(REFCLSID clsid) const;

  private:
    using GetClassObjectFunction = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    using PlainFunction = HRESULT(STDAPICALLTYPE*)();

    HMODULE handle_;
    GetClassObjectFunction getClassObject_;
    PlainFunction canUnloadNow_;
    PlainFunction registerServer_;
    PlainFunction unregisterServer_;
};

/// The one instance that the in-process tests share; loaded on first use.
const LoadedModule& Module();

}  // namespace nyx::test

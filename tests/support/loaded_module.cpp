#include "tests/support/loaded_module.h"

#include <stdexcept>

namespace nyx::test {
namespace {

const wchar_t* moduleFile = L"nyxcodecs.dll";

template <class Function>
Function Entry(HMODULE module, const char* name) {
    const FARPROC entry = module ? GetProcAddress(module, name) : nullptr;
    if (!entry) {
        throw std::runtime_error(std::string("the module under test has no ") + name);
    }
    return reinterpret_cast<Function>(reinterpret_cast<void*>(entry));
}

}  // namespace

std::wstring ProgramFolder() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path.substr(0, path.find_last_of(L'\\') + 1);
}

bool UseModule(const wchar_t* file) {
    moduleFile = file;
    return true;
}

std::wstring ModulePath() {
    return ProgramFolder() + moduleFile;
}

LoadedModule::LoadedModule(const std::wstring& path)
    : handle_(LoadLibraryW(path.c_str())),
      getClassObject_(Entry<GetClassObjectFunction>(handle_, "DllGetClassObject")),
      canUnloadNow_(Entry<PlainFunction>(handle_, "DllCanUnloadNow")),
      registerServer_(Entry<PlainFunction>(handle_, "DllRegisterServer")),
      unregisterServer_(Entry<PlainFunction>(handle_, "DllUnregisterServer")) {}

LoadedModule::~LoadedModule() {
    FreeLibrary(handle_);
}

HRESULT LoadedModule::CreateInstance(REFCLSID clsid, IUnknown* outer, REFIID iid,
                                     void** object) const {
    ComPtr<IClassFactory> factory;
    const HRESULT result = GetClassObject(clsid, IID_IClassFactory, factory.PutVoid());
    return FAILED(result) ? result : factory->CreateInstance(outer, iid, object);
}

ComPtr<IBaseFilter> LoadedModule::CreateFilter(REFCLSID clsid) const {
    ComPtr<IBaseFilter> filter;
    CreateInstance(clsid, nullptr, IID_IBaseFilter, filter.PutVoid());
    return filter;
}

const LoadedModule& Module() {
    static const LoadedModule module;
    return module;
}

}  // namespace nyx::test

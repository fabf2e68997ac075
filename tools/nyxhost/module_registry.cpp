#include "module_registry.h"

#include <dshow.h>

#include <algorithm>
#include <cwchar>

#include "com.h"
#include "text.h"

// The platform's reader for a filter's registered data; its header comes with no compiler.
struct IAMFilterData : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE ParseFilterData(BYTE* data, ULONG size, BYTE** record) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateFilterData(REGFILTER2* record, BYTE** data,
                                                       ULONG* size) = 0;
};
__CRT_UUID_DECL(IAMFilterData, 0x97f7c4d4, 0x547b, 0x4a5f, 0x83, 0x32, 0x53, 0x64, 0x30, 0xad, 0x2e,
                0x4d)

namespace nyx::host {
namespace {

/// A registry key, closed at the end of its life.
class RegistryKey {
  public:
    RegistryKey(HKEY parent, const std::wstring& path) {
        if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key_) != ERROR_SUCCESS) {
            key_ = nullptr;
        }
    }
    ~RegistryKey() {
        if (key_ != nullptr) {
            RegCloseKey(key_);
        }
    }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    HKEY Get() const { return key_; }

    /// A text value, null for the key's default; empty when it is not there.
    std::wstring Text(const wchar_t* name) const {
        DWORD bytes = 0;
        if (RegGetValueW(key_, nullptr, name, RRF_RT_REG_SZ, nullptr, nullptr, &bytes) !=
            ERROR_SUCCESS) {
            return {};
        }
        std::wstring text(bytes / sizeof(wchar_t) + 1, L'\0');
        bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        if (RegGetValueW(key_, nullptr, name, RRF_RT_REG_SZ, nullptr, text.data(), &bytes) !=
            ERROR_SUCCESS) {
            return {};
        }
        text.resize(std::wcslen(text.c_str()));
        return text;
    }

    /// The name of subkey `index`; empty past the last one.
    std::wstring Subkey(DWORD index) const {
        wchar_t name[256];
        DWORD length = ARRAYSIZE(name);
        const LSTATUS status =
            RegEnumKeyExW(key_, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        return status == ERROR_SUCCESS ? std::wstring(name, length) : std::wstring();
    }

  private:
    HKEY key_ = nullptr;
};

bool IsModuleFile(const std::wstring& path) {
    const std::size_t slash = path.find_last_of(L"\\/");
    const std::wstring file = slash == std::wstring::npos ? path : path.substr(slash + 1);
    return _wcsicmp(file.c_str(), kModuleFile) == 0;
}

HRESULT TryToCreate(const CLSID& clsid) {
    ComPtr<IUnknown> object;
    return CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                            reinterpret_cast<void**>(object.GetAddressOf()));
}

std::vector<RegisteredClass> FindClasses() {
    std::vector<RegisteredClass> found;
    const RegistryKey root(HKEY_CLASSES_ROOT, L"CLSID");
    for (DWORD i = 0;; ++i) {
        const std::wstring name = root.Subkey(i);
        if (name.empty()) {
            return found;
        }
        CLSID clsid{};
        const RegistryKey server(root.Get(), name + L"\\InprocServer32");
        const std::wstring path = server.Get() != nullptr ? server.Text(nullptr) : L"";
        if (!IsModuleFile(path) || FAILED(CLSIDFromString(name.c_str(), &clsid))) {
            continue;
        }
        const RegistryKey entry(root.Get(), name);
        found.push_back({clsid,
                         Utf8(entry.Text(nullptr)),
                         Utf8(path),
                         Utf8(server.Text(L"ThreadingModel")),
                         {},
                         TryToCreate(clsid)});
    }
}

std::string TypeText(const REGPINTYPES& type) {
    const std::string major =
        *type.clsMajorType == MEDIATYPE_Video ? "video" : GuidText(*type.clsMajorType);
    const GUID& subtype = *type.clsMinorType;
    GUID tail = subtype;
    tail.Data1 = MEDIASUBTYPE_YUY2.Data1;
    std::string minor = GuidText(subtype);
    if (subtype == GUID_NULL) {
        minor = "any";
    } else if (subtype == MEDIASUBTYPE_RGB32) {
        minor = "RGB32";
    } else if (tail == MEDIASUBTYPE_YUY2) {
        minor = FourCCText(subtype.Data1);
    }
    return major + "/" + minor;
}

std::string PinText(const REGFILTERPINS2& pin) {
    std::string text = (pin.dwFlags & REG_PINFLAG_B_OUTPUT) != 0 ? "out" : "in ";
    for (UINT i = 0; i < pin.nMediaTypes; ++i) {
        text += (i == 0 ? " " : ", ") + TypeText(pin.lpMediaType[i]);
    }
    return text;
}

void ReadFilterData(IAMFilterData* reader, const VARIANT& value, CategoryEntry& entry) {
    if (reader == nullptr || value.vt != (VT_ARRAY | VT_UI1)) {
        return;
    }
    BYTE* bytes = nullptr;
    if (FAILED(SafeArrayAccessData(value.parray, reinterpret_cast<void**>(&bytes)))) {
        return;
    }
    BYTE* parsed = nullptr;
    const HRESULT result =
        reader->ParseFilterData(bytes, value.parray->rgsabound[0].cElements, &parsed);
    SafeArrayUnaccessData(value.parray);
    if (FAILED(result) || parsed == nullptr) {
        return;
    }
    // What comes back is a pointer to the record, which lies in the same block of task memory.
    const REGFILTER2* record = *reinterpret_cast<REGFILTER2**>(parsed);
    entry.merit = record->dwMerit;
    for (ULONG i = 0; record->dwVersion == 2 && i < record->cPins2; ++i) {
        entry.pins.push_back(PinText(record->rgPins2[i]));
    }
    CoTaskMemFree(parsed);
}

std::wstring BagText(IPropertyBag* bag, const wchar_t* name) {
    VARIANT value;
    VariantInit(&value);
    std::wstring text;
    if (SUCCEEDED(bag->Read(name, &value, nullptr)) && value.vt == VT_BSTR) {
        text.assign(value.bstrVal, SysStringLen(value.bstrVal));
    }
    VariantClear(&value);
    return text;
}

/// A filter category to look through.
struct Category {
    const CLSID* clsid;
    const char* words;
};

void AddCategory(const Category& category, IAMFilterData* reader,
                 std::vector<RegisteredClass>& classes) {
    const auto devices =
        CreateObject<ICreateDevEnum>(CLSID_SystemDeviceEnum, "no device enumerator");
    ComPtr<IEnumMoniker> monikers;
    if (devices->CreateClassEnumerator(*category.clsid, monikers.GetAddressOf(), 0) != S_OK) {
        return;  // S_FALSE: the category is empty
    }
    ComPtr<IMoniker> moniker;
    while (monikers->Next(1, moniker.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        ComPtr<IPropertyBag> bag;
        if (FAILED(moniker->BindToStorage(nullptr, nullptr, IID_IPropertyBag,
                                          reinterpret_cast<void**>(bag.GetAddressOf())))) {
            continue;
        }
        CLSID clsid{};
        const std::wstring id = BagText(bag.Get(), L"CLSID");
        const auto match =
            FAILED(CLSIDFromString(id.c_str(), &clsid))
                ? classes.end()
                : std::find_if(classes.begin(), classes.end(),
                               [&](const RegisteredClass& c) { return c.clsid == clsid; });
        if (match == classes.end()) {
            continue;
        }
        CategoryEntry entry{category.words, Utf8(BagText(bag.Get(), L"FriendlyName")), {}, {}};
        VARIANT data;
        VariantInit(&data);
        if (SUCCEEDED(bag->Read(L"FilterData", &data, nullptr))) {
            ReadFilterData(reader, data, entry);
        }
        VariantClear(&data);
        match->categories.push_back(std::move(entry));
    }
}

}  // namespace

std::vector<RegisteredClass> FindModuleClasses() {
    std::vector<RegisteredClass> classes = FindClasses();
    std::sort(classes.begin(), classes.end(),
              [](const RegisteredClass& a, const RegisteredClass& b) { return a.name < b.name; });
    const auto mapper = CreateObject<IFilterMapper2>(CLSID_FilterMapper2, "no filter mapper");
    ComPtr<IAMFilterData> reader;
    mapper.As(&reader);
    const Category categories[] = {{&CLSID_LegacyAmFilterCategory, "DirectShow filters"},
                                   {&CLSID_VideoCompressorCategory, "video compressors"}};
    for (const Category& category : categories) {
        AddCategory(category, reader.Get(), classes);
    }
    return classes;
}

}  // namespace nyx::host

#include "tests/support/filter_mapper.h"

#include <cstring>

#include "tests/support/com_ptr.h"

namespace nyx::test {
namespace {

/// A text property of a device's moniker, empty when it is missing.
std::wstring Text(IPropertyBag* bag, const wchar_t* name) {
    VARIANT value;
    VariantInit(&value);
    bag->Read(name, &value, nullptr);
    const std::wstring text = value.vt == VT_BSTR ? value.bstrVal : L"";
    VariantClear(&value);
    return text;
}

/// The stored description begins with its version and the merit.
DWORD Merit(IPropertyBag* bag) {
    VARIANT value;
    VariantInit(&value);
    bag->Read(L"FilterData", &value, nullptr);
    DWORD words[2] = {};
    LONG last = -1;
    if (value.vt == (VT_ARRAY | VT_UI1) && SUCCEEDED(SafeArrayGetUBound(value.parray, 1, &last)) &&
        last + 1 >= LONG{sizeof(words)}) {
        std::memcpy(words, value.parray->pvData, sizeof(words));
    }
    VariantClear(&value);
    return words[1];
}

std::optional<RegisteredFilter> Find(IEnumMoniker* monikers, REFCLSID wanted) {
    ComPtr<IMoniker> moniker;
    while (monikers->Next(1, moniker.Put(), nullptr) == S_OK) {
        ComPtr<IPropertyBag> bag;
        CLSID clsid{};
        if (moniker->BindToStorage(nullptr, nullptr, IID_IPropertyBag, bag.PutVoid()) == S_OK &&
            CLSIDFromString(Text(bag.get(), L"CLSID").c_str(), &clsid) == S_OK && clsid == wanted) {
            return RegisteredFilter{Text(bag.get(), L"FriendlyName"), Merit(bag.get())};
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<RegisteredFilter> FilterInCategory(REFCLSID category, REFCLSID clsid) {
    ComPtr<ICreateDevEnum> devices;
    ComPtr<IEnumMoniker> monikers;
    if (CoCreateInstance(CLSID_SystemDeviceEnum, nullptr, CLSCTX_INPROC_SERVER, IID_ICreateDevEnum,
                         devices.PutVoid()) != S_OK ||
        devices->CreateClassEnumerator(category, monikers.Put(), 0) != S_OK) {
        return std::nullopt;
    }
    return Find(monikers.get(), clsid);
}

bool MapperFinds(REFCLSID clsid, REFGUID inputSubtype, REFGUID outputSubtype, DWORD merit) {
    const GUID inputs[] = {MEDIATYPE_Video, inputSubtype};
    const GUID outputs[] = {MEDIATYPE_Video, outputSubtype};
    ComPtr<IFilterMapper2> mapper;
    ComPtr<IEnumMoniker> monikers;
    return CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2,
                            mapper.PutVoid()) == S_OK &&
           mapper->EnumMatchingFilters(monikers.Put(), 0, FALSE, merit, TRUE, 1, inputs, nullptr,
                                       nullptr, FALSE, TRUE, 1, outputs, nullptr,
                                       nullptr) == S_OK &&
           Find(monikers.get(), clsid);
}

}  // namespace nyx::test

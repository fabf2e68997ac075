#include "tests/support/filter_mapper.h"

#include <cstring>

#include "tests/support/com_ptr.h"

namespace nyx::test {
namespace {

/// One property of a device's moniker, empty when it is missing.
class Property {
  public:
    Property(IPropertyBag* bag, const wchar_t* name) {
        VariantInit(&value_);
        bag->Read(name, &value_, nullptr);
    }
    Property(const Property&) = delete;
    Property& operator=(const Property&) = delete;
    ~Property() { VariantClear(&value_); }

    std::wstring Text() const { return value_.vt == VT_BSTR ? value_.bstrVal : L""; }
    std::vector<BYTE> Bytes() const {
        if (value_.vt != (VT_ARRAY | VT_UI1)) {
            return {};
        }
        LONG last = -1;
        SafeArrayGetUBound(value_.parray, 1, &last);
        const auto* bytes = static_cast<const BYTE*>(value_.parray->pvData);
        return {bytes, bytes + last + 1};
    }

  private:
    VARIANT value_;
};

RegisteredFilter Describe(IMoniker* moniker) {
    RegisteredFilter filter{};
    ComPtr<IPropertyBag> bag;
    if (moniker->BindToStorage(nullptr, nullptr, IID_IPropertyBag, bag.PutVoid()) != S_OK) {
        return filter;
    }
    filter.name = Property(bag.get(), L"FriendlyName").Text();
    CLSIDFromString(Property(bag.get(), L"CLSID").Text().c_str(), &filter.clsid);
    filter.data = Property(bag.get(), L"FilterData").Bytes();
    // The stored description begins with its version and the merit.
    if (filter.data.size() >= 8) {
        std::memcpy(&filter.merit, filter.data.data() + 4, sizeof(filter.merit));
    }
    return filter;
}

std::vector<RegisteredFilter> DescribeAll(IEnumMoniker* monikers) {
    std::vector<RegisteredFilter> filters;
    ComPtr<IMoniker> moniker;
    while (monikers->Next(1, moniker.Put(), nullptr) == S_OK) {
        filters.push_back(Describe(moniker.get()));
    }
    return filters;
}

}  // namespace

std::vector<RegisteredFilter> FiltersOfCategory(REFCLSID category) {
    ComPtr<ICreateDevEnum> devices;
    ComPtr<IEnumMoniker> monikers;
    if (CoCreateInstance(CLSID_SystemDeviceEnum, nullptr, CLSCTX_INPROC_SERVER, IID_ICreateDevEnum,
                         devices.PutVoid()) != S_OK ||
        devices->CreateClassEnumerator(category, monikers.Put(), 0) != S_OK) {
        return {};
    }
    return DescribeAll(monikers.get());
}

bool MapperFinds(REFCLSID clsid, REFGUID inputSubtype, DWORD merit) {
    ComPtr<IFilterMapper2> mapper;
    if (CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2,
                         mapper.PutVoid()) != S_OK) {
        return false;
    }
    const GUID types[] = {MEDIATYPE_Video, inputSubtype};
    ComPtr<IEnumMoniker> monikers;
    if (mapper->EnumMatchingFilters(monikers.Put(), 0, TRUE, merit, TRUE, 1, types, nullptr,
                                    nullptr, FALSE, TRUE, 0, nullptr, nullptr, nullptr) != S_OK) {
        return false;
    }
    for (const RegisteredFilter& filter : DescribeAll(monikers.get())) {
        if (filter.clsid == clsid) {
            return true;
        }
    }
    return false;
}

}  // namespace nyx::test

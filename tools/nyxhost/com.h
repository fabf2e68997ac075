#pragma once

#include <vector>

#include "failure.h"
#include "host/com.h"

namespace nyx::host {

/// Makes the calling thread a member of an apartment, by default the multithreaded one, for this
/// object's lifetime.
class ComApartment {
  public:
    explicit ComApartment(DWORD kind = COINIT_MULTITHREADED)
        : result_(CoInitializeEx(nullptr, kind)) {}
    ~ComApartment() {
        if (SUCCEEDED(result_)) {
            CoUninitialize();
        }
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

    [[nodiscard]] HRESULT Result() const { return result_; }

  private:
    HRESULT result_;
};

/// An in-process object of the platform. Failure kPlatform, with the message `what`.
template <class Interface>
ComPtr<Interface> CreateObject(const CLSID& clsid, const char* what) {
    ComPtr<Interface> object;
    Check(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface),
                           reinterpret_cast<void**>(object.GetAddressOf())),
          what);
    return object;
}

/// Another interface of the same object. Failure kPlatform, with the message `what`, when it has
/// none. Pass `iid` for interfaces whose header does not tie their identifier to the type.
template <class Interface, class Source>
ComPtr<Interface> Query(const ComPtr<Source>& source, const char* what,
                        const IID& iid = __uuidof(Interface)) {
    ComPtr<Interface> object;
    Check(source->QueryInterface(iid, reinterpret_cast<void**>(object.GetAddressOf())), what);
    return object;
}

/// The objects of an enumerator, in order; none for null.
template <class Interface, class Enumerator>
std::vector<ComPtr<Interface>> ItemsOf(const ComPtr<Enumerator>& enumerator) {
    std::vector<ComPtr<Interface>> items;
    ComPtr<Interface> item;
    while (enumerator && enumerator->Next(1, item.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        items.push_back(item);
    }
    return items;
}

}  // namespace nyx::host

#pragma once

/// @file
/// The owner of COM references.

#include <unknwn.h>
#include <wrl/client.h>

#include <type_traits>

namespace nyx {

using Microsoft::WRL::ComPtr;

/// Another interface of the same object; empty when the object is null or has none.
template <class U, class T>
ComPtr<U> As(T* object, REFIID iid = __uuidof(U)) {
    ComPtr<U> other;
    if (object &&
        FAILED(object->QueryInterface(iid, reinterpret_cast<void**>(other.GetAddressOf())))) {
        *other.GetAddressOf() = nullptr;  // a host's object may leave anything there
    }
    return other;
}
template <class U, class T>
ComPtr<U> As(const ComPtr<T>& object, REFIID iid = __uuidof(U)) {
    return As<U>(object.Get(), iid);
}

/// A getter's answer: the value in `*to`, or E_POINTER for null.
template <class T>
[[nodiscard]] HRESULT StoreOut(T* to, const std::type_identity_t<T>& value) {
    if (!to) {
        return E_POINTER;
    }
    *to = value;
    return S_OK;
}

/// Takes over the caller's reference.
template <class T>
ComPtr<T> Adopt(T* object) {
    ComPtr<T> pointer;
    *pointer.GetAddressOf() = object;  // Attach adds a reference in this compiler's version
    return pointer;
}

}  // namespace nyx

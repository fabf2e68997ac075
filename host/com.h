#pragma once

/// @file
/// COM for hosts: the owner of references, and a base class for the host's own objects.

#include <atomic>
#include <new>
#include <utility>

#include "platform/com.h"
#include "platform/dshow.h"

// Ids that the cross compiler's headers do not tie to their interfaces.
__CRT_UUID_DECL(IPinConnection, 0x4a9a62d3, 0x27d4, 0x403d, 0x91, 0xe9, 0x89, 0xf5, 0x40, 0xe5,
                0x55, 0x34)
__CRT_UUID_DECL(IMediaPosition, 0x56a868b2, 0x0ad4, 0x11ce, 0xb0, 0x3a, 0x00, 0x20, 0xaf, 0x0b,
                0xa7, 0x70)

namespace nyx::host {

/// A new object of the host's own, whose constructor leaves one reference for its creator.
template <class T, class... Args>
ComPtr<T> Make(Args&&... args) {
    return Adopt(new T(std::forward<Args>(args)...));
}

/// The number of the host's own objects alive, to find leaked references.
inline constinit std::atomic<long> liveObjects{0};

/// The result of `work`, or E_OUTOFMEMORY when memory runs out: no exception crosses an interface.
template <class Work>
[[nodiscard]] HRESULT Guarded(Work work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

/// `self` as the interface `iid` if that is `I` or one of `More`, else null.
template <class I, class... More, class Self>
void* FindInterface(Self* self, REFIID iid) {
    if (iid == __uuidof(I)) {
        return static_cast<I*>(self);
    }
    if constexpr (sizeof...(More) > 0) {
        return FindInterface<More...>(self, iid);
    } else {
        return nullptr;
    }
}

/// QueryInterface's answer: `found`, an interface of `owner` or null, with a new reference.
[[nodiscard]] inline HRESULT HandOut(void* found, IUnknown* owner, void** object) {
    if (!object) {
        return E_POINTER;
    }
    *object = found;
    if (!found) {
        return E_NOINTERFACE;
    }
    owner->AddRef();
    return S_OK;
}

/// IUnknown for an object of the given interfaces, created with one reference. Counts
/// thread-safely.
template <class Primary, class... More>
class Object : public Primary, public More... {
  public:
    Object() { ++liveObjects; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        auto* const self = static_cast<Primary*>(this);
        return HandOut(iid == IID_IUnknown ? self : Find(iid), self, object);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    /// References held at this moment.
    ULONG References() const { return references_; }

  protected:
    virtual ~Object() { --liveObjects; }
    /// The object as interface `iid`, without a new reference, or null.
    virtual void* Find(REFIID iid) { return FindInterface<Primary, More...>(this, iid); }

  private:
    std::atomic<ULONG> references_{1};
};

}  // namespace nyx::host

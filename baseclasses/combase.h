#pragma once

#include "baseclasses/wxutil.h"
#include "platform/dshow.h"

/// The operations of an object's own identity, beside `IUnknown`'s, which go to an outer object.
/// Has the slots of `IUnknown`, since an inner object is passed out by a cast between the two;
/// hence no virtual destructor, which would move the slots.
struct INonDelegatingUnknown {
    virtual HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID riid, void** ppv) = 0;
    virtual ULONG STDMETHODCALLTYPE NonDelegatingAddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE NonDelegatingRelease() = 0;
};
typedef INonDelegatingUnknown* PNDUNKNOWN;

/// Counts the live objects of the module, which may be unloaded without any.
class CBaseObject {
  public:
    CBaseObject() { InterlockedIncrement(&m_cObjects); }
    ~CBaseObject() { InterlockedDecrement(&m_cObjects); }
    CBaseObject(const CBaseObject&) = delete;
    CBaseObject& operator=(const CBaseObject&) = delete;

    /// Objects alive in this module, over all threads.
    static LONG ObjectsActive() { return m_cObjects; }

  private:
    static inline constinit volatile LONG m_cObjects = 0;
};

/// Adds a reference to `pUnk` and stores it: the last step of a query. `E_POINTER` for null `ppv`.
[[nodiscard]] HRESULT WINAPI GetInterface(LPUNKNOWN pUnk, void** ppv);

/// `IUnknown` of an object of the one interface `I` that is never aggregated. Thread-safe; begins
/// with one reference, and the release of the last one deletes the object.
template <class I>
class CSimpleUnknown : public I {
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
        CheckPointer(ppv, E_POINTER);
        if (riid == IID_IUnknown || riid == __uuidof(I)) {
            return GetInterface(this, ppv);
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override {
        return static_cast<ULONG>(InterlockedIncrement(&m_cRef));
    }
    ULONG STDMETHODCALLTYPE Release() override {
        const LONG left = InterlockedDecrement(&m_cRef);
        if (left == 0) {
            delete this;
        }
        return static_cast<ULONG>(left);
    }

  protected:
    CSimpleUnknown() = default;
    /// A copy has a reference count of its own.
    CSimpleUnknown(const CSimpleUnknown&) {}
    virtual ~CSimpleUnknown() = default;

  private:
    volatile LONG m_cRef = 1;
};

/// The base of the other COM objects here: identity, thread-safe counting, aggregation. An object
/// starts with no reference; the release of the last one deletes it. A derived class writes
/// `DECLARE_IUNKNOWN` and overrides NonDelegatingQueryInterface.
class CUnknown : public INonDelegatingUnknown, public CBaseObject {
  public:
    /// `pUnk` is the outer object or null; it is not AddRef'd.
    CUnknown(LPCTSTR pName, LPUNKNOWN pUnk);
    virtual ~CUnknown() = default;

    /// The outer object, or this one's own identity. Not AddRef'd.
    LPUNKNOWN GetOwner() const { return m_pUnknown; }

    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE NonDelegatingAddRef() override;
    ULONG STDMETHODCALLTYPE NonDelegatingRelease() override;

  protected:
    volatile LONG m_cRef = 0;

  private:
    const LPUNKNOWN m_pUnknown;
};

/// `IUnknown` of a class derived from CUnknown and from interfaces, which goes to the owner.
#define DECLARE_IUNKNOWN                                                         \
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override { \
        return GetOwner()->QueryInterface(riid, ppv);                            \
    }                                                                            \
    ULONG STDMETHODCALLTYPE AddRef() override {                                  \
        return GetOwner()->AddRef();                                             \
    }                                                                            \
    ULONG STDMETHODCALLTYPE Release() override {                                 \
        return GetOwner()->Release();                                            \
    }

#pragma once

#include "platform/dshow.h"

/// Leaves the function with `ret` when `p` is null.
#define CheckPointer(p, ret)  \
    do {                      \
        if ((p) == nullptr) { \
            return (ret);     \
        }                     \
    } while (0)

/// The name that a constructor of this library takes for debugging.
#define NAME(x) TEXT(x)

/// A critical section as an object. The owning thread may lock it again.
class CCritSec {
  public:
    CCritSec() { InitializeCriticalSection(&m_CritSec); }
    ~CCritSec() { DeleteCriticalSection(&m_CritSec); }
    CCritSec(const CCritSec&) = delete;
    CCritSec& operator=(const CCritSec&) = delete;

    void Lock() { EnterCriticalSection(&m_CritSec); }
    void Unlock() { LeaveCriticalSection(&m_CritSec); }

  private:
    CRITICAL_SECTION m_CritSec;
};

/// Holds a critical section until the end of the block.
class CAutoLock {
  public:
    explicit CAutoLock(CCritSec* plock) : m_pLock(plock) { m_pLock->Lock(); }
    ~CAutoLock() { m_pLock->Unlock(); }
    CAutoLock(const CAutoLock&) = delete;
    CAutoLock& operator=(const CAutoLock&) = delete;

  protected:
    CCritSec* m_pLock;
};

/// Copies a string, null as an empty one, into memory that the caller frees with CoTaskMemFree.
/// `E_POINTER`, or `E_OUTOFMEMORY` with a null result.
[[nodiscard]] inline HRESULT WINAPI AMGetWideString(LPCWSTR pszString, LPWSTR* ppszReturn) {
    CheckPointer(ppszReturn, E_POINTER);
    const LPCWSTR source = pszString ? pszString : L"";
    *ppszReturn = static_cast<LPWSTR>(CoTaskMemAlloc((wcslen(source) + 1) * sizeof(WCHAR)));
    CheckPointer(*ppszReturn, E_OUTOFMEMORY);
    wcscpy(*ppszReturn, source);
    return S_OK;
}

/// Releases the interface that `p` holds, if any, and makes `p` null first, so that a call back in
/// does not find it.
template <class I>
void ReleaseInterface(I*& p) {
    I* const held = p;
    p = nullptr;
    if (held) {
        held->Release();
    }
}

/// Stores `p`, null allowed, with a reference of its own in `*copy`.
template <class I>
HRESULT CopyInterface(I* p, I** copy) {
    *copy = p;
    if (p) {
        p->AddRef();
    }
    return S_OK;
}

/// Makes `p` hold `with`, null allowed, in place of what it holds. Adds and releases references.
template <class I>
void ReplaceInterface(I*& p, I* with) {
    I* const held = p;
    if (with) {
        with->AddRef();
    }
    p = with;
    if (held) {
        held->Release();
    }
}

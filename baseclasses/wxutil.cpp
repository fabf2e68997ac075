#include "baseclasses/wxutil.h"

#include <cstring>

HRESULT WINAPI AMGetWideString(LPCWSTR pszString, LPWSTR* ppszReturn) {
    CheckPointer(ppszReturn, E_POINTER);
    const LPCWSTR source = pszString ? pszString : L"";
    const size_t bytes = (wcslen(source) + 1) * sizeof(WCHAR);
    *ppszReturn = static_cast<LPWSTR>(CoTaskMemAlloc(bytes));
    CheckPointer(*ppszReturn, E_OUTOFMEMORY);
    std::memcpy(*ppszReturn, source, bytes);
    return S_OK;
}

#include "source/load_error.h"

#include <windows.h>

#include <oleauto.h>
#include <strmif.h>

namespace nyx::source {

HRESULT WithReason(HRESULT result, const std::string& reason) {
    ICreateErrorInfo* making = nullptr;
    if (reason.empty() || FAILED(CreateErrorInfo(&making))) {
        return result;
    }
    std::wstring text(reason.begin(), reason.end());
    making->SetGUID(IID_IFileSourceFilter);
    making->SetDescription(text.data());
    IErrorInfo* info = nullptr;
    if (SUCCEEDED(making->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)))) {
        SetErrorInfo(0, info);
        info->Release();
    }
    making->Release();
    return result;
}

}  // namespace nyx::source

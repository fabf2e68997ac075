#include "source/load_error.h"

#include <windows.h>

#include <oleauto.h>
#include <strmif.h>

#include "platform/com.h"

namespace nyx::source {

HRESULT WithReason(HRESULT result, const std::string& reason) {
    ComPtr<ICreateErrorInfo> error;
    if (reason.empty() || FAILED(CreateErrorInfo(&error))) {
        return result;
    }
    std::wstring text(reason.begin(), reason.end());
    error->SetGUID(IID_IFileSourceFilter);
    error->SetDescription(text.data());
    SetErrorInfo(0, As<IErrorInfo>(error).Get());
    return result;
}

}  // namespace nyx::source

#include "failure.h"

#include "text.h"

namespace nyx::host {

void Check(HRESULT result, const char* what, ExitCode code) {
    if (FAILED(result)) {
        throw Failure(code, std::string(what) + ": " + ResultText(result));
    }
}

}  // namespace nyx::host

#include "shell/footage_object.h"

#include <new>
#include <utility>

#include "shell/stream_bytes.h"
#include "source/disk_file.h"

namespace nyx::shell {

HRESULT STDMETHODCALLTYPE FootageObject::NonDelegatingQueryInterface(REFIID iid, void** object) {
    if (iid == __uuidof(IInitializeWithStream)) {
        return GetInterface(static_cast<IInitializeWithStream*>(this), object);
    }
    if (iid == __uuidof(IInitializeWithFile)) {
        return GetInterface(static_cast<IInitializeWithFile*>(this), object);
    }
    return CUnknown::NonDelegatingQueryInterface(iid, object);
}

template <class Set>
HRESULT FootageObject::Start(bool isGiven, Set set) try {
    CAutoLock lock(&lock_);
    if (!isGiven) {
        return E_INVALIDARG;
    }
    if (std::exchange(started_, true)) {
        return HRESULT_FROM_WIN32(ERROR_ALREADY_INITIALIZED);
    }
    set();
    return Begin();
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT STDMETHODCALLTYPE FootageObject::Initialize(IStream* stream, DWORD) {
    return Start(stream, [&] { stream_ = stream; });
}

HRESULT STDMETHODCALLTYPE FootageObject::Initialize(LPCWSTR path, DWORD) {
    return Start(path && *path, [&] { path_ = path; });
}

HRESULT FootageObject::OpenBytes(std::unique_ptr<source::ByteSource>* bytes) const {
    if (stream_) {
        *bytes = std::make_unique<StreamBytes>(stream_);
        return S_OK;
    }
    auto file = std::make_unique<source::DiskFile>();
    const HRESULT result = path_.empty() ? E_UNEXPECTED : file->Open(path_.c_str());
    *bytes = std::move(file);
    return result;
}

void FootageObject::CloseFile() {
    stream_.Reset();
    path_.clear();
}

}  // namespace nyx::shell

#include "dv/reference_file.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <tuple>

#include "codecs/fault_guard.h"
#include "media/dv_signals.h"
#include "platform/fourcc.h"
#include "platform/system.h"

namespace nyx {
namespace {

constexpr DWORD kMagic = FourCC("REF ");
constexpr std::size_t kOffsetField = 4;
constexpr std::size_t kPathField = 16;
constexpr std::size_t kChunkLengthField = 4;

/// Without a destructor, since it is read behind the guard.
struct Reference {
    LONGLONG lengthOffset;  ///< of the frame's length in the file, right before the frame
    char path[MAX_PATH];
};

HRESULT ReadReference(ByteSpan sample, Reference* reference) {
    const auto offset = Le32At(sample, kOffsetField);
    const ByteSpan path = Slice(sample, kPathField);
    const BYTE* end = std::find(path.data(), path.data() + path.size(), BYTE{0});
    if (!offset || end == path.data() + path.size()) {
        return E_FAIL;
    }
    const auto length = static_cast<std::size_t>(end - path.data());
    if (length >= sizeof(reference->path)) {
        return HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE);
    }
    std::memcpy(reference->path, path.data(), length + 1);
    reference->lengthOffset = LONGLONG{*offset} + static_cast<LONGLONG>(kChunkLengthField);
    return S_OK;
}

bool IsDv25Frame(DWORD length) {
    return FindDvSignalIf([&](const DvSignal& signal) {
               return signal.fourcc == kQdvc && signal.frameBytes == static_cast<LONG>(length);
           }) != nullptr;
}

}  // namespace

bool IsReferenceSample(ByteSpan sample) {
    bool isReference = false;
    std::ignore = Guarded([&] { isReference = Le32At(sample, 0) == kMagic; });
    return isReference;
}

HRESULT DvReferenceFile::ReadFrame(ByteSpan sample, std::unique_ptr<BYTE[]>* buffer,
                                   DWORD* length) {
    Reference reference;
    HRESULT result = GuardedResult([&] { return ReadReference(sample, &reference); });
    if (FAILED(result)) {
        return result;
    }
    const std::lock_guard hold(lock_);
    result = Open(reference.path);
    if (FAILED(result)) {
        return result;
    }
    LARGE_INTEGER position;
    position.QuadPart = reference.lengthOffset;
    if (!SetFilePointerEx(file_.get(), position, nullptr, FILE_BEGIN)) {
        return LastError();
    }
    BYTE lengthField[4];
    result = ReadExactly(lengthField, sizeof(lengthField));
    if (FAILED(result)) {
        return result;
    }
    const DWORD frameLength = *Le32At(lengthField, 0);
    if (!IsDv25Frame(frameLength)) {
        return E_FAIL;
    }
    std::unique_ptr<BYTE[]> frame(new (std::nothrow) BYTE[frameLength]);
    if (!frame) {
        return E_OUTOFMEMORY;
    }
    result = ReadExactly(frame.get(), frameLength);
    if (SUCCEEDED(result)) {
        *buffer = std::move(frame);
        *length = frameLength;
    }
    return result;
}

HRESULT DvReferenceFile::Open(const char* path) {
    if (file_ && std::strcmp(path_, path) == 0) {
        return S_OK;
    }
    file_.reset();
    std::strcpy(path_, path);
    file_ = AdoptFile(CreateFileA(path_, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    return file_ ? S_OK : LastError();
}

/// A file that ends too early is a failed read, although ReadFile succeeds.
HRESULT DvReferenceFile::ReadExactly(void* buffer, DWORD length) {
    DWORD got = 0;
    if (!ReadFile(file_.get(), buffer, length, &got, nullptr)) {
        return LastError();
    }
    return got == length ? S_OK : HRESULT_FROM_WIN32(ERROR_HANDLE_EOF);
}

}  // namespace nyx

#include "source/splitter.h"

#include <cstring>
#include <new>

#include "platform/com.h"
#include "platform/decoders.h"
#include "source/failures.h"

namespace nyx::source {
namespace {

/// A file that another filter reads.
class ReaderBytes final : public ByteSource {
  public:
    explicit ReaderBytes(ComPtr<IAsyncReader> reader) : reader_(std::move(reader)) {}

    int ReadAt(std::int64_t position, std::span<BYTE> to) noexcept override {
        // A short read does not say how short it is.
        const std::int64_t left = std::max<std::int64_t>(Size() - position, 0);
        const auto count =
            static_cast<LONG>(std::min<std::int64_t>(left, static_cast<std::int64_t>(to.size())));
        const HRESULT read = count > 0 ? reader_->SyncRead(position, count, to.data()) : S_OK;
        return SUCCEEDED(read) ? count : Fail(read);
    }
    std::int64_t Size() noexcept override {
        LONGLONG total = 0, available = 0;
        return SUCCEEDED(reader_->Length(&total, &available)) ? total : -1;
    }
    std::int64_t Milliseconds() noexcept override {
        return static_cast<std::int64_t>(GetTickCount64());
    }

  private:
    const ComPtr<IAsyncReader> reader_;
};

bool Has(const BYTE* at, const char (&code)[5]) {
    return std::memcmp(at, code, 4) == 0;
}

}  // namespace

bool IsAvi(const BYTE* first) {
    return Has(first, "RIFF") && Has(first + 8, "AVI ");
}

/// The types of the atoms that a file may begin with, in the QuickTime File Format.
bool IsMov(const BYTE* first) {
    return Has(first + 4, "ftyp") || Has(first + 4, "moov") || Has(first + 4, "mdat") ||
           Has(first + 4, "wide") || Has(first + 4, "free") || Has(first + 4, "skip");
}

/// A header section's first block of DV, IEC 61834-2, or a sequence header, ISO/IEC 13818-2.
bool IsRaw(const BYTE* first) {
    return std::memcmp(first, "\x1F\x07\0", 3) == 0 || std::memcmp(first, "\0\0\1\xB3", 4) == 0;
}

HRESULT STDMETHODCALLTYPE FootageSplitter::NonDelegatingQueryInterface(REFIID iid, void** object) {
    return iid == IID_IFileSourceFilter || iid == IID_IAMFilterMiscFlags
               ? CBaseFilter::NonDelegatingQueryInterface(iid, object)
               : FootageSource::NonDelegatingQueryInterface(iid, object);
}

/// Opens what a reader reads, once; then only the same reader may be connected again.
HRESULT FootageSplitter::Attach(const ComPtr<IAsyncReader>& reader) noexcept {
    if (!reader || attached_) {
        return reader && attached_ == reader.Get() ? S_OK : VFW_E_NO_TRANSPORT;
    }
    try {
        auto bytes = std::make_unique<ReaderBytes>(reader);
        BYTE first[12] = {};
        if (bytes->ReadAt(0, first) != sizeof(first) || !matches_(first)) {
            return VFW_E_TYPE_NOT_ACCEPTED;
        }
        const HRESULT result = OpenBytes(std::move(bytes), L"");
        attached_ = SUCCEEDED(result) ? reader.Get() : nullptr;
        return result;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT FootageSplitter::Accept(const FootageFile& file) const {
    const auto& video = file.streams().front().video;
    const CLSID* decoder = video ? DecoderOf(video->fourcc) : nullptr;
    ComPtr<IUnknown> made;
    return decoder && SUCCEEDED(CoCreateInstance(*decoder, nullptr, CLSCTX_INPROC_SERVER,
                                                 IID_PPV_ARGS(&made)))
               ? S_OK
               : kUnsupportedStream;
}

}  // namespace nyx::source

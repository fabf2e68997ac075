/// Media types from a host, with format blocks of any form, length and content: negotiation reads
/// nothing outside the block, and what it offers for an accepted type it accepts itself.

#include <cstdint>
#include <limits>
#include <vector>

#include "codecs/ten_bit_codec.h"
#include "filters/buffer_request.h"
#include "filters/decoder_negotiation.h"
#include "filters/frame_parameters.h"
#include "filters/nyx_util.h"
#include "fuzz/byte_source.h"
#include "platform/fourcc.h"

namespace {

using nyx::fuzz::ByteSource;
using nyx::fuzz::Require;

constexpr DWORD kLayouts[] = {nyx::FourCC("Q210"), nyx::FourCC("Q210"), nyx::FourCC("YUY2"),
                              BI_RGB};

const GUID kFormats[] = {FORMAT_VideoInfo2, FORMAT_VideoInfo, GUID_NULL};
const GUID kSubtypes[] = {MEDIASUBTYPE_YUY2, MEDIASUBTYPE_RGB24, MEDIASUBTYPE_RGB32,
                          MEDIASUBTYPE_ARGB32, GUID_NULL};

/// A type and the memory of its block, which ends where the block does.
struct AnyType {
    explicit AnyType(ByteSource& source) {
        type.subtype = source.PickValueInArray(kSubtypes);
        type.formattype = source.PickValueInArray(kFormats);
        const bool whole = source.ConsumeBool();
        const std::size_t length =
            whole ? sizeof(VIDEOINFOHEADER2) : source.ConsumeIntegralInRange<std::size_t>(0, 128);
        block = source.ConsumeBytes<BYTE>(length);
        block.resize(length);
        block.shrink_to_fit();
        type.cbFormat = static_cast<ULONG>(block.size());
        type.pbFormat = block.empty() ? nullptr : block.data();
        BITMAPINFOHEADER* header = nyx::NyxUtil::FindHeader(type);
        if (header && source.ConsumeBool()) {
            *header = nyx::fuzz::AnyHeader(source, kLayouts, std::size(kLayouts));
        }
    }

    AM_MEDIA_TYPE type = {};
    std::vector<BYTE> block;
};

/// An allocator that grants what it likes.
class Granter : public IMemAllocator {
  public:
    explicit Granter(LONG size) : size_(size) {}
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE SetProperties(ALLOCATOR_PROPERTIES* request,
                                            ALLOCATOR_PROPERTIES* actual) override {
        asked = request->cbBuffer;
        *actual = *request;
        actual->cbBuffer = size_;
        return S_OK;
    }
    long asked = 0;

  private:
    LONG size_;
};

/// Every type that is offered for an accepted stream is one that the filter itself takes.
void CheckOffers(nyx::ICodec& codec, const AM_MEDIA_TYPE& input) {
    const bool accepted = nyx::CheckDecoderTypes(codec, input, nullptr) == S_OK;
    for (int position = -1; position <= 6; ++position) {
        CMediaType offered;
        const HRESULT result = nyx::OfferDecoderType(codec, input, position, &offered);
        if (accepted && position >= 0 && position < 6) {
            Require(result == S_OK && nyx::CheckDecoderTypes(codec, input, &offered) == S_OK);
        }
    }
}

void CheckBuffer(const AM_MEDIA_TYPE& output, LONG granted) {
    Granter allocator(granted);
    ALLOCATOR_PROPERTIES properties = {};
    const HRESULT result = nyx::RequestDecoderBuffer(output, &allocator, &properties);
    const BITMAPINFOHEADER* header = nyx::NyxUtil::FindHeader(output);
    Require(SUCCEEDED(result) ? header && allocator.asked <= granted : true);
    Require(header || FAILED(result));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource source(data, size);
    const AnyType input(source);
    const AnyType output(source);
    nyx::CTenBitCodec codec;
    CheckOffers(codec, input.type);
    if (nyx::CheckDecoderTypes(codec, input.type, &output.type) == S_OK) {
        Require(nyx::NyxUtil::FindHeader(output.type) != nullptr);
    }
    CheckBuffer(output.type, nyx::fuzz::AnyLong(source));

    const std::vector<BYTE> frame = source.ConsumeRemainingBytes<BYTE>();
    nyx::FrameParameters parameters;
    nyx::ReadFrameParameters(codec, input.type, nyx::ByteSpan(frame.data(), frame.size()),
                             &parameters);
    HRESULT copied = S_OK;
    const CMediaType copy(input.type, &copied);
    Require(copied == S_OK && copy.MatchesPartial(&copy));
    return 0;
}

#include "tests/baseclasses/passthrough.h"

#include <cstring>

namespace nyx::test {
namespace {

constexpr GUID kFormat = {0x0B9B1C62, 0x8A3F, 0x4C56, {0x9D, 1, 2, 3, 4, 5, 6, 7}};

const char* NameOf(PIN_DIRECTION direction) {
    return direction == PINDIR_INPUT ? "in" : "out";
}

}  // namespace

MediaType Numbered(DWORD value) {
    MediaType type;
    type->majortype = MEDIATYPE_Video;
    type->formattype = kFormat;
    type.ResizeFormat(sizeof(value));
    std::memcpy(type->pbFormat, &value, sizeof(value));
    return type;
}

DWORD NumberOf(const AM_MEDIA_TYPE& type) {
    DWORD value = 0;
    if (type.formattype == kFormat && type.cbFormat == sizeof(value)) {
        std::memcpy(&value, type.pbFormat, sizeof(value));
    }
    return value;
}

HRESULT Passthrough::Transform(IMediaSample* in, IMediaSample* out) {
    log.push_back("Transform");
    if (onTransform) {
        onTransform();
    }
    BYTE* source = nullptr;
    BYTE* target = nullptr;
    in->GetPointer(&source);
    out->GetPointer(&target);
    std::memcpy(target, source, static_cast<std::size_t>(in->GetActualDataLength()));
    out->SetActualDataLength(in->GetActualDataLength());
    return transformResult;
}

HRESULT Passthrough::CheckInputType(const CMediaType* type) {
    const DWORD number = NumberOf(*type);
    return number != 0 && number != 13 ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT Passthrough::CheckTransform(const CMediaType* in, const CMediaType* out) {
    const HRESULT hr = CheckInputType(in);
    return hr == S_OK ? CheckInputType(out) : hr;
}

HRESULT Passthrough::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) {
    if (FAILED(decideResult)) {
        return decideResult;
    }
    request->cBuffers = 1;
    request->cbBuffer = 64;
    ALLOCATOR_PROPERTIES actual{};
    return allocator->SetProperties(request, &actual);
}

HRESULT Passthrough::GetMediaType(int position, CMediaType* type) {
    if (position > 2) {
        return VFW_S_NO_MORE_ITEMS;
    }
    return type->Set(*Numbered(static_cast<DWORD>(position) + 1).get());
}

HRESULT Passthrough::StartStreaming() {
    log.push_back("Start");
    return SUCCEEDED(startResult) ? CVideoTransformFilter::StartStreaming() : startResult;
}

HRESULT Passthrough::StopStreaming() {
    log.push_back("Stop");
    return S_OK;
}

HRESULT Passthrough::SetMediaType(PIN_DIRECTION direction, const CMediaType*) {
    log.push_back(std::string("SetMediaType ") + NameOf(direction));
    return S_OK;
}

HRESULT Passthrough::CompleteConnect(PIN_DIRECTION direction, IPin*) {
    log.push_back(std::string("Complete ") + NameOf(direction));
    return completeResult;
}

HRESULT Passthrough::BreakConnect(PIN_DIRECTION direction) {
    log.push_back(std::string("Break ") + NameOf(direction));
    return S_OK;
}

HRESULT Passthrough::AlterQuality(Quality quality) {
    return handlesQuality ? CVideoTransformFilter::AlterQuality(quality)
                          : CTransformFilter::AlterQuality(quality);
}

PassthroughTest::PassthroughTest() {
    filter = ComPtr<Passthrough>(new Passthrough);
    EXPECT_EQ(filter->FindPin(L"In", input.Put()), S_OK);
    EXPECT_EQ(filter->FindPin(L"Out", output.Put()), S_OK);
    filter->JoinFilterGraph(graph.get(), L"passthrough");
}

PassthroughTest::~PassthroughTest() {
    filter->Stop();
    input->Disconnect();
    source->out.Disconnect();
    sink->in.Disconnect();
    filter->JoinFilterGraph(nullptr, nullptr);
    input.Reset();
    output.Reset();
    EXPECT_EQ(filter.Reset(), 0u) << "somebody still holds the filter";
    EXPECT_EQ(CBaseObject::ObjectsActive(), 0);
    EXPECT_EQ(source.Reset(), 0u);
    EXPECT_EQ(sink.Reset(), 0u);
}

void PassthroughTest::ConnectInput(DWORD number) {
    ASSERT_EQ(source->out.Connect(input.get(), Numbered(number).get()), S_OK);
}

void PassthroughTest::Connect(DWORD number) {
    ConnectInput(number);
    ASSERT_EQ(output->Connect(sink->pin(), Numbered(number).get()), S_OK);
    filter->log.clear();
}

}  // namespace nyx::test

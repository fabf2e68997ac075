#include "tests/support/rig.h"

#include <stdexcept>

#include "tests/support/guard.h"

namespace nyx::test {
ComPtr<IMediaSample> MakeSample(const Sample& sample, const Overrides& overrides) {
    ++progress;
    static const ComPtr<IMemAllocator> pool = NewAllocator(64);
    pool->Commit();
    ComPtr<IMediaSample> real;
    pool->GetBuffer(&real, nullptr, nullptr, 0);
    const auto flag = [](bool set, DWORD bit) { return set ? bit : 0; };
    AM_SAMPLE2_PROPERTIES record = {};
    record.cbData = offsetof(AM_SAMPLE2_PROPERTIES, dwStreamId);
    record.dwTypeSpecificFlags = sample.typeFlags;
    record.dwSampleFlags = flag(sample.syncPoint, AM_SAMPLE_SPLICEPOINT) |
                           flag(sample.preroll, AM_SAMPLE_PREROLL) |
                           flag(sample.discontinuity, AM_SAMPLE_DATADISCONTINUITY) |
                           flag(sample.start.has_value(), AM_SAMPLE_TIMEVALID) |
                           flag(sample.start && sample.stop, AM_SAMPLE_STOPVALID);
    record.tStart = sample.start.value_or(0);
    record.tStop = sample.stop.value_or(0);
    As<IMediaSample2>(real)->SetProperties(record.cbData, reinterpret_cast<BYTE*>(&record));
    LONGLONG from = sample.mediaStart.value_or(0), to = from + 1;
    real->SetMediaTime(sample.mediaStart ? &from : nullptr, &to);
    real->SetMediaType(sample.type ? const_cast<MediaType*>(&*sample.type) : nullptr);

    const auto memory = std::make_shared<GuardedMemory>(sample.bytes);
    return Make<HostileSample>(real.Get(), overrides, std::shared_ptr<BYTE>(memory, memory->data()),
                               static_cast<LONG>(sample.bytes.size()) - overrides.behind);
}

Sample ReadSample(IMediaSample* sample) {
    Sample read;
    BYTE* data = nullptr;
    if (SUCCEEDED(sample->GetPointer(&data)) && data) {
        read.bytes.assign(data, data + sample->GetActualDataLength());
    }
    LONGLONG start = 0, stop = 0;
    const HRESULT timed = sample->GetTime(&start, &stop);
    read.start = SUCCEEDED(timed) ? std::optional(start) : std::nullopt;
    read.stop = timed == S_OK ? std::optional(stop) : std::nullopt;
    const HRESULT mediaTimed = sample->GetMediaTime(&start, &stop);
    read.mediaStart = SUCCEEDED(mediaTimed) ? std::optional(start) : std::nullopt;
    read.syncPoint = sample->IsSyncPoint() == S_OK;
    read.preroll = sample->IsPreroll() == S_OK;
    read.discontinuity = sample->IsDiscontinuity() == S_OK;
    AM_MEDIA_TYPE* type = nullptr;
    if (sample->GetMediaType(&type) == S_OK) {
        read.type = MediaType::Adopt(type);
    }
    if (const auto sample2 = As<IMediaSample2>(sample)) {
        AM_SAMPLE2_PROPERTIES record{};
        sample2->GetProperties(sizeof(record), reinterpret_cast<BYTE*>(&record));
        read.typeFlags = record.dwTypeSpecificFlags;
        EXPECT_EQ((record.dwSampleFlags & AM_SAMPLE_TYPECHANGED) != 0, read.type.has_value());
    }
    return read;
}

Rig::Rig(const CatalogueRow& filterRow, const Stream& inputStream, const ComPtr<IBaseFilter>& own)
    : row(filterRow), stream(inputStream), filter(own ? own : Module().Create(filterRow.clsid)) {
    ++progress;
    if (!filter || filter->FindPin(L"In", &input) != S_OK ||
        filter->FindPin(L"Out", &output) != S_OK) {
        throw std::runtime_error(std::string("cannot make ") + row.name);
    }
    transport = As<IMemInputPin>(input);
    filter->JoinFilterGraph(graph.Get(), L"under test");
}

Rig::~Rig() {
    filter->Stop();
    Disconnect();
    filter->JoinFilterGraph(nullptr, nullptr);
}

}  // namespace nyx::test

#include "tests/support/test_sample.h"

#include <algorithm>
#include <cstring>

#include "tests/support/com_ptr.h"

namespace nyx::test {

TestSample::TestSample(const SampleProperties& properties, SampleBehaviour behaviour)
    : memory_(properties.bytes.size()),
      actualLength_(static_cast<LONG>(properties.bytes.size())),
      properties_(properties),
      behaviour_(behaviour) {
    std::copy(properties.bytes.begin(), properties.bytes.end(), memory_.data());
}

TestSample::TestSample(std::size_t size, BYTE fill, SampleBehaviour behaviour)
    : memory_(size, fill), actualLength_(static_cast<LONG>(size)), behaviour_(behaviour) {
    properties_.syncPoint = false;
}

void* TestSample::Find(REFIID iid) {
    if (iid == IID_IMediaSample) {
        return static_cast<IMediaSample*>(this);
    }
    return behaviour_.offersSample2 ? TestObject::Find(iid) : nullptr;
}

HRESULT TestSample::GetPointer(BYTE** buffer) {
    if (behaviour_.readOnlyMemory) {
        memory_.Protect();
    }
    *buffer = behaviour_.nullPointer ? nullptr : memory_.data();
    return behaviour_.getPointerResult;
}

HRESULT TestSample::GetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) {
    if (!properties_.start) {
        return VFW_E_SAMPLE_TIME_NOT_SET;
    }
    *start = *properties_.start;
    *stop = properties_.stop.value_or(*start + 1);
    return properties_.stop ? S_OK : VFW_S_NO_STOP_TIME;
}

HRESULT TestSample::SetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) {
    properties_.start.reset();
    properties_.stop.reset();
    if (start) {
        properties_.start = *start;
        if (stop) {
            properties_.stop = *stop;
        }
    }
    return S_OK;
}

HRESULT TestSample::SetActualDataLength(LONG length) {
    if (SUCCEEDED(behaviour_.setActualDataLengthResult)) {
        actualLength_ = length;
    }
    return behaviour_.setActualDataLengthResult;
}

HRESULT TestSample::GetMediaType(AM_MEDIA_TYPE** type) {
    *type = properties_.type ? NewType(*properties_.type->get()) : nullptr;
    return *type ? S_OK : S_FALSE;
}

HRESULT TestSample::SetMediaType(AM_MEDIA_TYPE* type) {
    properties_.type.reset();
    if (type) {
        properties_.type.emplace(*type);
    }
    return S_OK;
}

HRESULT TestSample::GetMediaTime(LONGLONG* start, LONGLONG* stop) {
    if (!properties_.mediaTimes) {
        return VFW_E_MEDIA_TIME_NOT_SET;
    }
    *start = properties_.mediaTimes->start;
    *stop = properties_.mediaTimes->stop;
    return S_OK;
}

HRESULT TestSample::SetMediaTime(LONGLONG* start, LONGLONG* stop) {
    properties_.mediaTimes.reset();
    if (start && stop) {
        properties_.mediaTimes = Interval{*start, *stop};
    }
    return S_OK;
}

AM_SAMPLE2_PROPERTIES TestSample::Record() {
    AM_SAMPLE2_PROPERTIES record{};
    record.cbData = sizeof(record);
    record.dwTypeSpecificFlags = properties_.typeSpecificFlags;
    const auto flag = [&](bool set, DWORD bit) { record.dwSampleFlags |= set ? bit : 0; };
    flag(properties_.syncPoint, AM_SAMPLE_SPLICEPOINT);
    flag(properties_.preroll, AM_SAMPLE_PREROLL);
    flag(properties_.discontinuity, AM_SAMPLE_DATADISCONTINUITY);
    flag(properties_.type || properties_.typeChanged, AM_SAMPLE_TYPECHANGED);
    flag(properties_.start.has_value(), AM_SAMPLE_TIMEVALID);
    flag(properties_.start && properties_.stop, AM_SAMPLE_STOPVALID);
    record.lActual = actualLength_;
    record.tStart = properties_.start.value_or(0);
    record.tStop = properties_.stop.value_or(0);
    record.pMediaType = properties_.type ? properties_.type->get() : nullptr;
    record.pbBuffer = memory_.data();
    record.cbBuffer = GetSize();
    return record;
}

HRESULT TestSample::GetProperties(DWORD size, BYTE* properties) {
    if (!properties) {
        return E_POINTER;
    }
    const AM_SAMPLE2_PROPERTIES record = Record();
    std::memcpy(properties, &record, std::min<std::size_t>(size, sizeof(record)));
    return S_OK;
}

HRESULT TestSample::SetProperties(DWORD size, const BYTE* properties) {
    if (!properties) {
        return E_POINTER;
    }
    AM_SAMPLE2_PROPERTIES record = Record();
    std::memcpy(&record, properties, std::min<std::size_t>(size, sizeof(record)));
    const auto has = [&](DWORD bit) { return (record.dwSampleFlags & bit) != 0; };
    properties_.typeSpecificFlags = record.dwTypeSpecificFlags;
    properties_.syncPoint = has(AM_SAMPLE_SPLICEPOINT);
    properties_.preroll = has(AM_SAMPLE_PREROLL);
    properties_.discontinuity = has(AM_SAMPLE_DATADISCONTINUITY);
    SetTime(has(AM_SAMPLE_TIMEVALID) ? &record.tStart : nullptr,
            has(AM_SAMPLE_STOPVALID) ? &record.tStop : nullptr);
    properties_.typeChanged = has(AM_SAMPLE_TYPECHANGED);
    if (has(AM_SAMPLE_TYPECHANGED) && record.pMediaType && size == sizeof(record)) {
        typeHandedBack_ |= properties_.type && record.pMediaType == properties_.type->get();
        const MediaType type(*record.pMediaType);
        properties_.type = type;
    } else if (!has(AM_SAMPLE_TYPECHANGED)) {
        properties_.type.reset();
    }
    return SetActualDataLength(record.lActual);
}

SampleProperties ReadSample(IMediaSample* sample) {
    SampleProperties read;
    BYTE* data = nullptr;
    if (SUCCEEDED(sample->GetPointer(&data)) && data) {
        read.bytes.assign(data, data + sample->GetActualDataLength());
    }
    Interval time;
    const HRESULT timed = sample->GetTime(&time.start, &time.stop);
    if (SUCCEEDED(timed)) {
        read.start = time.start;
    }
    if (timed == S_OK) {
        read.stop = time.stop;
    }
    Interval media;
    if (SUCCEEDED(sample->GetMediaTime(&media.start, &media.stop))) {
        read.mediaTimes = media;
    }
    read.syncPoint = sample->IsSyncPoint() == S_OK;
    read.preroll = sample->IsPreroll() == S_OK;
    read.discontinuity = sample->IsDiscontinuity() == S_OK;
    AM_MEDIA_TYPE* type = nullptr;
    if (sample->GetMediaType(&type) == S_OK) {
        read.type.emplace(*type);
        DeleteType(type);
    }
    if (const auto sample2 = ComPtr<IMediaSample>(sample).As<IMediaSample2>()) {
        AM_SAMPLE2_PROPERTIES record{};
        sample2->GetProperties(sizeof(record), reinterpret_cast<BYTE*>(&record));
        read.typeSpecificFlags = record.dwTypeSpecificFlags;
        read.typeChanged = (record.dwSampleFlags & AM_SAMPLE_TYPECHANGED) != 0;
    }
    return read;
}

}  // namespace nyx::test

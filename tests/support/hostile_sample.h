#pragma once

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "tests/support/host.h"

namespace nyx::test {

/// The answers of a foreign sample that differ from those of the platform's.
struct Overrides {
    bool sample2 = true;  ///< whether it has IMediaSample2
    HRESULT pointerResult = S_OK;
    bool nullPointer = false;
    HRESULT setLengthResult = S_OK, typeResult = S_OK;
    std::optional<LONG> length{};  ///< claimed instead of the actual data length
    LONG behind = 0;               ///< bytes of the memory, at its end, that are not the sample's
};

/// A platform's sample with memory of the suite's own and some answers overridden.
class HostileSample : public Object<IMediaSample2> {
  public:
    /// Whether SetProperties ever got the sample's own type, which the platform's samples may free
    /// before they copy it.
    static inline bool typeHandedBack = false;

    HostileSample(IMediaSample* real, const Overrides& overrides, std::shared_ptr<BYTE> data,
                  LONG size)
        : real_(real), overrides_(overrides), data_(data), size_(size) {}
    ~HostileSample() override { real_->SetMediaType(nullptr); }

    STDMETHODIMP GetPointer(BYTE** data) override {
        *data = overrides_.nullPointer ? nullptr : data_.get();
        return overrides_.pointerResult;
    }
    STDMETHODIMP_(LONG) GetSize() override { return size_; }
    STDMETHODIMP_(LONG) GetActualDataLength() override {
        return overrides_.length.value_or(length_);
    }
    STDMETHODIMP SetActualDataLength(LONG length) override {
        length_ = overrides_.setLengthResult ? length_ : length;
        return overrides_.setLengthResult;
    }
    STDMETHODIMP GetProperties(DWORD size, BYTE* properties) override {
        AM_SAMPLE2_PROPERTIES record = Record();
        record.pbBuffer = data_.get();
        record.cbBuffer = GetSize();
        record.lActual = GetActualDataLength();
        std::memcpy(properties, &record, std::min<std::size_t>(size, sizeof(record)));
        return S_OK;
    }
    STDMETHODIMP SetProperties(DWORD size, const BYTE* properties) override {
        AM_SAMPLE2_PROPERTIES record = Record();
        const AM_MEDIA_TYPE* const own = record.pMediaType;
        std::memcpy(&record, properties, std::min<std::size_t>(size, sizeof(record)));
        SetActualDataLength(record.lActual);
        typeHandedBack |= own && size == sizeof(record) && record.pMediaType == own;
        if (record.dwSampleFlags & AM_SAMPLE_TYPECHANGED && record.pMediaType) {
            MediaType type(*record.pMediaType);
            real_->SetMediaType(&type);
        }
        // Up to the type: the runtime's samples would keep the caller's pointer to it.
        return As<IMediaSample2>(real_)->SetProperties(offsetof(AM_SAMPLE2_PROPERTIES, pMediaType),
                                                       reinterpret_cast<BYTE*>(&record));
    }

    using Time = LONGLONG;
    STDMETHODIMP GetTime(Time* from, Time* to) override { return real_->GetTime(from, to); }
    STDMETHODIMP SetTime(Time* from, Time* to) override { return real_->SetTime(from, to); }
    STDMETHODIMP GetMediaTime(Time* a, Time* b) override { return real_->GetMediaTime(a, b); }
    STDMETHODIMP SetMediaTime(Time* a, Time* b) override { return real_->SetMediaTime(a, b); }
    STDMETHODIMP GetMediaType(AM_MEDIA_TYPE** type) override {
        return overrides_.typeResult ? overrides_.typeResult : real_->GetMediaType(type);
    }
    STDMETHODIMP SetMediaType(AM_MEDIA_TYPE* type) override { return real_->SetMediaType(type); }
    STDMETHODIMP IsSyncPoint() override { return real_->IsSyncPoint(); }
    STDMETHODIMP SetSyncPoint(BOOL set) override { return real_->SetSyncPoint(set); }
    STDMETHODIMP IsPreroll() override { return real_->IsPreroll(); }
    STDMETHODIMP SetPreroll(BOOL set) override { return real_->SetPreroll(set); }
    STDMETHODIMP IsDiscontinuity() override { return real_->IsDiscontinuity(); }
    STDMETHODIMP SetDiscontinuity(BOOL set) override { return real_->SetDiscontinuity(set); }

  protected:
    void* Find(REFIID iid) override {
        if (iid == IID_IMediaSample) {
            return static_cast<IMediaSample*>(this);
        }
        return overrides_.sample2 ? Object::Find(iid) : nullptr;
    }

  private:
    AM_SAMPLE2_PROPERTIES Record() {
        AM_SAMPLE2_PROPERTIES record = {};
        As<IMediaSample2>(real_)->GetProperties(sizeof(record), reinterpret_cast<BYTE*>(&record));
        return record;
    }

    const ComPtr<IMediaSample> real_;
    const Overrides overrides_;
    const std::shared_ptr<BYTE> data_;
    const LONG size_;
    LONG length_ = size_;
};

/// A platform's allocator, with one byte a sample: the memory is the suite's.
inline ComPtr<IMemAllocator> NewAllocator(LONG buffers) {
    ComPtr<IMemAllocator> allocator;
    CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER, IID_IMemAllocator,
                     &allocator);
    ALLOCATOR_PROPERTIES properties = {buffers, 1, 1, 0};
    allocator->SetProperties(&properties, &properties);
    return allocator;
}

/// A downstream allocator that records requests and grants what a test sets. Its buffers are one
/// piece of memory with margins around it, filled with kUnwritten for each request.
class HostileAllocator : public Object<IMemAllocator> {
  public:
    static constexpr BYTE kUnwritten = 0xA5;
    static constexpr std::size_t kMargin = 1 << 16;  // and a multiple of 16

    std::optional<ALLOCATOR_PROPERTIES> granted;  ///< instead of the request
    HRESULT setPropertiesResult = S_OK;
    Overrides overrides;
    /// Bytes by which a buffer is shorter than granted, and by which it is off an aligned address.
    LONG shorter = 0, misaligned = 0;
    std::optional<MediaType> nextType;  ///< attached to the next buffer only
    DWORD protection = PAGE_READWRITE;  ///< of the buffers' memory from that byte on
    std::size_t protectedFrom = 0;
    ALLOCATOR_PROPERTIES requested{};
    DWORD flags = 0;  ///< of the request for the last buffer

    /// The protection of the last page of the last buffer.
    DWORD Protection() const {
        MEMORY_BASIC_INFORMATION region = {};
        VirtualQuery(Data() + size_ - 1, &region, sizeof(region));
        return region.Protect;
    }
    /// The last buffer, and whether it and its margins are unchanged.
    std::vector<BYTE> Buffer() const { return {Data(), Data() + size_}; }
    bool IsUntouched() const { return Unwritten(Data(), Data() + size_); }
    bool MarginsAreUntouched() const {
        return Unwritten(room_.get(), Data()) && Unwritten(Data() + size_, room_.get() + roomSize_);
    }

    STDMETHODIMP SetProperties(ALLOCATOR_PROPERTIES* request,
                               ALLOCATOR_PROPERTIES* actual) override {
        requested = *request;
        properties_ = granted.value_or(*request);
        properties_.cbBuffer = std::abs(properties_.cbBuffer);
        real_ = NewAllocator(std::max(properties_.cBuffers, 1L));
        *actual = properties_;
        return setPropertiesResult;
    }
    STDMETHODIMP GetProperties(ALLOCATOR_PROPERTIES* p) override {
        *p = properties_;
        return S_OK;
    }
    STDMETHODIMP Commit() override { return real_->Commit(); }
    STDMETHODIMP Decommit() override { return real_->Decommit(); }
    STDMETHODIMP ReleaseBuffer(IMediaSample*) override { return E_NOTIMPL; }
    STDMETHODIMP GetBuffer(IMediaSample** buffer, REFERENCE_TIME* start, REFERENCE_TIME* stop,
                           DWORD asked) override {
        flags = asked;
        *buffer = nullptr;
        ComPtr<IMediaSample> real;
        if (const HRESULT result = real_->GetBuffer(&real, start, stop, asked)) {
            return result;
        }
        size_ = static_cast<std::size_t>(properties_.cbBuffer - shorter);
        roomSize_ = 2 * kMargin + static_cast<std::size_t>(properties_.cbBuffer);
        room_.reset(
            static_cast<BYTE*>(VirtualAlloc(nullptr, roomSize_, MEM_COMMIT, PAGE_READWRITE)),
            [](BYTE* room) { VirtualFree(room, 0, MEM_RELEASE); });
        std::fill_n(room_.get(), roomSize_, kUnwritten);
        DWORD old = 0;
        VirtualProtect(room_.get() + kMargin + protectedFrom, size_, protection, &old);
        real->SetMediaType(nextType ? &*nextType : nullptr);
        nextType.reset();
        *buffer = new HostileSample(real.Get(), overrides, std::shared_ptr<BYTE>(room_, Data()),
                                    static_cast<LONG>(size_));
        return S_OK;
    }

  private:
    BYTE* Data() const { return room_.get() + kMargin + misaligned; }
    static bool Unwritten(const BYTE* from, const BYTE* to) {
        return std::all_of(from, to, [](BYTE byte) { return byte == kUnwritten; });
    }

    ComPtr<IMemAllocator> real_ = NewAllocator(1);
    ALLOCATOR_PROPERTIES properties_{};
    std::shared_ptr<BYTE> room_;
    std::size_t roomSize_ = 0, size_ = 0;
};

}  // namespace nyx::test

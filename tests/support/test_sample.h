#pragma once

#include <mutex>
#include <optional>
#include <vector>

#include "tests/support/guarded_memory.h"
#include "tests/support/media_type.h"
#include "tests/support/test_object.h"

namespace nyx::test {

/// The two ends of an interval, in 100-ns units or in media units.
struct Interval {
    LONGLONG start = 0;
    LONGLONG stop = 0;
    bool operator==(const Interval& o) const { return start == o.start && stop == o.stop; }
};

/// The properties of one sample, as a source sets them and as a sink finds them.
struct SampleProperties {
    std::vector<BYTE> bytes;
    std::optional<LONGLONG> start;
    std::optional<LONGLONG> stop;  ///< counts only together with `start`
    std::optional<Interval> mediaTimes;
    bool syncPoint = true;
    bool preroll = false;
    bool discontinuity = false;
    DWORD typeSpecificFlags = 0;
    std::optional<MediaType> type;
    bool typeChanged = false;  ///< the flag that comes with a type, by IMediaSample2 alone
};

/// What a foreign sample object may do differently from the platform's.
struct SampleBehaviour {
    bool offersSample2 = true;
    HRESULT getPointerResult = S_OK;
    bool nullPointer = false;
    HRESULT setActualDataLengthResult = S_OK;
    bool readOnlyMemory = false;
    std::optional<LONG> claimedLength{};  ///< instead of the actual data length
};

/// A media sample of the suite's own. Its memory ends at an inaccessible page.
class TestSample : public TestObject<IMediaSample2> {
  public:
    /// A sample to push: holds `properties.bytes`.
    explicit TestSample(const SampleProperties& properties, SampleBehaviour behaviour = {});
    /// An empty buffer of `size` bytes, each of them `fill`.
    TestSample(std::size_t size, BYTE fill, SampleBehaviour behaviour = {});

    SampleProperties& properties() { return properties_; }
    const GuardedMemory& memory() const { return memory_; }
    /// True when SetProperties was given the sample's own type. The platform's samples free their
    /// type before they copy the new one, which would then be gone.
    bool typeHandedBack() const { return typeHandedBack_; }

    HRESULT STDMETHODCALLTYPE GetPointer(BYTE** buffer) override;
    LONG STDMETHODCALLTYPE GetSize() override { return static_cast<LONG>(memory_.size()); }
    HRESULT STDMETHODCALLTYPE GetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) override;
    HRESULT STDMETHODCALLTYPE SetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) override;
    HRESULT STDMETHODCALLTYPE IsSyncPoint() override {
        return properties_.syncPoint ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE SetSyncPoint(BOOL set) override {
        properties_.syncPoint = set;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE IsPreroll() override { return properties_.preroll ? S_OK : S_FALSE; }
    HRESULT STDMETHODCALLTYPE SetPreroll(BOOL set) override {
        properties_.preroll = set;
        return S_OK;
    }
    LONG STDMETHODCALLTYPE GetActualDataLength() override {
        return behaviour_.claimedLength.value_or(actualLength_);
    }
    HRESULT STDMETHODCALLTYPE SetActualDataLength(LONG length) override;
    HRESULT STDMETHODCALLTYPE GetMediaType(AM_MEDIA_TYPE** type) override;
    HRESULT STDMETHODCALLTYPE SetMediaType(AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE IsDiscontinuity() override {
        return properties_.discontinuity ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE SetDiscontinuity(BOOL set) override {
        properties_.discontinuity = set;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetMediaTime(LONGLONG* start, LONGLONG* stop) override;
    HRESULT STDMETHODCALLTYPE SetMediaTime(LONGLONG* start, LONGLONG* stop) override;
    HRESULT STDMETHODCALLTYPE GetProperties(DWORD size, BYTE* properties) override;
    HRESULT STDMETHODCALLTYPE SetProperties(DWORD size, const BYTE* properties) override;

  protected:
    void* Find(REFIID iid) override;

  private:
    AM_SAMPLE2_PROPERTIES Record();

    GuardedMemory memory_;
    LONG actualLength_;
    SampleProperties properties_;
    SampleBehaviour behaviour_;
    bool typeHandedBack_ = false;
};

/// Everything a sink can read from any sample, its bytes included.
SampleProperties ReadSample(IMediaSample* sample);

}  // namespace nyx::test

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <optional>
#include <semaphore>
#include <thread>
#include <vector>

#include "host/single_pin_filter.h"
#include "tests/support/catalogue.h"
#include "tests/support/hostile_sample.h"

namespace nyx::test {

/// COM for the whole program, its other threads included.
inline const HRESULT prepared = CoInitializeEx(nullptr, COINIT_MULTITHREADED);

/// A sample as a source sets it and as a sink reads it. Times in 100-ns units.
struct Sample {
    std::vector<BYTE> bytes;
    std::optional<LONGLONG> start{};
    std::optional<LONGLONG> stop{};  ///< counts only together with `start`
    std::optional<LONGLONG> mediaStart{};
    bool syncPoint = true, preroll = false, discontinuity = false;
    DWORD typeFlags = 0;  ///< the type-specific ones
    std::optional<MediaType> type{};
};

/// A media sample object; its memory ends at an inaccessible page.
ComPtr<IMediaSample> MakeSample(const Sample& sample, const Overrides& overrides = {});
/// Everything that can be read from any sample.
Sample ReadSample(IMediaSample* sample);

/// What a sink has received besides samples.
struct Events {
    int endOfStream = 0, beginFlush = 0, endFlush = 0, newSegment = 0;
    REFERENCE_TIME segmentStart = 0, segmentStop = 0;
    double rate = 0;
};

/// The one pin of a filter of the suite's own: an output that connects with a given type, or an
/// input that records. Its public members, set before use, are its behaviour.
class EndPin : public host::SinglePin {
  public:
    using SinglePin::SinglePin;

    ComPtr<HostileAllocator> ownAllocator;  ///< null: offers none and uses the notified one
    std::optional<ALLOCATOR_PROPERTIES> requirements;
    HRESULT notifyResult = S_OK, canBlockResult = S_OK, endOfStreamResult = S_OK,
            endFlushResult = S_OK;
    bool keepsSamples = true;

    BOOL readOnly = FALSE;  ///< of the peer's last notification
    std::vector<Sample> Samples() const { return Locked(samples_); }
    Sample Last() const { return Samples().back(); }
    std::size_t Count() const { return Locked(count_); }
    Events Seen() const { return Locked(events_); }
    /// Forgets samples and events.
    void Forget() {
        const std::lock_guard lock(mutex_);
        samples_.clear();
        count_ = 0;
        events_ = {};
    }

    STDMETHODIMP Connect(IPin* to, const AM_MEDIA_TYPE* wanted) override {
        return wanted ? ConnectAs(to, *wanted) : SinglePin::Connect(to, nullptr);
    }
    STDMETHODIMP EndOfStream() override { return Count(&events_.endOfStream, endOfStreamResult); }
    STDMETHODIMP BeginFlush() override { return Count(&events_.beginFlush, S_OK); }
    STDMETHODIMP EndFlush() override { return Count(&events_.endFlush, endFlushResult); }
    STDMETHODIMP NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override {
        const std::lock_guard lock(mutex_);
        events_.segmentStart = start;
        events_.segmentStop = stop;
        events_.rate = rate;
        ++events_.newSegment;
        return S_OK;
    }
    STDMETHODIMP GetAllocator(IMemAllocator** own) override {
        *own = ownAllocator.Get();
        return *own ? ownAllocator.CopyTo(own) : VFW_E_NO_ALLOCATOR;
    }
    STDMETHODIMP NotifyAllocator(IMemAllocator* chosen, BOOL isReadOnly) override {
        allocator = SUCCEEDED(notifyResult) ? chosen : nullptr;
        readOnly = isReadOnly;
        return notifyResult;
    }
    STDMETHODIMP GetAllocatorRequirements(ALLOCATOR_PROPERTIES* properties) override {
        *properties = requirements.value_or(*properties);
        return requirements ? S_OK : E_NOTIMPL;
    }
    STDMETHODIMP Receive(IMediaSample* sample) override {
        {
            const std::lock_guard lock(mutex_);
            ++count_;
            if (keepsSamples) {
                samples_.push_back(ReadSample(sample));
            }
        }
        return SinglePin::Receive(sample);
    }
    STDMETHODIMP ReceiveCanBlock() override { return canBlockResult; }

  private:
    template <class T>
    T Locked(const T& value) const {
        const std::lock_guard lock(mutex_);
        return value;
    }
    HRESULT Count(int* event, HRESULT result) {
        const std::lock_guard lock(mutex_);
        ++*event;
        return result;
    }

    mutable std::mutex mutex_;
    std::vector<Sample> samples_;
    std::size_t count_ = 0;
    Events events_;
};

/// A filter of the suite's own around its pin: a source of what a test hands it, or a renderer.
struct End : host::SinglePinFilter {
    explicit End(PIN_DIRECTION direction) : pin(this, direction) {}
    host::SinglePin& Pin() override { return pin; }

    EndPin pin;
};

/// A stand-in for the filter graph that only collects the events of the filters in it.
class Graph : public Object<IFilterGraph, IMediaEventSink> {
  public:
    using Event = std::pair<long, LONG_PTR>;  ///< its code and first parameter
    std::vector<Event> Seen() const {
        const std::lock_guard lock(mutex_);
        return events_;
    }
    /// How many events of this code have come.
    int Count(long code) const {
        const auto all = Seen();
        return static_cast<int>(std::count_if(
            all.begin(), all.end(), [&](const Event& event) { return event.first == code; }));
    }

    STDMETHODIMP AddFilter(IBaseFilter*, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP RemoveFilter(IBaseFilter*) override { return E_NOTIMPL; }
    STDMETHODIMP EnumFilters(IEnumFilters**) override { return E_NOTIMPL; }
    STDMETHODIMP FindFilterByName(LPCWSTR, IBaseFilter**) override { return E_NOTIMPL; }
    STDMETHODIMP ConnectDirect(IPin*, IPin*, const AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    STDMETHODIMP Reconnect(IPin*) override { return E_NOTIMPL; }
    STDMETHODIMP Disconnect(IPin*) override { return E_NOTIMPL; }
    STDMETHODIMP SetDefaultSyncSource() override { return E_NOTIMPL; }
    STDMETHODIMP Notify(LONG code, LONG_PTR parameter, LONG_PTR) override {
        const std::lock_guard lock(mutex_);
        events_.push_back({code, parameter});
        return S_OK;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<Event> events_;
};

/// One filter of the module between a source and a sink of the suite's own, in a stand-in graph.
/// Everything is public: tests use the parts as a host may. Created unconnected and stopped; its
/// destructor stops and disconnects the filter.
struct Rig {
    /// Throws std::runtime_error when the filter cannot be made.
    explicit Rig(const CatalogueRow& filterRow) : Rig(filterRow, filterRow.stream) {}
    /// With a filter of the suite's own in place of the row's, if there is one.
    Rig(const CatalogueRow& filterRow, const Stream& inputStream,
        const ComPtr<IBaseFilter>& own = {});
    ~Rig();

    const CatalogueRow& row;
    Stream stream;
    ComPtr<Graph> graph = Make<Graph>();
    ComPtr<IBaseFilter> filter;
    ComPtr<IPin> input;
    ComPtr<IPin> output;
    ComPtr<IMemInputPin> transport;  ///< the input's
    ComPtr<End> sourceFilter = Make<End>(PINDIR_OUTPUT);
    ComPtr<End> sinkFilter = Make<End>(PINDIR_INPUT);
    EndPin& source = sourceFilter->pin;
    EndPin& sink = sinkFilter->pin;

    HRESULT ConnectInput() { return ConnectInput(row.InputType(stream)); }
    HRESULT ConnectInput(const MediaType& type) { return source.Connect(input.Get(), &type); }
    /// Lets the filter choose among its own types.
    HRESULT ConnectOutput() { return output->Connect(&sink, nullptr); }
    HRESULT ConnectOutput(const MediaType& type) { return output->Connect(&sink, &type); }
    /// Both sides; the output as position `format` of the row's list in the given form.
    void Connect(std::size_t format = 0, Block block = Block::kVideoInfo2) {
        ASSERT_EQ(ConnectInput(), S_OK);
        const Stream as = {stream.width, stream.height, stream.frameDuration, block};
        ASSERT_EQ(ConnectOutput(row.OutputType(format, as)), S_OK);
    }
    /// Connect, then pause: samples flow from here on.
    void Start(std::size_t format = 0, Block block = Block::kVideoInfo2) {
        Connect(format, block);
        ASSERT_EQ(filter->Pause(), S_OK);
    }
    /// Takes the connections apart on either end; the filter must be stopped.
    void DisconnectOutput() {
        output->Disconnect();
        sink.Disconnect();
    }
    void Disconnect() {
        DisconnectOutput();
        input->Disconnect();
        source.Disconnect();
    }
    /// Makes the sink offer an allocator of the suite's own from the next connection on.
    HostileAllocator& OwnAllocator() {
        sink.ownAllocator = sink.ownAllocator ? sink.ownAllocator : Make<HostileAllocator>();
        return *sink.ownAllocator.Get();
    }

    /// A well-formed sample of the stream, a sync point without times.
    Sample Frame() const { return {row.Frame(stream)}; }
    HRESULT Push() { return Push(Frame()); }
    /// Delivers one sample on the caller's thread; what Receive returned.
    HRESULT Push(const Sample& sample, const Overrides& overrides = {}) {
        return transport->Receive(MakeSample(sample, overrides).Get());
    }
    HRESULT Notify(const Quality& message) {
        return As<IQualityControl>(output)->Notify(sinkFilter.Get(), message);
    }
};

/// The type of the connection as the pin reports it, empty when there is none. A pin overwrites
/// what it gets.
inline MediaType ConnectionType(const ComPtr<IPin>& pin) {
    MediaType type;
    type.cbFormat = 7;
    const HRESULT result = pin->ConnectionMediaType(&type);
    EXPECT_EQ(result, type.cbFormat != 0 ? S_OK : VFW_E_NOT_CONNECTED);
    return type;
}
/// The peer of a pin, null when it is not connected.
inline ComPtr<IPin> PeerOf(const ComPtr<IPin>& pin) {
    IPin* peer = pin.Get();
    const HRESULT result = pin->ConnectedTo(&peer);
    EXPECT_EQ(result, peer ? S_OK : VFW_E_NOT_CONNECTED);
    return Adopt(peer);
}
/// The types that a pin enumerates, in order.
inline std::vector<MediaType> OfferedTypes(const ComPtr<IPin>& pin) {
    std::vector<MediaType> types;
    ComPtr<IEnumMediaTypes> enumerator;
    pin->EnumMediaTypes(&enumerator);
    AM_MEDIA_TYPE* type = nullptr;
    while (enumerator && enumerator->Next(1, &type, nullptr) == S_OK) {
        types.push_back(MediaType::Adopt(type));
    }
    return types;
}

/// Counts steps on all threads; long work counts up now and then.
inline std::atomic<unsigned> progress{0};

/// While it lives, ends the program as failed after two minutes without a step: a deadlock cannot
/// be unwound. The test's name is the last of its output. Counts in ticks of a second, so that a
/// suspended or slow machine counts slower.
class Watchdog {
  public:
    ~Watchdog() { over_.release(); }

  private:
    void Watch() {
        for (int idle = 0; idle < 120;) {
            const unsigned seen = progress;
            if (over_.try_acquire_for(std::chrono::seconds(1))) {
                return;
            }
            idle = seen == progress ? idle + 1 : 0;
        }
        std::fputs("deadlock: no progress for two minutes\n", stderr);
        std::_Exit(3);
    }
    std::binary_semaphore over_{0};
    std::jthread thread_{&Watchdog::Watch, this};
};

/// Calls `round` repeatedly for the given time, at least once. Each call is a step.
template <class Round>
void For(std::chrono::milliseconds time, Round round) {
    const auto end = std::chrono::steady_clock::now() + time;
    do {
        round();
        ++progress;
    } while (std::chrono::steady_clock::now() < end);
}

/// A test that uses the module in this process, with the stand-in engines on the search path. When
/// it and its members are gone, so must be every object of the module and of the suite.
class ComTest : public ::testing::Test {
  protected:
    ~ComTest() override {
        EXPECT_EQ(liveObjects, 0) << "the module still holds objects of the host";
        EXPECT_EQ(Module().CanUnloadNow(), S_OK) << "objects of the module are still alive";
    }

  private:
    EngineSearch engines_;
};

/// The same, once for every row that the suite is instantiated with.
class RowTest : public ComTest, public ::testing::WithParamInterface<CatalogueRow> {
  protected:
    /// Keeps the engine for the rest of the program: loading it takes most of a test's time.
    RowTest() {
        if (row().engine) {
            LoadLibraryW(row().engine);
        }
    }
    const CatalogueRow& row() const { return GetParam(); }

  private:
    const Watchdog watchdog_;
};

/// The same with the row's filter in a rig.
class RigTest : public RowTest {
  protected:
    /// The one sample that arrives when `sample` is pushed, or with 0 `arrivals` none does.
    Sample Through(const Sample& sample, const Overrides& overrides = {},
                   std::size_t arrivals = 1) {
        rig.sink.Forget();
        EXPECT_EQ(rig.Push(sample, overrides), S_OK);
        EXPECT_EQ(rig.sink.Count(), arrivals);
        return rig.sink.Count() == 1 ? rig.sink.Last() : Sample{};
    }
    Rig rig{row()};
};

}  // namespace nyx::test

/// Runs a parameterised suite for these rows: a call that gives a vector of them.
#define NYX_FOR_ROWS(Suite, rows)                                       \
    INSTANTIATE_TEST_SUITE_P(Filters, Suite, ::testing::ValuesIn(rows), \
                             [](const auto& filter) { return std::string(filter.param.name); })

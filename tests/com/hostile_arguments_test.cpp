#include <climits>

#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"

namespace nyx::test {
namespace {

class HostileArguments : public FilterTest {
  protected:
    FilterRig rig{row()};

    void NullToEveryMethodOf(IBaseFilter* filter);
    void NullToEveryMethodOf(IPin* pin);
    void NullToEveryMethodOf(IMemInputPin* pin);
    void NullToEveryMethodOf(IQualityControl* control);
    void NullToEveryMethod() {
        NullToEveryMethodOf(rig.filter.get());
        NullToEveryMethodOf(rig.input.get());
        NullToEveryMethodOf(rig.output.get());
        NullToEveryMethodOf(rig.transport.get());
        NullToEveryMethodOf(rig.input.As<IQualityControl>().get());
        NullToEveryMethodOf(rig.output.As<IQualityControl>().get());
    }
};
NYX_FOR_EVERY_FILTER(HostileArguments);

void HostileArguments::NullToEveryMethodOf(IBaseFilter* filter) {
    EXPECT_EQ(filter->QueryInterface(IID_IBaseFilter, nullptr), E_POINTER);
    EXPECT_EQ(filter->GetClassID(nullptr), E_POINTER);
    EXPECT_EQ(filter->GetState(0, nullptr), E_POINTER);
    EXPECT_EQ(filter->SetSyncSource(nullptr), S_OK);
    EXPECT_EQ(filter->GetSyncSource(nullptr), E_POINTER);
    EXPECT_EQ(filter->EnumPins(nullptr), E_POINTER);
    EXPECT_EQ(filter->FindPin(L"In", nullptr), E_POINTER);
    ComPtr<IPin> pin;
    EXPECT_TRUE(FAILED(filter->FindPin(nullptr, pin.Put())));
    EXPECT_EQ(filter->QueryFilterInfo(nullptr), E_POINTER);
    EXPECT_TRUE(FAILED(filter->QueryVendorInfo(nullptr)));
    EXPECT_EQ(filter->JoinFilterGraph(rig.graph.get(), nullptr), S_OK) << "a name is optional";
}

void HostileArguments::NullToEveryMethodOf(IPin* pin) {
    EXPECT_EQ(pin->QueryInterface(IID_IPin, nullptr), E_POINTER);
    EXPECT_EQ(pin->Connect(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(pin->ReceiveConnection(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(pin->ReceiveConnection(rig.source->pin(), nullptr), E_POINTER);
    EXPECT_EQ(pin->ReceiveConnection(nullptr, row().InputType().get()), E_POINTER);
    EXPECT_EQ(pin->ConnectedTo(nullptr), E_POINTER);
    EXPECT_EQ(pin->ConnectionMediaType(nullptr), E_POINTER);
    EXPECT_EQ(pin->QueryPinInfo(nullptr), E_POINTER);
    EXPECT_EQ(pin->QueryDirection(nullptr), E_POINTER);
    EXPECT_EQ(pin->QueryId(nullptr), E_POINTER);
    EXPECT_EQ(pin->QueryAccept(nullptr), E_POINTER);
    EXPECT_EQ(pin->EnumMediaTypes(nullptr), E_POINTER);
    EXPECT_EQ(pin->QueryInternalConnections(nullptr, nullptr), E_NOTIMPL);
}

void HostileArguments::NullToEveryMethodOf(IMemInputPin* pin) {
    LONG done = 0;
    IMediaSample* nothing = nullptr;
    EXPECT_EQ(pin->GetAllocator(nullptr), E_POINTER);
    EXPECT_EQ(pin->NotifyAllocator(nullptr, FALSE), E_POINTER);
    EXPECT_TRUE(FAILED(pin->GetAllocatorRequirements(nullptr)));
    EXPECT_EQ(pin->Receive(nullptr), E_POINTER);
    EXPECT_EQ(pin->ReceiveMultiple(nullptr, 1, &done), E_POINTER);
    EXPECT_EQ(pin->ReceiveMultiple(&nothing, 1, nullptr), E_POINTER);
    EXPECT_TRUE(FAILED(pin->ReceiveMultiple(&nothing, 1, &done)));
    EXPECT_EQ(pin->ReceiveMultiple(&nothing, 0, &done), S_OK);
    EXPECT_EQ(pin->ReceiveMultiple(&nothing, -1, &done), S_OK);
    EXPECT_EQ(done, 0);
}

void HostileArguments::NullToEveryMethodOf(IQualityControl* control) {
    // The answers differ by pin and are the base class's; what counts is that they come.
    control->Notify(nullptr, Quality{Famine, 0, 0, 0});
    EXPECT_EQ(control->SetSink(nullptr), S_OK);
    EXPECT_EQ(control->QueryInterface(IID_IPin, nullptr), E_POINTER);
}

TEST_P(HostileArguments, NullsAreAnsweredUnconnectedConnectedAndStreaming) {
    NullToEveryMethod();
    rig.Connect();
    NullToEveryMethod();
    ASSERT_EQ(rig.filter->Pause(), S_OK);
    NullToEveryMethod();
    EXPECT_EQ(rig.Push(), S_OK) << "and streaming goes on";
}

TEST_P(HostileArguments, ExtremeTimesAndRatesAreCarried) {
    rig.Start();
    SampleProperties sample = rig.Frame();
    for (const LONGLONG time : {LONGLONG{0}, LONGLONG{-1}, INT64_MAX, INT64_MIN}) {
        sample.start = time;
        sample.stop = -time;
        EXPECT_EQ(rig.source->Push(sample), S_OK);
        rig.output.As<IQualityControl>()->Notify(rig.sink.get(), Quality{Flood, -1, time, time});
        EXPECT_EQ(rig.input->NewSegment(time, -time, -1.0), S_OK);
    }
}

class HostileSizes : public FilterTest {
  protected:
    FilterRig rig{row()};
};
NYX_FOR_EVERY_DECODER(HostileSizes);

constexpr LONG kExtremes[] = {0,          1,        2,         -1,        -2,
                              16,         -16,      96,        -96,       0x7FFF,
                              0x8000,     0xFFFE,   0x10000,   0x3FFFFFF, 0x20000000,
                              0x7FFFFFFE, LONG_MAX, -LONG_MAX, LONG_MIN};

TEST_P(HostileSizes, AnySizeOfInputIsSurvivedFromConnectionToReceive) {
    for (const LONG width : kExtremes) {
        for (const LONG height : kExtremes) {
            MediaType type = row().InputType();
            type.Header().biWidth = width;
            type.Header().biHeight = height;
            const bool accepted = rig.input->QueryAccept(type.get()) == S_OK;
            EXPECT_EQ(SUCCEEDED(rig.ConnectInput(type)), accepted) << width << "x" << height;
            // A size whose buffer cannot be had may fail to connect, or to start; nothing more.
            if (SUCCEEDED(rig.ConnectOutput()) && SUCCEEDED(rig.filter->Pause()) &&
                row().frameSize != FrameSize::kEngines) {
                rig.source->Push(rig.Frame());
            }
            rig.filter->Stop();
            rig.Disconnect();
        }
    }
}

TEST_P(HostileSizes, AnySizeOfOutputIsSurvivedAndOnlyFittingOnesAreAccepted) {
    rig.sink->in.keepsSamples = false;
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    std::vector<LONG> extremes(std::begin(kExtremes), std::end(kExtremes));
    for (const LONG size : {rig.picture.width, rig.picture.height}) {
        extremes.insert(extremes.end(), {size - 1, size, size + 1, -size});
    }
    for (std::size_t i = 0; i < row().outputs.size(); ++i) {
        for (const LONG width : extremes) {
            for (const LONG height : extremes) {
                MediaType type = row().OutputType(i);
                type.Header().biWidth = width;
                type.Header().biHeight = height;
                const bool fits = width >= rig.picture.width &&
                                  (height == rig.picture.height || height == -rig.picture.height);
                EXPECT_EQ(rig.output->QueryAccept(type.get()), fits ? S_OK : S_FALSE)
                    << width << "x" << height;
                if (SUCCEEDED(rig.ConnectOutput(type)) && SUCCEEDED(rig.filter->Pause())) {
                    rig.Push();
                }
                rig.filter->Stop();
                rig.DisconnectOutput();
            }
        }
    }
}

}  // namespace
}  // namespace nyx::test

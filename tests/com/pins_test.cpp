/// Filter and pins as a host meets them: identity, interfaces, enumerators, connections,
/// allocators.

#include <array>

#include "tests/support/rig.h"

namespace nyx::test {
namespace {

class Pins : public RigTest {};
NYX_FOR_ROWS(Pins, Rows({"Q210Decoder", "ZetaDecoder", "ZetaEncoder"}));

TEST_P(Pins, HaveTheirInterfacesAndNoOthers) {
    const std::pair<IUnknown*, std::vector<IID>> objects[] = {
        {rig.filter.Get(), {IID_IUnknown, IID_IPersist, IID_IMediaFilter, IID_IBaseFilter}},
        {rig.input.Get(), {IID_IUnknown, IID_IPin, IID_IMemInputPin, IID_IQualityControl}},
        {rig.output.Get(),
         {IID_IUnknown, IID_IPin, IID_IQualityControl, IID_IMediaSeeking, IID_IMediaPosition}}};
    for (const auto& [object, present] : objects) {
        for (const IID& iid : {IID_IUnknown, IID_IPersist, IID_IMediaFilter, IID_IBaseFilter,
                               IID_IPin, IID_IMemInputPin, IID_IQualityControl, IID_IMediaSeeking,
                               IID_IMediaPosition, IID_IAMFilterMiscFlags, IID_IPropertyBag}) {
            const bool has = std::count(present.begin(), present.end(), iid) == 1;
            void* raw = &raw;
            EXPECT_EQ(object->QueryInterface(iid, &raw), has ? S_OK : E_NOINTERFACE);
            ASSERT_EQ(raw != nullptr, has);
            const auto found = Adopt(static_cast<IUnknown*>(raw));
            EXPECT_TRUE(!has || As<IUnknown>(found).Get() == As<IUnknown>(object).Get());
        }
        EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    }
}

TEST_P(Pins, ReportFilterDirectionNameAndIdByWhichAloneTheyAreFound) {
    for (const auto& [pin, name, id, direction] :
         {std::tuple(rig.input, L"XForm In", L"In", PINDIR_INPUT),
          std::tuple(rig.output, L"XForm Out", L"Out", PINDIR_OUTPUT)}) {
        PIN_INFO info{};
        PIN_DIRECTION reported{};
        LPWSTR reportedId = nullptr;
        ASSERT_EQ(
            pin->QueryPinInfo(&info) | pin->QueryDirection(&reported) | pin->QueryId(&reportedId),
            S_OK);
        EXPECT_EQ(Adopt(info.pFilter).Get(), rig.filter.Get());
        EXPECT_EQ(
            std::tuple(info.dir, reported, std::wstring(info.achName), std::wstring(reportedId)),
            std::tuple(direction, direction, name, id));
        CoTaskMemFree(reportedId);
        IPin* none = &rig.source;
        EXPECT_EQ(rig.filter->FindPin(name, &none), VFW_E_NOT_FOUND);
        EXPECT_EQ(none, nullptr);
    }
}

TEST_P(Pins, BelongToAFilterOfTheRegisteredClassThatDoesNotKeepItsGraphAlive) {
    CLSID clsid{};
    EXPECT_EQ(rig.filter->GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, row().clsid);
    const std::wstring longName(500, L'x');
    FILTER_INFO info{};
    EXPECT_EQ(rig.filter->JoinFilterGraph(rig.graph.Get(), longName.c_str()), S_OK);
    ASSERT_EQ(rig.filter->QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(info.achName, longName.substr(0, MAX_FILTER_NAME - 1)) << "the record's length";
    EXPECT_EQ(Adopt(info.pGraph).Get(), rig.graph.Get());
    EXPECT_EQ(rig.graph->References(), 1u);
}

TEST_P(Pins, BelongToAFilterThatKeepsItsClock) {
    // Any object serves as a clock: the filter keeps it and never calls it.
    auto* const clock = reinterpret_cast<IReferenceClock*>(rig.graph.Get());
    for (const bool set : {true, false}) {
        ComPtr<IReferenceClock> got;
        EXPECT_EQ(rig.filter->SetSyncSource(set ? clock : nullptr), S_OK);
        EXPECT_EQ(rig.filter->GetSyncSource(&got), S_OK);
        EXPECT_EQ(got.Get(), set ? clock : nullptr);
        EXPECT_EQ(rig.graph->References(), set ? 3u : 1u);
    }
}

/// The rules of enumerators, for one of `count` items, two at least; `free` frees an item.
template <class Item, class Enumerator, class Free>
void ExpectEnumeratorRules(const ComPtr<Enumerator>& items, ULONG count, Free free) {
    std::array<Item*, 8> got{};
    const auto next = [&](Enumerator* from, ULONG asked, ULONG expected) {
        ULONG fetched = 99;
        EXPECT_EQ(from->Next(asked, got.data(), &fetched), asked == expected ? S_OK : S_FALSE);
        EXPECT_EQ(fetched, expected);
        std::for_each(got.begin(), got.begin() + fetched, free);
    };
    EXPECT_EQ(items->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(items->Next(1, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(items->Clone(nullptr), E_POINTER);
    EXPECT_EQ(items->Next(2, got.data(), nullptr), E_INVALIDARG);
    next(items.Get(), count + 1, count);
    EXPECT_EQ(items->Reset(), S_OK);
    next(items.Get(), 1, 1);
    EXPECT_EQ(items->Skip(count - 2), S_OK);
    ComPtr<Enumerator> clone;
    ASSERT_EQ(items->Clone(&clone), S_OK);
    next(clone.Get(), 2, 1);  // a clone keeps the position
    EXPECT_EQ(items->Skip(1), S_OK) << "to the end";
    EXPECT_EQ(items->Skip(1), S_FALSE) << "and not beyond";
}

TEST_P(Pins, AreEnumeratedByTheRules) {
    ComPtr<IEnumPins> pins;
    ASSERT_EQ(rig.filter->EnumPins(&pins), S_OK);
    ExpectEnumeratorRules<IPin>(pins, 2, [](IPin* pin) { pin->Release(); });
}

TEST_P(Pins, EnumerateTheirTypesByTheRules) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    ComPtr<IEnumMediaTypes> types;
    ASSERT_EQ(rig.output->EnumMediaTypes(&types), S_OK);
    ExpectEnumeratorRules<AM_MEDIA_TYPE>(types, static_cast<ULONG>(2 * row().Outputs().size()),
                                         [](AM_MEDIA_TYPE* type) { MediaType::Adopt(type); });
}

TEST_P(Pins, ConnectToTheOtherDirectionOnlyAndDisconnectThePeerIfItFails) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    EXPECT_EQ(rig.output->Connect(&Make<End>(PINDIR_OUTPUT)->pin, nullptr),
              VFW_E_INVALID_DIRECTION);
    rig.sink.notifyResult = E_FAIL;
    EXPECT_EQ(rig.ConnectOutput(row().OutputType()), E_FAIL) << "without an allocator";
    EXPECT_EQ(rig.sink.peer.Get(), nullptr);
}

TEST_P(Pins, KeepNoTypeOfAnEarlierConnection) {
    rig.Connect();
    rig.Disconnect();
    ASSERT_EQ(rig.ConnectInput(row().InputType(row().other)), S_OK);
    for (const MediaType& type : OfferedTypes(rig.output)) {
        EXPECT_EQ(type.Header().biWidth, row().other.width);
    }
}

TEST_P(Pins, KeepOneInputAllocatorUntilAnotherIsNotified) {
    ALLOCATOR_PROPERTIES properties{1, 2, 3, 4};
    EXPECT_EQ(rig.transport->GetAllocatorRequirements(&properties), E_NOTIMPL);
    ComPtr<IMemAllocator> own;
    ASSERT_EQ(rig.transport->GetAllocator(&own), S_OK);
    ASSERT_EQ(own->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.cBuffers | properties.cbBuffer, 0);
    const auto other = Make<HostileAllocator>();
    for (IMemAllocator* const notified : {own.Get(), static_cast<IMemAllocator*>(other.Get())}) {
        ComPtr<IMemAllocator> kept;
        ASSERT_EQ(rig.transport->GetAllocator(&kept), S_OK);
        EXPECT_EQ(kept.Get(), own.Get());
        ASSERT_EQ(rig.transport->NotifyAllocator(notified, TRUE), S_OK);
        ASSERT_EQ(rig.transport->GetAllocator(kept.ReleaseAndGetAddressOf()), S_OK);
        EXPECT_EQ(kept.Get(), notified);
    }
    ASSERT_EQ(rig.transport->NotifyAllocator(own.Get(), FALSE), S_OK);
    EXPECT_EQ(other->References(), 1u) << "the old one is released";
}

TEST_P(Pins, UseTheReceiversAllocatorIfItGrantsEnough) {
    for (std::size_t i = 0; i < row().Outputs().size(); ++i) {
        const LONG size = row().BufferBytes(i);
        const ALLOCATOR_PROPERTIES required = {3, 10, 16, 8};
        rig.sink.requirements = i == 1 ? std::optional(required) : std::nullopt;
        const struct {
            LONG buffers, size;
            HRESULT result;
            bool used;
        } table[] = {{1, size, S_OK, true},
                     {4, size + 4711, S_OK, true},
                     {1, size - 1, S_OK, false},
                     {0, size, S_OK, false},
                     {1, size, E_OUTOFMEMORY, false}};
        for (const auto& answer : table) {
            HostileAllocator& own = rig.OwnAllocator();
            own.granted = ALLOCATOR_PROPERTIES{answer.buffers, answer.size, 64, 0};
            own.setPropertiesResult = answer.result;
            rig.Connect(i);
            ASSERT_TRUE(rig.sink.allocator);
            EXPECT_EQ(rig.sink.allocator.Get() == &own, answer.used) << answer.result;
            EXPECT_FALSE(rig.sink.readOnly);
            const auto& [buffers, bytes, align, prefix] = own.requested;
            EXPECT_EQ(std::tuple(buffers, bytes, align, prefix),
                      std::tuple(1, size, i == 1 ? 16 : 1, i == 1 ? 8 : 0));
            ALLOCATOR_PROPERTIES properties{};
            ASSERT_EQ(rig.sink.allocator->GetProperties(&properties), S_OK);
            EXPECT_TRUE(answer.used || (properties.cBuffers == 1 && properties.cbBuffer == size));
            rig.Disconnect();
        }
    }
}

TEST_P(Pins, RefuseNullsAndUpstreamCallsOnTheOutputAndStreamOn) {
    IBaseFilter& filter = *rig.filter.Get();
    IMemInputPin& transport = *rig.transport.Get();
    const MediaType type = row().InputType();
    LONG done = 0;
    IMediaSample* nothing = nullptr;
    rig.Start();
    for (const HRESULT result :
         {filter.GetClassID(nullptr), filter.GetState(0, nullptr), filter.GetSyncSource(nullptr),
          filter.EnumPins(nullptr), filter.FindPin(L"In", nullptr), filter.QueryFilterInfo(nullptr),
          transport.GetAllocator(nullptr), transport.NotifyAllocator(nullptr, FALSE),
          transport.Receive(nullptr), transport.ReceiveMultiple(nullptr, 1, &done),
          transport.ReceiveMultiple(&nothing, 1, nullptr)}) {
        EXPECT_EQ(result, E_POINTER);
    }
    for (const auto& pin : {rig.input, rig.output}) {
        for (const HRESULT result :
             {pin->Connect(nullptr, nullptr), pin->ReceiveConnection(&rig.source, nullptr),
              pin->ReceiveConnection(nullptr, &type), pin->ConnectedTo(nullptr),
              pin->ConnectionMediaType(nullptr), pin->QueryPinInfo(nullptr),
              pin->QueryDirection(nullptr), pin->QueryId(nullptr), pin->QueryAccept(nullptr),
              pin->EnumMediaTypes(nullptr)}) {
            EXPECT_EQ(result, E_POINTER);
        }
        EXPECT_EQ(pin->QueryInternalConnections(nullptr, nullptr), E_NOTIMPL);
        EXPECT_EQ(As<IQualityControl>(pin)->SetSink(nullptr), S_OK);
        As<IQualityControl>(pin)->Notify(nullptr, Quality{Famine, 0, 0, 0});
    }
    for (const HRESULT result :
         {rig.output->EndOfStream(), rig.output->BeginFlush(), rig.output->EndFlush()}) {
        EXPECT_EQ(result, E_UNEXPECTED);
    }
    EXPECT_EQ(filter.JoinFilterGraph(rig.graph.Get(), nullptr), S_OK) << "a name is optional";
    EXPECT_EQ(rig.Push(), S_OK);
}

}  // namespace
}  // namespace nyx::test

/// What a host meets before the first frame: interfaces, pins, types, connections, allocators.

#include <array>
#include <climits>

#include "platform/fourcc.h"
#include "tests/support/guard.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

class Negotiation : public RowTest {
  protected:
    Rig rig{row()};
};
NYX_FOR_ROWS(Negotiation, Rows({"Q210Decoder", "ZetaDecoder", "ZetaEncoder"}));

class Decoders : public Negotiation {};
NYX_FOR_ROWS(Decoders, Rows({"Q210Decoder", "ZetaDecoder"}));

TEST_P(Negotiation, TheInterfacesAreThoseOfAFilterAndItsPinsAndNoOthers) {
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
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    rig.source.Forget();
    LONGLONG duration = 0;
    As<IMediaSeeking>(rig.output)->GetDuration(&duration);
    EXPECT_TRUE(rig.source.WasAskedFor(IID_IMediaSeeking)) << "seeking is passed upstream";
}

TEST_P(Negotiation, PinsAndFilterKnowTheirNamesAndCountAsOne) {
    for (const auto& [pin, name, id, direction] :
         {std::tuple(rig.input, L"XForm In", L"In", PINDIR_INPUT),
          std::tuple(rig.output, L"XForm Out", L"Out", PINDIR_OUTPUT)}) {
        PIN_INFO info{};
        PIN_DIRECTION told{};
        LPWSTR got = nullptr;
        ASSERT_EQ(pin->QueryPinInfo(&info) | pin->QueryDirection(&told) | pin->QueryId(&got), S_OK);
        EXPECT_EQ(Adopt(info.pFilter).Get(), rig.filter.Get());
        EXPECT_EQ(std::tuple(info.dir, told, std::wstring(info.achName), std::wstring(got)),
                  std::tuple(direction, direction, name, id));
        CoTaskMemFree(got);
    }
    IPin* none = &rig.source;
    EXPECT_EQ(rig.filter->FindPin(L"XForm In", &none), VFW_E_NOT_FOUND);
    EXPECT_EQ(none, nullptr);
    CLSID clsid{};
    EXPECT_EQ(rig.filter->GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, row().clsid);
    // Any object will do as a clock: it is kept and never asked.
    auto* const clock = reinterpret_cast<IReferenceClock*>(rig.graph.Get());
    const std::wstring longName(500, L'x');
    FILTER_INFO info{};
    EXPECT_EQ(rig.filter->JoinFilterGraph(rig.graph.Get(), longName.c_str()), S_OK);
    ASSERT_EQ(rig.filter->QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(info.achName, longName.substr(0, MAX_FILTER_NAME - 1)) << "what it holds";
    EXPECT_EQ(Adopt(info.pGraph).Get(), rig.graph.Get());
    EXPECT_EQ(rig.graph->References(), 1u) << "a filter does not keep its graph alive";
    for (const bool set : {true, false}) {
        ComPtr<IReferenceClock> got;
        EXPECT_EQ(rig.filter->SetSyncSource(set ? clock : nullptr), S_OK);
        EXPECT_EQ(rig.filter->GetSyncSource(&got), S_OK);
        EXPECT_EQ(got.Get(), set ? clock : nullptr);
        EXPECT_EQ(rig.graph->References(), set ? 3u : 1u);
    }
    const ULONG before = rig.filter->AddRef();
    EXPECT_EQ(rig.input->AddRef(), before + 1);
    EXPECT_EQ(rig.output->Release(), before);
    EXPECT_EQ(rig.transport->Release(), before - 1);
}

/// The rules of enumerators, for one of `count` items, two at least; `free` frees an item.
template <class Item, class Enumerator, class Free>
void ExpectEnumeratorRules(const ComPtr<Enumerator>& items, ULONG count, Free free) {
    std::array<Item*, 8> got{};
    const auto next = [&](Enumerator* from, ULONG asked, ULONG expected) {
        ULONG given = 99;
        EXPECT_EQ(from->Next(asked, got.data(), &given), asked == expected ? S_OK : S_FALSE);
        EXPECT_EQ(given, expected);
        std::for_each(got.begin(), got.begin() + given, free);
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

TEST_P(Negotiation, EnumeratorsFollowTheirRules) {
    ComPtr<IEnumPins> pins;
    ASSERT_EQ(rig.filter->EnumPins(&pins), S_OK);
    ExpectEnumeratorRules<IPin>(pins, 2, [](IPin* pin) { pin->Release(); });
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    ComPtr<IEnumMediaTypes> types;
    ASSERT_EQ(rig.output->EnumMediaTypes(&types), S_OK);
    ExpectEnumeratorRules<AM_MEDIA_TYPE>(types, static_cast<ULONG>(2 * row().Outputs().size()),
                                         [](AM_MEDIA_TYPE* type) { MediaType::Adopt(type); });
}

class OfferedTypesOf : public RowTest {};
NYX_FOR_ROWS(OfferedTypesOf,
             Rows({"Q210Decoder", "ZetaDecoder", "ZetaAlphaDecoder", "ZetaEncoder"}));

TEST_P(OfferedTypesOf, ComeInTheLongFormFirstAndAreAcceptedAndConnectedToTheByte) {
    const struct {
        Stream stream;
        DWORD interlaceFlags;
        LONG aspectX, aspectY;
    } streams[] = {{{1920, 1080, 400000}, 0xA5, 16, 9}, {{1280, 720, 333666}, 0, 16, 9},
                   {{720, 576, 400000}, 0xA1, 4, 3},    {{720, 576, 333667}, 0, 4, 3},
                   {{720, 486, 333666}, 0xA5, 4, 3},    {{720, 480, 333666}, 0xA1, 27, 20},
                   {{856, 480, 333666}, 0xA1, 107, 60}, {{1000, 1000, 400000}, 0, 1, 1},
                   {{1024, 768, 400000}, 0, 4, 3},      {{96, 16, 0x10000061A80}, 0, 6, 1},
                   {{720, -480, 333666}, 0xA1, 27, 20}};
    const std::size_t count = row().Outputs().size();
    int taken = 0;
    for (const auto& shown : streams) {
        SCOPED_TRACE(testing::Message() << shown.stream.width << "x" << shown.stream.height);
        Rig rig(row(), shown.stream);
        if (rig.ConnectInput() != S_OK) {
            continue;
        }
        ++taken;
        const auto offered = OfferedTypes(rig.output);
        ASSERT_EQ(offered.size(), 2 * count);
        for (std::size_t i = 0; i < offered.size(); ++i) {
            Stream stream = shown.stream;
            stream.height = std::abs(stream.height);
            stream.block = i < count ? Block::kVideoInfo2 : Block::kVideoInfo;
            MediaType expected = row().OutputType(i % count, stream);
            // The product with the frame's duration, not the quotient, is what is offered.
            const double rate = 1.0 * row().Outputs()[i % count].bits * stream.width *
                                stream.height * static_cast<double>(stream.frameDuration) * 1e-7;
            expected.Info().dwBitRate = static_cast<DWORD>(static_cast<LONGLONG>(rate));
            if (row().IsEncoder()) {  // which shows the size of a picture in place of its rate
                expected.bFixedSizeSamples = FALSE;
                expected.lSampleSize = 1;  // without meaning here; what a new media type has
                expected.Info().dwBitRate = expected.Header().biSizeImage;
            }
            if (i < count) {
                expected.Info2().dwInterlaceFlags = shown.interlaceFlags;
                expected.Info2().dwPictAspectRatioX = static_cast<DWORD>(shown.aspectX);
                expected.Info2().dwPictAspectRatioY = static_cast<DWORD>(shown.aspectY);
            }
            EXPECT_EQ(offered[i], expected) << i;
            EXPECT_EQ(rig.output->QueryAccept(&offered[i]), S_OK);
            // The first one that the peer takes is used.
            rig.sink.accept = [&](const MediaType& t) { return t == offered[i] ? S_OK : S_FALSE; };
            ASSERT_EQ(rig.ConnectOutput(), S_OK);
            EXPECT_EQ(ConnectionType(rig.output), offered[i]);
            EXPECT_EQ(rig.sink.type, offered[i]);
            rig.DisconnectOutput();
        }
    }
    EXPECT_GE(taken, 7);
}

TEST_P(Negotiation, ASpoiledInputTypeIsFalseWhenAskedAndAnErrorWhenConnecting) {
    const MediaType whole = row().InputType();
    std::vector<MediaType> types(3, whole);
    types[0].formattype = FORMAT_WaveFormatEx;
    types[1].Header().biBitCount = 0;
    types[2].Header().biCompression ^= 0x2020;
    for (const MediaType& type : types) {
        EXPECT_EQ(rig.input->QueryAccept(&type), S_FALSE);
        EXPECT_EQ(rig.ConnectInput(type), VFW_E_TYPE_NOT_ACCEPTED);
        EXPECT_FALSE(PeerOf(rig.input));
    }
    for (ULONG length = 0; length <= whole.cbFormat; ++length) {
        const GuardedMemory block({whole.pbFormat, whole.pbFormat + length});
        for (const GUID& form : {FORMAT_VideoInfo, FORMAT_VideoInfo2, GUID_NULL}) {
            AM_MEDIA_TYPE type = whole;
            type.formattype = form;
            type.pbFormat = block.data();
            type.cbFormat = length;
            const bool complete = form == FORMAT_VideoInfo && length == whole.cbFormat;
            EXPECT_EQ(rig.input->QueryAccept(&type), complete ? S_OK : S_FALSE) << length;
        }
    }
    const auto& [width, height, duration, form] = rig.stream;
    MediaType longer = row().InputType({width, height, duration, Block::kVideoInfo2});
    longer.ResizeFormat(longer.cbFormat + 1024);
    if (!row().IsEncoder()) {  // these two are not looked at
        longer.majortype = MEDIATYPE_Interleaved;
        longer.subtype = GUID_NULL;
    }
    EXPECT_EQ(rig.ConnectInput(longer), S_OK);
    EXPECT_EQ(ConnectionType(rig.input), longer);
}

TEST_P(Decoders, AnOutputTypeIsTakenByKindAndSizesTheBuffer) {
    HostileAllocator& own = rig.OwnAllocator();
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    MediaType type = row().OutputType(2);
    type.Header().biWidth += 32;
    for (const LONG sign : {1, -1}) {  // a top-down one asks for the negative product
        type.Header().biHeight = sign * rig.stream.height;
        ASSERT_EQ(rig.ConnectOutput(type), S_OK);
        EXPECT_EQ(own.requested.cbBuffer, sign * PictureBytes(type.Header()));
        rig.DisconnectOutput();
    }
    type.Header().biHeight = rig.stream.height;
    for (const LONG width :
         {LONG{INT_MAX}, INT_MAX / (4 * rig.stream.height) + 1}) {  // 2 GB at least
        type.Header().biWidth = width;
        EXPECT_EQ(rig.output->QueryAccept(&type), S_OK) << "wide is no harm";
        EXPECT_EQ(rig.ConnectOutput(type), E_FAIL) << "but for want of a buffer";
    }
    type.Header().biWidth = rig.stream.width;
    const auto kinds = [&](const GUID& subtype) {
        std::string taken;
        for (const WORD bits : {WORD{16}, WORD{24}, WORD{32}}) {
            type.subtype = subtype;
            type.Header().biBitCount = bits;
            type.Header().biCompression = bits == 16 ? FourCC("YUY2") : BI_RGB;
            const bool accepted = rig.output->QueryAccept(&type) == S_OK;
            EXPECT_EQ(rig.ConnectOutput(type) == S_OK, accepted);
            rig.DisconnectOutput();
            taken += accepted ? "+" : "-";
        }
        return taken;
    };
    for (const LONG height : {rig.stream.height + 1, -rig.stream.height - 1, 0L, LONG{LONG_MIN}}) {
        type.Header().biHeight = height;
        EXPECT_EQ(kinds(MEDIASUBTYPE_YUY2), "---") << "heights are the stream's";
    }
    type.Header() = row().OutputType().Header();
    EXPECT_EQ(kinds(MEDIASUBTYPE_YUY2), "+--");
    EXPECT_EQ(kinds(MEDIASUBTYPE_RGB24), "-+-");
    EXPECT_EQ(kinds(MEDIASUBTYPE_RGB32), "-++");
    EXPECT_EQ(kinds(MEDIASUBTYPE_ARGB32), row().coding ? "-+-" : "---");
    EXPECT_EQ(kinds(MEDIASUBTYPE_RGB565), "---");
}

TEST_P(Negotiation, RequestsHaveWildcardsAndTheReceiversOwnProposalsComeFirst) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    const auto offered = OfferedTypes(rig.output);
    const std::size_t count = row().Outputs().size();
    MediaType shortForm = offered[count];
    shortForm.majortype = shortForm.subtype = GUID_NULL;
    MediaType otherBlock = shortForm;
    otherBlock.Info().dwBitRate ^= 1;
    constexpr std::size_t kNone = 99;
    const struct {
        MediaType request;
        std::size_t expected;
    } table[] = {{PartialType(GUID_NULL, GUID_NULL, GUID_NULL), 0},
                 {PartialType(GUID_NULL, row().Outputs().back().subtype, GUID_NULL), count - 1},
                 {shortForm, count},
                 {otherBlock, kNone},
                 {PartialType(MEDIATYPE_Audio, GUID_NULL, GUID_NULL), kNone},
                 {PartialType(GUID_NULL, MEDIASUBTYPE_RGB565, GUID_NULL), kNone},
                 {PartialType(GUID_NULL, GUID_NULL, FORMAT_WaveFormatEx), kNone}};
    for (const auto& c : table) {
        const bool found = c.expected != kNone;
        EXPECT_EQ(rig.ConnectOutput(c.request), found ? S_OK : VFW_E_NO_ACCEPTABLE_TYPES);
        EXPECT_EQ(ConnectionType(rig.output), found ? offered[c.expected] : MediaType());
        rig.DisconnectOutput();
    }
    MediaType proposal = row().OutputType(count - 1);
    proposal.lSampleSize = 4711;
    rig.sink.proposals = {PartialType(MEDIATYPE_Audio, MEDIASUBTYPE_PCM, FORMAT_None), proposal};
    ASSERT_EQ(rig.ConnectOutput(), S_OK);
    EXPECT_EQ(ConnectionType(rig.output), proposal);
    rig.DisconnectOutput();
    rig.sink.accept = [](const MediaType&) { return S_FALSE; };
    EXPECT_EQ(rig.ConnectOutput(), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(rig.ConnectOutput(row().OutputType()), VFW_E_TYPE_NOT_ACCEPTED);
}

TEST_P(Negotiation, AConnectionThatFailsOrEndsLeavesThePeerToItsOwner) {
    for (const auto& pin : {rig.input, rig.output}) {
        IPin* peer = &rig.source;
        EXPECT_EQ(pin->ConnectedTo(&peer), VFW_E_NOT_CONNECTED);
        EXPECT_EQ(peer, nullptr);
        AM_MEDIA_TYPE type = row().InputType();
        EXPECT_EQ(pin->ConnectionMediaType(&type), VFW_E_NOT_CONNECTED);
        EXPECT_EQ(type.pbFormat, nullptr);
        EXPECT_EQ(type.cbFormat, 0u);
    }
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    EXPECT_EQ(rig.output->Connect(&Make<End>(PINDIR_OUTPUT)->pin, nullptr),
              VFW_E_INVALID_DIRECTION);
    rig.sink.notifyResult = E_FAIL;
    EXPECT_EQ(rig.ConnectOutput(row().OutputType()), E_FAIL) << "without an allocator";
    EXPECT_EQ(rig.sink.peer.Get(), nullptr) << "the peer was told";
    rig.sink.notifyResult = S_OK;
    ASSERT_EQ(rig.ConnectOutput(), S_OK);
    ASSERT_EQ(rig.output->Disconnect(), S_OK);
    EXPECT_EQ(rig.sink.peer.Get(), rig.output.Get());
    rig.sink.Disconnect();
    ASSERT_EQ(rig.ConnectOutput(), S_OK);
    ASSERT_EQ(rig.input->Disconnect(), S_OK);
    EXPECT_EQ(rig.source.peer.Get(), rig.input.Get());
    EXPECT_EQ(PeerOf(rig.output).Get(), nullptr) << "the output goes with the input";
    EXPECT_EQ(rig.sink.peer.Get(), nullptr) << "and its peer is told";
    rig.Disconnect();
    ASSERT_EQ(rig.ConnectInput(row().InputType(row().other)), S_OK);
    for (const MediaType& type : OfferedTypes(rig.output)) {
        EXPECT_EQ(type.Header().biWidth, row().other.width) << "nothing is left of the old one";
    }
}

TEST_P(Negotiation, AllocatorsAreChosenAndAskedByTheRules) {
    ALLOCATOR_PROPERTIES properties{1, 2, 3, 4};
    EXPECT_EQ(rig.transport->GetAllocatorRequirements(&properties), E_NOTIMPL);
    ComPtr<IMemAllocator> first, again;
    ASSERT_EQ(rig.transport->GetAllocator(&first), S_OK);
    ASSERT_EQ(first->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.cBuffers | properties.cbBuffer, 0);
    ASSERT_EQ(rig.transport->GetAllocator(&again), S_OK);
    EXPECT_EQ(again.Get(), first.Get());
    const auto told = Make<HostileAllocator>();
    ASSERT_EQ(rig.transport->NotifyAllocator(told.Get(), TRUE), S_OK);
    ASSERT_EQ(rig.transport->GetAllocator(&again), S_OK);
    EXPECT_EQ(again.Get(), static_cast<IMemAllocator*>(told.Get()));
    again.Reset();
    ASSERT_EQ(rig.transport->NotifyAllocator(first.Get(), FALSE), S_OK);
    EXPECT_EQ(told->References(), 1u) << "the old one was let go";

    for (std::size_t i = 0; i < row().Outputs().size(); ++i) {
        const LONG size = row().BufferBytes(i);
        const ALLOCATOR_PROPERTIES wished = {3, 10, 16, 8};
        rig.sink.requirements = i == 1 ? std::optional(wished) : std::nullopt;
        const struct {
            LONG buffers, size;
            HRESULT result;
            bool taken;
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
            EXPECT_EQ(rig.sink.allocator.Get() == &own, answer.taken) << answer.result;
            EXPECT_FALSE(rig.sink.readOnly);
            const auto& [buffers, bytes, align, prefix] = own.requested;
            EXPECT_EQ(std::tuple(buffers, bytes, align, prefix),
                      std::tuple(1, size, i == 1 ? 16 : 1, i == 1 ? 8 : 0));
            ASSERT_EQ(rig.sink.allocator->GetProperties(&properties), S_OK);
            EXPECT_TRUE(answer.taken || (properties.cBuffers == 1 && properties.cbBuffer == size));
            rig.Disconnect();
        }
    }
}

TEST_P(Negotiation, NullsAreAnsweredAndStreamingGoesOn) {
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
        EXPECT_EQ(result, E_UNEXPECTED) << "an output has nothing upstream";
    }
    EXPECT_EQ(filter.JoinFilterGraph(rig.graph.Get(), nullptr), S_OK) << "a name is optional";
    EXPECT_EQ(rig.Push(), S_OK);
}

}  // namespace
}  // namespace nyx::test

#include "tests/support/rig.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <stdexcept>

#include "tests/support/guard.h"

namespace nyx::test {
namespace {

IPin* Hand(const ComPtr<IPin>& pin) {
    pin->AddRef();
    return pin.Get();
}
AM_MEDIA_TYPE* Hand(const MediaType& type) {
    return MediaType(type).Release();
}

/// IEnumPins or IEnumMediaTypes over a list.
template <class Interface, class Item, class Element>
class Enumerator : public Object<Interface> {
  public:
    explicit Enumerator(std::vector<Element> list, std::size_t position = 0)
        : list_(std::move(list)), position_(position) {}

    STDMETHODIMP Next(ULONG count, Item** items, ULONG* fetched) override {
        ULONG given = 0;
        for (; given < count && position_ < list_.size(); ++given) {
            items[given] = Hand(list_[position_++]);
        }
        if (fetched) {
            *fetched = given;
        }
        return given == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const std::size_t left = list_.size() - position_;
        position_ += std::min<std::size_t>(left, count);
        return count <= left ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override { return position_ = 0, S_OK; }
    STDMETHODIMP Clone(Interface** clone) override {
        *clone = new Enumerator(list_, position_);
        return S_OK;
    }

  private:
    const std::vector<Element> list_;
    std::size_t position_;
};

/// Ends the program as failed. Otherwise the runtime's debugger takes a crash over, and the exit
/// code that it leaves may say success.
LONG WINAPI EndOnCrash(EXCEPTION_POINTERS* crash) {
    std::printf("crash %08lX at %p\n", crash->ExceptionRecord->ExceptionCode,
                crash->ExceptionRecord->ExceptionAddress);
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), 3);
    return EXCEPTION_EXECUTE_HANDLER;
}

/// COM for the whole program.
class ComEnvironment : public ::testing::Environment {
  public:
    void SetUp() override {
        SetUnhandledExceptionFilter(EndOnCrash);
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    }
    void TearDown() override { CoUninitialize(); }
};
[[maybe_unused]] const auto* const environment =
    ::testing::AddGlobalTestEnvironment(new ComEnvironment);

}  // namespace

ComPtr<IMediaSample> MakeSample(const Sample& sample, const Lies& lies) {
    static const ComPtr<IMemAllocator> pool = [] {
        ComPtr<IMemAllocator> allocator = NewAllocator(64);
        allocator->Commit();
        return allocator;
    }();
    ComPtr<IMediaSample> real;
    pool->GetBuffer(&real, nullptr, nullptr, 0);
    LONGLONG start = sample.start.value_or(0);
    LONGLONG stop = sample.stop.value_or(0);
    LONGLONG mediaStart = sample.mediaStart.value_or(0);
    LONGLONG mediaStop = mediaStart + 1;
    real->SetTime(sample.start ? &start : nullptr, sample.stop ? &stop : nullptr);
    real->SetMediaTime(sample.mediaStart ? &mediaStart : nullptr,
                       sample.mediaStart ? &mediaStop : nullptr);
    real->SetSyncPoint(sample.syncPoint);
    real->SetPreroll(sample.preroll);
    real->SetDiscontinuity(sample.discontinuity);
    real->SetMediaType(sample.type ? const_cast<MediaType*>(&*sample.type) : nullptr);
    AM_SAMPLE2_PROPERTIES record = {};
    const auto real2 = As<IMediaSample2>(real);
    constexpr DWORD kUpToTheFlags = offsetof(AM_SAMPLE2_PROPERTIES, dwSampleFlags);
    real2->GetProperties(kUpToTheFlags, reinterpret_cast<BYTE*>(&record));
    record.dwTypeSpecificFlags = sample.typeFlags;
    real2->SetProperties(kUpToTheFlags, reinterpret_cast<BYTE*>(&record));

    const auto memory = std::make_shared<GuardedMemory>(sample.bytes);
    return Make<HostileSample>(real.Get(), lies, memory->data(),
                               static_cast<LONG>(sample.bytes.size()), memory);
}

Sample ReadSample(IMediaSample* sample) {
    Sample read;
    BYTE* data = nullptr;
    if (SUCCEEDED(sample->GetPointer(&data)) && data) {
        read.bytes.assign(data, data + sample->GetActualDataLength());
    }
    LONGLONG start = 0;
    LONGLONG stop = 0;
    const HRESULT timed = sample->GetTime(&start, &stop);
    read.start = SUCCEEDED(timed) ? std::optional(start) : std::nullopt;
    read.stop = timed == S_OK ? std::optional(stop) : std::nullopt;
    if (SUCCEEDED(sample->GetMediaTime(&start, &stop))) {
        read.mediaStart = start;
    }
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

bool EndPin::WasAskedFor(REFIID iid) const {
    const auto asked = Locked(asked_);
    return std::find(asked.begin(), asked.end(), iid) != asked.end();
}

void EndPin::Forget() {
    const std::lock_guard lock(mutex_);
    samples_.clear();
    count_ = 0;
    events_ = {};
    asked_.clear();
}

HRESULT EndPin::QueryInterface(REFIID iid, void** object) {
    const bool isInput = direction_ == PINDIR_INPUT;
    *object = iid == IID_IUnknown || iid == IID_IPin       ? static_cast<IPin*>(this)
              : isInput && iid == IID_IMemInputPin         ? static_cast<IMemInputPin*>(this)
              : onDynamicType && iid == IID_IPinConnection ? static_cast<IPinConnection*>(this)
                                                           : static_cast<void*>(nullptr);
    const std::lock_guard lock(mutex_);
    asked_.push_back(iid);
    return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
}

HRESULT EndPin::Connect(IPin* to, const AM_MEDIA_TYPE* wanted) {
    if (!wanted && proposals.empty()) {
        return VFW_E_NO_ACCEPTABLE_TYPES;
    }
    // As a real pin: the fields are set while the peer looks at them, and undone on failure.
    type = wanted ? MediaType(*wanted) : proposals.front();
    peer = to;
    HRESULT result = to->ReceiveConnection(this, &type);
    if (SUCCEEDED(result)) {
        result = AgreeOnAllocator();
        if (FAILED(result)) {
            to->Disconnect();
        }
    }
    if (FAILED(result)) {
        Disconnect();
    }
    return result;
}

HRESULT EndPin::AgreeOnAllocator() {
    const auto transport = As<IMemInputPin>(peer);
    const HRESULT result = transport ? transport->GetAllocator(&allocator) : E_NOINTERFACE;
    return FAILED(result) ? result : transport->NotifyAllocator(allocator.Get(), FALSE);
}

HRESULT EndPin::ReceiveConnection(IPin* from, const AM_MEDIA_TYPE* offered) {
    if (peer) {
        return VFW_E_ALREADY_CONNECTED;
    }
    const MediaType copy(*offered);
    if (direction_ == PINDIR_OUTPUT || accept(copy) != S_OK) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    type = copy;
    peer = from;
    return S_OK;
}

HRESULT EndPin::Disconnect() {
    type.Clear();
    allocator.Reset();
    const bool connected = peer != nullptr;
    peer.Reset();
    return connected ? S_OK : S_FALSE;
}

HRESULT EndPin::ConnectedTo(IPin** to) {
    *to = nullptr;
    return peer ? peer.CopyTo(to) : VFW_E_NOT_CONNECTED;
}

HRESULT EndPin::ConnectionMediaType(AM_MEDIA_TYPE* copy) {
    *copy = {};
    MediaType own(type);
    std::swap<AM_MEDIA_TYPE>(*copy, own);
    return peer ? S_OK : VFW_E_NOT_CONNECTED;
}

HRESULT EndPin::QueryPinInfo(PIN_INFO* info) {
    *info = {filter_, direction_, L"End"};
    filter_->AddRef();
    return S_OK;
}

HRESULT EndPin::QueryDirection(PIN_DIRECTION* direction) {
    *direction = direction_;
    return S_OK;
}

HRESULT EndPin::EnumMediaTypes(IEnumMediaTypes** types) {
    *types = new Enumerator<IEnumMediaTypes, AM_MEDIA_TYPE, MediaType>(proposals);
    return S_OK;
}

HRESULT EndPin::EndOfStream() {
    Note(&events_.endOfStream);
    return endOfStreamResult;
}

HRESULT EndPin::NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
    const std::lock_guard lock(mutex_);
    ++events_.newSegment;
    events_.segmentStart = start;
    events_.segmentStop = stop;
    events_.rate = rate;
    return S_OK;
}

HRESULT EndPin::GetAllocator(IMemAllocator** own) {
    *own = ownAllocator.Get();
    return *own ? ((*own)->AddRef(), S_OK) : VFW_E_NO_ALLOCATOR;
}

HRESULT EndPin::NotifyAllocator(IMemAllocator* told, BOOL toldReadOnly) {
    allocator = SUCCEEDED(notifyResult) ? told : nullptr;
    readOnly = toldReadOnly;
    return notifyResult;
}

HRESULT EndPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* properties) {
    *properties = requirements.value_or(*properties);
    return requirements ? S_OK : E_NOTIMPL;
}

HRESULT EndPin::Receive(IMediaSample* sample) {
    {
        const std::lock_guard lock(mutex_);
        ++count_;
        if (keepsSamples) {
            samples_.push_back(ReadSample(sample));
        }
    }
    return onReceive ? onReceive(sample) : S_OK;
}

HRESULT EndPin::Note(int* event) {
    const std::lock_guard lock(mutex_);
    ++*event;
    return S_OK;
}

HRESULT End::GetState(DWORD, FILTER_STATE* state) {
    *state = state_;
    return S_OK;
}

HRESULT End::SetState(FILTER_STATE state) {
    state_ = state;
    return S_OK;
}

HRESULT End::EnumPins(IEnumPins** pins) {
    *pins = new Enumerator<IEnumPins, IPin, ComPtr<IPin>>({ComPtr<IPin>(&pin)});
    return S_OK;
}

HRESULT End::QueryFilterInfo(FILTER_INFO* info) {
    *info = info_;
    if (info->pGraph) {
        info->pGraph->AddRef();
    }
    return S_OK;
}

HRESULT End::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) {
    info_.pGraph = graph;
    std::wcsncpy(info_.achName, name ? name : L"", MAX_FILTER_NAME - 1);
    return S_OK;
}

void* End::Find(REFIID iid) {
    return FindInterface<IBaseFilter, IMediaFilter, IPersist>(this, iid);
}

std::vector<Graph::Event> Graph::Seen() const {
    const std::lock_guard lock(mutex_);
    return events_;
}

int Graph::Count(long code) const {
    const auto all = Seen();
    return static_cast<int>(
        std::count_if(all.begin(), all.end(), [code](const Event& e) { return e.code == code; }));
}

HRESULT Graph::Notify(LONG code, LONG_PTR parameter, LONG_PTR) {
    const std::lock_guard lock(mutex_);
    events_.push_back({code, parameter});
    return S_OK;
}

Rig::Rig(const CatalogueRow& filterRow, const Stream& inputStream)
    : row(filterRow), stream(inputStream), filter(Module().Create(filterRow.clsid)) {
    if (!filter || filter->FindPin(L"In", &input) != S_OK ||
        filter->FindPin(L"Out", &output) != S_OK) {
        throw std::runtime_error(std::string("cannot make ") + row.name);
    }
    transport = As<IMemInputPin>(input);
    filter->JoinFilterGraph(graph.Get(), kNameInGraph);
}

Rig::~Rig() {
    filter->Stop();
    Disconnect();
    filter->JoinFilterGraph(nullptr, nullptr);
}

void Rig::Connect(std::size_t format, Block block) {
    ASSERT_EQ(ConnectInput(), S_OK);
    Stream as = stream;
    as.block = block;
    ASSERT_EQ(ConnectOutput(row.OutputType(format, as)), S_OK);
}

void Rig::Start(std::size_t format, Block block) {
    Connect(format, block);
    ASSERT_EQ(filter->Pause(), S_OK);
}

void Rig::DisconnectOutput() {
    output->Disconnect();
    sink.Disconnect();
}

void Rig::Disconnect() {
    DisconnectOutput();
    input->Disconnect();
    source.Disconnect();
}

HostileAllocator& Rig::OwnAllocator() {
    if (!sink.ownAllocator) {
        sink.ownAllocator = Make<HostileAllocator>();
    }
    return *sink.ownAllocator.Get();
}

FILTER_STATE Rig::State() const {
    FILTER_STATE state{};
    EXPECT_EQ(filter->GetState(0, &state), S_OK);
    return state;
}

MediaType ConnectionType(const ComPtr<IPin>& pin) {
    MediaType type;
    pin->ConnectionMediaType(&type);
    return type;
}

ComPtr<IPin> PeerOf(const ComPtr<IPin>& pin) {
    ComPtr<IPin> peer;
    pin->ConnectedTo(&peer);
    return peer;
}

std::vector<MediaType> OfferedTypes(const ComPtr<IPin>& pin) {
    std::vector<MediaType> types;
    ComPtr<IEnumMediaTypes> enumerator;
    pin->EnumMediaTypes(&enumerator);
    AM_MEDIA_TYPE* type = nullptr;
    while (enumerator && enumerator->Next(1, &type, nullptr) == S_OK) {
        types.push_back(MediaType::Adopt(type));
    }
    return types;
}

ComTest::~ComTest() {
    EXPECT_EQ(liveObjects, 0) << "the module still holds objects of the host";
    EXPECT_EQ(Module().CanUnloadNow(), S_OK) << "objects of the module are still alive";
}

}  // namespace nyx::test

#include <cctype>

#include "baseclasses/streams.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

constexpr LONGLONG kFrame = 400000;  // 25 frames per second, 100-ns units

/// A type with `number` as its whole format block, for the passthrough filter.
MediaType Numbered(BYTE number) {
    MediaType type = PartialType(MEDIATYPE_Video, GUID_NULL, FORMAT_VideoInfo);
    type.ResizeFormat(1);
    *type.pbFormat = number;
    return type;
}

/// The smallest video transform filter: accepts any type, leaves its samples as they are, logs the
/// library's calls and returns the results that a test sets.
class Passthrough : public CVideoTransformFilter {
  public:
    Passthrough() : CVideoTransformFilter(NAME("Passthrough"), nullptr, GUID_NULL) {}

    std::string log;
    HRESULT startResult = S_OK, transformResult = S_OK;
    std::function<void()> onTransform = [] {};

    HRESULT Transform(IMediaSample*, IMediaSample*) override {
        onTransform();
        log += "Transform ";
        return transformResult;
    }
    HRESULT CheckInputType(const CMediaType*) override { return S_OK; }
    HRESULT CheckTransform(const CMediaType*, const CMediaType*) override { return S_OK; }
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override {
        request->cBuffers = request->cbBuffer = 1;
        return allocator->SetProperties(request, request);
    }
    HRESULT GetMediaType(int position, CMediaType* type) override {
        return position > 0 ? VFW_S_NO_MORE_ITEMS : type->Set(Numbered(1));
    }
    HRESULT StartStreaming() override {
        log += "Start ";
        return FAILED(startResult) ? startResult : CVideoTransformFilter::StartStreaming();
    }
    HRESULT StopStreaming() override {
        log += "Stop ";
        return S_OK;
    }
    CTransformInputPin* Input() { return GetPin(0) ? m_pInput : nullptr; }
    CTransformOutputPin* Output() { return GetPin(1) ? m_pOutput : nullptr; }
    using CVideoTransformFilter::m_csFilter, CVideoTransformFilter::m_itrAvgDecode,
        CVideoTransformFilter::m_itrLate, CVideoTransformFilter::m_nKeyFramePeriod,
        CVideoTransformFilter::m_tDecodeStart;
};

/// A passthrough filter in a rig. That none of its objects is left is shown with the module's.
class BaseClasses : public ::testing::Test {
  protected:
    void Start() {
        const MediaType one = Numbered(1);
        ASSERT_EQ(rig.ConnectInput(one) | rig.ConnectOutput(one), S_OK);
        EXPECT_EQ(filter->Pause(), S_OK);
        filter->log.clear();
    }
    HRESULT Push(const Sample& sample = {{1}}) { return rig.Push(sample); }
    /// Pushes a frame with times; whether it was delivered.
    bool PushTimed(bool key = true) {
        Sample sample{{1}, time += kFrame, time + kFrame};
        sample.syncPoint = key;
        const std::size_t before = sink.Count();
        EXPECT_EQ(Push(sample), S_OK);
        return sink.Count() != before;
    }
    HRESULT Notify(REFERENCE_TIME late) { return rig.Notify({Flood, 1000, late, 0}); }

    const Watchdog watchdog;
    const ComPtr<Passthrough> filter{new Passthrough};
    Rig rig{Row("Q210Decoder"), {}, filter};
    Graph* const graph = rig.graph.Get();
    EndPin& sink = rig.sink;
    HostileAllocator& allocator = rig.OwnAllocator();
    CTransformInputPin* const input = filter->Input();
    CTransformOutputPin* const output = filter->Output();
    LONGLONG time = 0;
};

TEST_F(BaseClasses, QuestionsAboutPinsNeedNoFilterLock) {
    Start();
    const CAutoLock lock(&filter->m_csFilter);
    std::thread neighbour([&] {
        MediaType type;
        EXPECT_EQ(input->ConnectionMediaType(&type), S_OK);
        EXPECT_EQ(output->QueryAccept(&type), S_OK);
        ComPtr<IPin> pin;
        EXPECT_EQ(output->ConnectedTo(&pin), S_OK);
        EXPECT_EQ(filter->FindPin(L"Out", pin.ReleaseAndGetAddressOf()), S_OK);
        EXPECT_TRUE(As<IMediaSeeking>(pin));
    });
    neighbour.join();
}

TEST_F(BaseClasses, EnumeratorsOfPinsNoticeChanges) {
    ComPtr<IEnumPins> pins;
    ComPtr<IPin> pin;
    ASSERT_EQ(filter->EnumPins(&pins), S_OK);
    EXPECT_EQ(pins->Skip(1), S_OK);
    filter->IncrementPinVersion();
    EXPECT_EQ(pins->Skip(1), VFW_E_ENUM_OUT_OF_SYNC);
    EXPECT_EQ(pins->Clone(ComPtr<IEnumPins>().GetAddressOf()), VFW_E_ENUM_OUT_OF_SYNC);
    EXPECT_EQ(pins->Next(1, &pin, nullptr), S_OK);
    EXPECT_EQ(pin.Get(), input) << "from the start";
    EXPECT_EQ(pins->Skip(1), S_OK) << "in step again";
}

TEST_F(BaseClasses, StreamingStartsAndStopsOncePerRunAndNotWithoutAllOfIt) {
    Start();
    filter->Stop();
    filter->startResult = E_ABORT;
    EXPECT_EQ(filter->Run(0), E_ABORT);
    EXPECT_EQ(Push(), VFW_E_WRONG_STATE);
    filter->startResult = S_OK;
    filter->log.clear();
    for (const auto enter : {&Passthrough::Pause, &Passthrough::Stop, &Passthrough::Stop}) {
        EXPECT_EQ(filter->Run(0), S_OK);
        EXPECT_EQ((*filter.Get().*enter)(), S_OK);
    }
    EXPECT_EQ(filter->log, "Start Stop Start Stop ");
    filter->Pause();
    EXPECT_EQ(input->BeginFlush(), S_OK);
    EXPECT_EQ(Push(), S_FALSE);
    filter->Stop();
    filter->Pause();
    std::thread stopper;
    filter->onTransform = [&] {
        stopper = std::thread([&] { filter->Stop(); });
        Sleep(30);
        EXPECT_FALSE(filter->IsStopped()) << "not while a frame is being made";
    };
    EXPECT_EQ(Push(), S_OK) << "stopping ends the flush";
    stopper.join();
    output->BreakConnect();
    filter->log.clear();
    EXPECT_EQ(filter->Pause(), VFW_E_NO_ALLOCATOR);
    EXPECT_EQ(filter->log, "Start Stop ");
}

TEST_F(BaseClasses, ANewTypeRestartsTheStreamAndEndsItWhereItCannot) {
    Start();
    const Sample typed{.bytes = {1}, .type = Numbered(5)};
    EXPECT_EQ(Push(typed), S_OK);
    allocator.nextType = Numbered(6);
    EXPECT_EQ(Push(), S_OK);
    EXPECT_EQ(filter->log, "Stop Start Transform Stop Start Transform ");
    EXPECT_EQ(*input->CurrentMediaType().pbFormat * 10 + *output->CurrentMediaType().pbFormat, 56);
    filter->startResult = E_ABORT;
    EXPECT_EQ(Push(typed), E_ABORT);
    allocator.nextType = Numbered(7);
    EXPECT_EQ(Push(), E_ABORT);
    EXPECT_EQ(graph->Seen().back().second, E_ABORT);
    filter->startResult = S_OK;
    // Without memory for the type that a sample carries the stream ends as well.
    allocator.overrides.typeResult = E_OUTOFMEMORY;
    EXPECT_EQ(Push(), E_OUTOFMEMORY);
    EXPECT_EQ(sink.Seen().endOfStream, 3);
    const Overrides overrides{.sample2 = false, .typeResult = E_OUTOFMEMORY};
    EXPECT_EQ(rig.Push({{1}}, overrides), VFW_E_INVALIDMEDIATYPE);
    EXPECT_EQ(graph->Count(EC_ERRORABORT), 4);
    ComPtr<IMediaSample> buffer;
    EXPECT_EQ(allocator.GetBuffer(&buffer, nullptr, nullptr, AM_GBF_NOWAIT), S_OK) << "given back";
}

TEST_F(BaseClasses, LateFramesAreLeftOutUpToTheNextKeyFrame) {
    // Upper-case frames are delivered, others left out; k is a key frame. A digit is the renderer's
    // word before the next frame: so many half frames late; '+' is 100 ns more than a frame.
    const struct {
        const char* frames;
        int avgDecode;
        LONGLONG leftLate;
    } rows[] = {
        {"6KkkK", 300000, kFrame},                 // all keys, from the second on
        {"K2K", 300000, kFrame},                   // a frame late is not late
        {"K+k", kFrame / 4 + 1, 1},                // more is
        {"DKDDDDK6D5dddKD", 300000, -kFrame / 2},  // once later than the next key is away
        {"KDDDDKDK3D", 300000, 3 * kFrame / 2},    // the longest group counts
        {"K9K", kFrame / 4, 9 * kFrame / 2},       // decoding in next to no time
    };
    Start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.frames);
        filter->Stop();
        filter->Pause();
        const int before = graph->Count(EC_QUALITY_CHANGE);
        bool skipped = false, last = false;
        for (const char* at = row.frames; *at; ++at) {
            if (!std::isalpha(*at)) {
                EXPECT_EQ(Notify(*at == '+' ? kFrame + 1 : (*at - '0') * kFrame / 2), E_FAIL);
                continue;
            }
            filter->m_itrAvgDecode = row.avgDecode;
            const bool key = std::toupper(*at) == 'K';
            const bool delivered = PushTimed(key);
            EXPECT_EQ(delivered, std::isupper(*at) != 0) << at;
            EXPECT_TRUE(!delivered || allocator.flags == ((key ? 0 : AM_GBF_NOTASYNCPOINT) |
                                                          (last ? AM_GBF_PREVFRAMESKIPPED : 0)));
            skipped |= last = !delivered;
        }
        EXPECT_EQ(filter->m_itrLate, row.leftLate);
        EXPECT_EQ(graph->Count(EC_QUALITY_CHANGE), before + skipped);
    }
    Notify(9 * kFrame);
    EXPECT_EQ(Push({{1}, time += kFrame}), S_OK);
    EXPECT_EQ(sink.Last().start, time) << "without a stop time";
}

TEST_F(BaseClasses, StatisticsFollowTheFramesAndFlushingForgetsThem) {
    Start();
    filter->onTransform = [] { Sleep(20); };
    filter->m_itrAvgDecode = 1600000;
    EXPECT_TRUE(PushTimed());
    EXPECT_GE(filter->m_tDecodeStart, 10u);
    EXPECT_EQ(filter->m_itrAvgDecode,
              1500000 + static_cast<int>(filter->m_tDecodeStart) * 10000 / 16);
    const int cut = 300000000;  // 30 s, judged by the message before
    for (const auto& [late, kept] : {std::pair{cut + 5, cut + 5}, {5, cut}, {7, 7}}) {
        Notify(late);
        EXPECT_EQ(filter->m_itrLate, kept);
    }
    PushTimed();
    filter->log.clear();
    EXPECT_EQ(input->BeginFlush() | input->EndFlush(), S_OK);
    EXPECT_EQ(filter->log, "") << "the derived start is not called";
    EXPECT_EQ(std::tuple(+filter->m_itrLate, +filter->m_nKeyFramePeriod, +filter->m_itrAvgDecode),
              std::tuple(0, 0, 300000));
}

TEST(MediaTypes, KeepTheirBlockWithoutMemoryForAnother) {
    CMediaType kept;
    ASSERT_EQ(kept.Set(Numbered(7)), S_OK);
    AM_MEDIA_TYPE huge = kept;
    huge.cbFormat = 0xFFFFFFF0u;
    if (sizeof(void*) == 4) {  // 64-bit programs may get such a block
        EXPECT_EQ(kept.Set(huge), E_OUTOFMEMORY);
        EXPECT_EQ(kept.AllocFormatBuffer(huge.cbFormat), nullptr);
    }
    EXPECT_EQ(*kept.pbFormat, 7);
}

}  // namespace
}  // namespace nyx::test

CFactoryTemplate g_Templates[1];
int g_cTemplates = 0;

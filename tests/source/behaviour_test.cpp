// What a host may do to the source.

#include <atomic>
#include <cmath>
#include <future>
#include <random>

#include "platform/footage_info.h"
#include "tests/source/footage_host.h"
#include "tests/support/leaks.h"

__CRT_UUID_DECL(IAMOpenProgress, 0x8e1c39a1, 0xde53, 0x11cf, 0xaa, 0x63, 0x00, 0x80, 0xc7, 0x44,
                0x52, 0x8d)

namespace nyx::test {
namespace {

using Source = FootageTest;

TEST_F(Source, CanBeAggregated) {
    const auto outer = As<IUnknown>(Make<End>(PINDIR_INPUT));
    ComPtr<IUnknown> inner;
    EXPECT_EQ(Module().Create(CLSID_NyxFootageSource, outer.Get(), IID_PPV_ARGS(&inner)), S_OK);
    EXPECT_EQ(As<IUnknown>(As<IFileSourceFilter>(inner)).Get(), outer.Get());
}

TEST_F(Source, IsASourceWhosePinsAreFoundByName) {
    const FootageHost host(Material("dv25.avi"));
    EXPECT_EQ(As<IAMFilterMiscFlags>(host.filter)->GetMiscFlags(),
              ULONG{AM_FILTER_MISC_FLAGS_IS_SOURCE});
    for (const auto& pin : host.pins) {
        LPOLESTR id = nullptr;
        ComPtr<IPin> found;
        EXPECT_EQ(pin->QueryId(&id) | host.filter->FindPin(id, &found), S_OK);
        EXPECT_EQ(found.Get(), pin.Get());
        CoTaskMemFree(id);
    }
}

struct Description {
    const char* file;
    const wchar_t* names;       ///< of container, reel and clip
    NyxTimecodeOrigin origin;   ///< of the timecodes, counted by ffmpeg across a dropped number
    const wchar_t* lastStream;  ///< its name
};
const Description kDescriptions[] = {
    {"tc.dv", L"dv//", NyxTimecodeFrame, L"Video 1"},
    {"tc.avi", L"avi//", NyxTimecodeFrame, L"Video 1"},
    {"frames.mov", L"mov//", NyxTimecodeFrame, L"Video 1"},
    {"tc.mov", L"mov/R1/T1", NyxTimecodeContainer, L"Video 1"},
    {"tc.mxf", L"mxf/R1/T1", NyxTimecodeContainer, L"Video 1"},
    {"tc.gxf", L"gxf//", NyxTimecodeContainer, L"Video 1"},
    {"late.mov", L"mov//", NyxTimecodeNone, L"AAC (Advanced Audio Coding) audio"},
};

TEST_F(Source, SaysWhatTheFileIs) {
    for (const Description& row : kDescriptions) {
        SCOPED_TRACE(row.file);
        const FootageHost host(Material(row.file));
        const auto info = As<INyxFootageInfo>(host.filter);
        BSTR container = nullptr, reel = nullptr, clip = nullptr;
        EXPECT_GE(
            info->GetContainer(&container) | info->GetReelName(&reel) | info->GetClipName(&clip),
            S_OK);
        EXPECT_EQ(std::wstring(container) + L"/" + reel + L"/" + clip, row.names);
        for (const BSTR text : {container, reel, clip}) {
            SysFreeString(text);
        }
        for (const auto& [frame, expected] : {std::pair(0, "00:00:59;20"),
                                              {9, "00:00:59;29"},
                                              {10, "00:01:00;02"},
                                              {999, "00:01:00;21"}}) {
            NyxTimecode at{};
            NyxTimecodeOrigin origin{};
            const HRESULT result = info->GetTimecode(frame * 10010000LL / 30 + 1, &at, &origin);
            EXPECT_EQ(result, row.origin == NyxTimecodeNone ? S_FALSE : S_OK);
            EXPECT_EQ(origin, row.origin);
            char text[64] = "";
            std::snprintf(text, sizeof(text), "%02d:%02d:%02d%c%02d", at.hours, at.minutes,
                          at.seconds, at.dropFrame ? ';' : ':', at.frames);
            EXPECT_STREQ(text, result == S_OK ? expected : "00:00:00:00") << frame;
        }
        DWORD count = 0;
        NyxStreamInfo stream{};
        EXPECT_EQ(info->GetStreamCount(&count) | info->GetStream(count - 1, &stream), S_OK);
        EXPECT_STREQ(stream.name, row.lastStream);
        EXPECT_EQ(info->GetStream(count, &stream), E_INVALIDARG);
    }
}

TEST_F(Source, OpeningCanBeAborted) {
    ComPtr<IFileSourceFilter> file;
    ComPtr<IAMOpenProgress> progress;
    LONGLONG size = 0, done = 0;
    const std::wstring slow = Write(L"slow.m2v", ReadAll(Material("mpeg.m2v")), 200 << 20, "");
    for (bool ended = false; !ended;) {  // again where the file was open before
        const auto filter = Module().Create(CLSID_NyxFootageSource);
        file = As<IFileSourceFilter>(filter);
        progress = As<IAMOpenProgress>(filter);
        EXPECT_EQ(progress->QueryProgress(&size, &done), VFW_E_WRONG_STATE);
        auto loaded =
            std::async(std::launch::async, [&] { return file->Load(slow.c_str(), nullptr); });
        while (!ended &&
               loaded.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
            ended = progress->AbortOperation() == S_OK;
        }
        EXPECT_EQ(loaded.get(), ended ? E_ABORT : S_OK);
    }
    EXPECT_EQ(file->Load(Material("tagged.avi").c_str(), nullptr), S_OK);
    EXPECT_EQ(progress->QueryProgress(&size, &done) | progress->AbortOperation(), S_FALSE);
    EXPECT_TRUE(size == done && size > 0);
}

TEST_F(Source, UnloadsAfterPlayingWithoutLeaks) {
    const std::wstring path = folder.PathOf(L"copied.dll");
    ASSERT_TRUE(CopyFileW(ModulePath().c_str(), path.c_str(), TRUE));
    const LoadedModule codecs(ProgramFolder() + L"nyxcodecs.dll");  // a splitter asks for a decoder
    ComPtr<IUnknown> decoders;
    DWORD cookie = 0;
    EXPECT_EQ(codecs.GetClassObject(CLSID_NyxTenBitDecoder, IID_PPV_ARGS(&decoders)) |
                  CoRegisterClassObject(CLSID_NyxTenBitDecoder, decoders.Get(),
                                        CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie),
              S_OK);
    ExpectNothingKept([&] {
        const LoadedModule module(path);
        EXPECT_EQ(FootageHost(Material("dv25.avi"), module).Play().size(), 50u);
        EXPECT_EQ(FootageHost(Material("tagged.avi"), module, CLSID_NyxAviSplitter).Play().size(),
                  25u);
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
    });
    EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
    EXPECT_EQ(GetModuleHandleW(path.c_str()), nullptr);
}

TEST_F(Source, SeekingAnswersAsHostsExpect) {
    constexpr LONGLONG kNone = 8, kTo = 9, kBy = 10, kFor = 11;  // and AM_SEEKING_ReturnTime
    constexpr LONGLONG kAll = 20000000;
    const LONGLONG rows[][7] = {
        {-5, kTo, 99999999, kTo, S_OK, 0, kAll},
        {400000, kFor, 0, kNone, E_INVALIDARG, 0, kAll},
        {400000, kBy, 800000, kFor, S_OK, 400000, 1200000},
        {-100000, kBy, -200000, kBy, S_OK, 300000, 1000000},
        {7, kNone, 2000000, kTo, S_OK, 300000, 2000000},
        {0, kTo | AM_SEEKING_Segment, 0, kNone, E_NOTIMPL, 300000, 2000000},
        {0, kTo | AM_SEEKING_NoFlush, 0, kNone, E_NOTIMPL, 300000, 2000000},
    };
    const FootageHost host(Material("dv25.avi"));
    const GUID frame = TIME_FORMAT_FRAME, field = TIME_FORMAT_FIELD;
    for (const auto& pin : host.pins) {
        const auto seeking = As<IMediaSeeking>(pin);
        DWORD can = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanPlayBackwards;
        LONGLONG length = 0, end = 0, last = 0, first = 9, one = 0, time = 0, preroll = 9;
        EXPECT_EQ(seeking->CheckCapabilities(&can), S_FALSE);
        EXPECT_EQ(can, DWORD{AM_SEEKING_CanSeekAbsolute});
        EXPECT_EQ(seeking->IsFormatSupported(&field), S_FALSE);
        EXPECT_EQ(seeking->SetTimeFormat(&field), E_INVALIDARG);
        EXPECT_EQ(seeking->GetDuration(&length) | seeking->GetStopPosition(&end) |
                      seeking->GetAvailable(&first, &last) | seeking->GetPreroll(&preroll) |
                      seeking->IsFormatSupported(&frame) |
                      seeking->ConvertTimeFormat(&one, &frame, 799999, nullptr) |
                      seeking->ConvertTimeFormat(&time, nullptr, 2, &frame),
                  S_OK);
        EXPECT_EQ((std::vector{length, end, first, last, one, time, preroll}),
                  (std::vector<LONGLONG>{kAll, kAll, 0, kAll, 1, 800000, 0}));
        EXPECT_EQ(seeking->GetCurrentPosition(&time), E_NOTIMPL);
        EXPECT_EQ(seeking->SetPositions(nullptr, DWORD{kTo}, nullptr, 0), E_POINTER);
        for (const double bad : {0.0, -1.0, double{NAN}, 1e9}) {
            EXPECT_EQ(seeking->SetRate(bad), E_INVALIDARG);
        }
        for (const auto& [current, how, stop, stopHow, result, start, until] : rows) {
            LONGLONG answer = current, answerStop = stop;
            EXPECT_EQ(seeking->SetPositions(&answer, DWORD(how), &answerStop, DWORD(stopHow)),
                      result);
            EXPECT_EQ(seeking->GetPositions(&first, &last), S_OK);
            EXPECT_TRUE(first == start && last == until) << first << " " << last;
            EXPECT_TRUE(result != S_OK || (answer == start && answerStop == until)) << answer;
        }
        EXPECT_EQ(host.Play().size(), 5u);
        EXPECT_EQ(host.Seek(0, kAll), S_OK);
    }
}

TEST_F(Source, ASeekWhilePlayingFlushesEachPinOnce) {
    const FootageHost host(Material("dv25.avi"));
    for (const auto& sink : host.sinks) {  // holds its first sample, as a paused renderer does
        sink->pin.onReceive = [pin = &sink->pin](IMediaSample*) {
            WaitFor([&] { return pin->Seen().beginFlush > 0; });
            LONGLONG stop = 0;  // as a renderer asks when it has seen the end
            EXPECT_EQ(As<IMediaSeeking>(pin->peer)->GetStopPosition(&stop), S_OK);
            return pin->Seen().endFlush > 0 ? S_OK : S_FALSE;
        };
    }
    EXPECT_EQ(As<IMediaSeeking>(host.pins[0])->SetRate(2.0), S_OK);
    EXPECT_EQ(host.filter->Pause(), S_OK);
    for (const auto& sink : host.sinks) {
        WaitFor([&] { return sink->pin.Count() > 0; });
    }
    EXPECT_EQ(host.Seek(4000000, 8000000, 0), S_OK);
    EXPECT_EQ(host.Seek(4000000, 8000000, 1), S_OK);  // the same, as a graph passes it on
    for (const auto& sink : host.sinks) {
        WaitFor([&] { return sink->pin.Seen().endOfStream > 0; });
        const Events seen = sink->pin.Seen();
        EXPECT_EQ(seen.beginFlush * 100 + seen.endFlush * 10 + seen.newSegment, 112);
        EXPECT_EQ((std::vector{seen.segmentStart, seen.segmentStop}),
                  (std::vector<LONGLONG>{4000000, 8000000}));
        EXPECT_EQ(seen.rate, 2.0);
        EXPECT_EQ(sink->pin.Last().stop, 2000000);  // twice as fast
    }
    EXPECT_EQ(host.Seek(4000000, 8000000, 0), S_OK);  // asked again by the same: done again
    EXPECT_EQ(host.sinks[0]->pin.Seen().beginFlush, 2);
}

TEST_F(Source, ManyThreadsMaySeekWhileItRunsAndStops) {
    const FootageHost host(Material("dv25.avi"));
    std::atomic<bool> over{false};
    const auto seek = [&](unsigned pin) {
        for (std::mt19937 random(pin); !over;) {
            const LONGLONG from = random() % 20000000;
            EXPECT_EQ(host.Seek(from, 20000000, pin), S_OK);
            EXPECT_EQ(As<IMediaSeeking>(host.pins[pin])->SetRate(from % 2 ? 1.0 : 2.0), S_OK);
        }
    };
    std::future<void> seekers[] = {std::async(std::launch::async, seek, 0),
                                   std::async(std::launch::async, seek, 1)};
    For(std::chrono::seconds(1), [&] {
        EXPECT_GE(host.filter->Pause(), S_OK);
        EXPECT_GE(host.filter->Run(0), S_OK);
        EXPECT_EQ(host.filter->Stop(), S_OK);
    });
    over = true;
    for (auto& seeker : seekers) {
        seeker.wait();
    }
    EXPECT_EQ(As<IMediaSeeking>(host.pins[0])->SetRate(1), S_OK);
    EXPECT_EQ(host.Seek(0, 20000000), S_OK);
    EXPECT_EQ(host.Play().size(), 50u);
    EXPECT_EQ(host.graph->Count(EC_ERRORABORT), 0);
}

TEST_F(Source, StopsWhileItsThreadsWait) {
    for (const std::size_t held : {0u, 1u}) {
        const FootageHost host(Material("v210.mov"));
        std::vector<ComPtr<IMediaSample>> kept;  // so that no buffer is left
        EndPin& pin = host.sinks[held]->pin;
        pin.onReceive = [&kept](IMediaSample* sample) { return kept.emplace_back(sample), S_OK; };
        EXPECT_EQ(host.filter->Run(0), S_OK);
        WaitFor([&] { return pin.Count() >= 2; });
        WaitFor([&] { return host.sinks[1 - held]->pin.Seen().endOfStream == 1; });
        EXPECT_EQ(host.filter->Stop(), S_OK);
        EXPECT_EQ(pin.Seen().endOfStream, 0);
    }
}

TEST_F(Source, ARejectedFrameIsSkippedAndAFailureEndsItsStream) {
    const FootageHost host(Write(L"long.dv", LongDv()));
    HRESULT answer = E_FAIL;
    EndPin& picture = host.sinks[0]->pin;
    picture.onReceive = [&](IMediaSample*) { return answer; };
    EXPECT_EQ(host.Seek(0, 20000000), S_OK);
    EXPECT_EQ(host.Play().size(), 50u);
    EXPECT_TRUE(picture.Last().discontinuity);
    EXPECT_EQ(host.graph->Count(EC_STREAM_ERROR_STILLPLAYING), 50);
    EXPECT_EQ(host.graph->Count(EC_ERRORABORT), 0);
    answer = VFW_E_TYPE_NOT_ACCEPTED;
    EXPECT_EQ(host.Seek(0, 280000000), S_OK);
    EXPECT_EQ(host.Play().size(), 1u);
    EXPECT_EQ(host.graph->Count(EC_ERRORABORT), 1);
    EXPECT_EQ(host.sinks[1]->pin.Last().stop, 280000000);
}

}  // namespace
}  // namespace nyx::test

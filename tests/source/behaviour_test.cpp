// What a host may do to the source, and what files may be.

#include <cmath>
#include <random>

#include "tests/source/footage_host.h"
#include "tests/support/settings.h"

namespace nyx::test {
namespace {

namespace fs = std::filesystem;

class Source : public ComTest {
  protected:
    const TemporaryFolder folder{L"footage \u00E9\u3042"};

    std::wstring Write(const std::wstring& name, const std::string& bytes) const {
        std::ofstream(folder.path / name, std::ios::binary) << bytes;
        return folder.PathOf(name);
    }
    std::wstring Cut(const std::string& name, double part) const {
        const std::string all = ReadAll(Material(name));
        return Write(L"cut", all.substr(0, static_cast<std::size_t>(double(all.size()) * part)));
    }
};

TEST_F(Source, WhatCannotBePlayedIsRefusedAndChangesNothing) {
    const std::wstring locked = Write(L"locked", "x");
    const HANDLE lock =
        CreateFileW(locked.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    const struct {
        std::wstring path;
        HRESULT result;
    } rows[] = {
        {folder.PathOf(L"missing"), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {folder.PathOf(L"no\\missing"), HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {folder.path.wstring(), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)},
        {locked, HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION)},
        {Write(L"empty.mxf", ""), VFW_E_UNKNOWN_FILE_TYPE},
        {Write(L"garbage.avi", std::string(100000, 'G')), VFW_E_UNKNOWN_FILE_TYPE},
        {Cut("dv25.mov", 0.6), VFW_E_INVALID_FILE_FORMAT},
        {Material("other.avi"), VFW_E_UNSUPPORTED_STREAM},
        {Material("long.mxf"), VFW_E_UNSUPPORTED_VIDEO},
    };
    for (const auto& row : rows) {
        const FootageHost host(row.path);
        EXPECT_EQ(host.loaded, row.result) << fs::path(row.path);
        EXPECT_TRUE(host.pins.empty());
        const auto file = As<IFileSourceFilter>(host.filter);
        LPOLESTR name = nullptr;
        EXPECT_EQ(file->GetCurFile(&name, nullptr), S_OK);
        EXPECT_EQ(name, nullptr);
        EXPECT_EQ(file->Load(Material("tagged.avi").c_str(), nullptr), S_OK);
        EXPECT_EQ(file->Load(Material("tagged.avi").c_str(), nullptr), E_UNEXPECTED);
    }
    CloseHandle(lock);
}

TEST_F(Source, OpensAPathOfAnyLengthAndTellsIt) {
    const std::wstring root = L"\\\\?\\" + folder.PathOf(std::wstring(100, L'\u00E9'));
    const std::wstring deep = root + L"\\" + std::wstring(120, L'\u00E9');
    CreateDirectoryW(root.c_str(), nullptr);
    ASSERT_TRUE(CopyFileW(Material("tagged.avi").c_str(), deep.c_str(), FALSE));
    for (const std::wstring& path : {deep, deep.substr(4)}) {
        const FootageHost host(path);
        EXPECT_EQ(host.loaded, S_OK);
        LPOLESTR name = nullptr;
        EXPECT_EQ(As<IFileSourceFilter>(host.filter)->GetCurFile(&name, nullptr), S_OK);
        EXPECT_EQ(name, path);
        CoTaskMemFree(name);
    }
    EXPECT_TRUE(DeleteFileW(deep.c_str()));
}

TEST_F(Source, ATornRecordingPlaysToItsLastWholeFrame) {
    for (const char* clip :
         {"dv25.avi", "dv25.dv", "dv50.mxf", "d10.mxf", "mpeg.gxf", "mpeg.mxf", "v210.avi"}) {
        SCOPED_TRACE(clip);
        const auto all = FootageHost(Material(clip)).Play();
        const FootageHost host(Cut(clip, 0.6));
        auto torn = host.Play();
        ASSERT_GT(torn.size(), all.size() / 2);
        ASSERT_LT(torn.size(), all.size());
        for (std::size_t i = 0; i < torn.size(); ++i) {
            EXPECT_TRUE(torn[i].bytes == all[i].bytes && torn[i].start == all[i].start) << i;
        }
        EXPECT_EQ(host.Seek(*all[5].start, *all[7].start), S_OK);
        torn = host.Play();
        ASSERT_EQ(torn.size(), 2u);
        EXPECT_TRUE(torn[0].bytes == all[5].bytes && torn[1].bytes == all[6].bytes);
        EXPECT_TRUE(host.graph->Seen().empty());
    }
}

TEST_F(Source, AFileMayGrowShrinkAndGoWhileItIsPlayed) {
    const std::string all = ReadAll(Material("dv25.dv"));
    const std::wstring path = Cut("dv25.dv", 0.5);
    const FootageHost host(path);
    std::ofstream(fs::path(path), std::ios::binary | std::ios::app) << all.substr(all.size() / 2);
    EXPECT_EQ(host.Play().size(), 50u);
    fs::resize_file(path, 144000 * 10);
    EXPECT_EQ(host.Play().size(), 10u);
    EXPECT_TRUE(DeleteFileW(path.c_str()));
    EXPECT_EQ(host.Play().size(), 10u);
}

TEST_F(Source, SeekingAnswersAsHostsExpect) {
    const FootageHost host(Material("dv25.avi"));
    const GUID frame = TIME_FORMAT_FRAME;
    const GUID field = TIME_FORMAT_FIELD;
    for (const auto& pin : host.pins) {
        const auto seeking = As<IMediaSeeking>(pin);
        DWORD can = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanPlayBackwards;
        LONGLONG length = 0, end = 0, last = 0, first = 9, one = 0, time = 0;
        EXPECT_EQ(seeking->CheckCapabilities(&can), S_FALSE);
        EXPECT_EQ(can, DWORD{AM_SEEKING_CanSeekAbsolute});
        EXPECT_EQ(seeking->IsFormatSupported(&frame), S_OK);
        EXPECT_EQ(seeking->IsFormatSupported(&field), S_FALSE);
        EXPECT_EQ(seeking->SetTimeFormat(&field), E_INVALIDARG);
        EXPECT_EQ(seeking->GetDuration(&length) | seeking->GetStopPosition(&end) |
                      seeking->GetAvailable(&first, &last) |
                      seeking->ConvertTimeFormat(&one, &frame, 799999, nullptr) |
                      seeking->ConvertTimeFormat(&time, nullptr, 2, &frame),
                  S_OK);
        EXPECT_EQ((std::vector{length, end, first, last, one, time}),
                  (std::vector<LONGLONG>{20000000, 20000000, 0, 20000000, 1, 800000}));
        EXPECT_EQ(seeking->GetCurrentPosition(&time), E_NOTIMPL);
        for (const double bad : {0.0, -1.0, double{NAN}, 1e9}) {
            EXPECT_EQ(seeking->SetRate(bad), E_INVALIDARG);
        }
        // Beyond both ends, then relative and incremental.
        EXPECT_EQ(host.Seek(-5, 99999999), S_OK);
        EXPECT_EQ(seeking->GetPositions(&first, &last), S_OK);
        EXPECT_EQ(first + last, 20000000);
        first = 400000, last = 800000;
        EXPECT_EQ(seeking->SetPositions(&first, AM_SEEKING_IncrementalPositioning, nullptr, 0),
                  E_INVALIDARG);
        EXPECT_EQ(seeking->SetPositions(&first, AM_SEEKING_RelativePositioning, &last,
                                        AM_SEEKING_IncrementalPositioning | AM_SEEKING_ReturnTime),
                  S_OK);
        EXPECT_EQ(last, 1200000);
        EXPECT_EQ(seeking->GetPositions(&first, &end), S_OK);
        EXPECT_EQ((std::vector{first, end}), (std::vector<LONGLONG>{400000, 1200000}));
        EXPECT_EQ(host.Seek(0, 20000000), S_OK);
        last = 2000000;
        EXPECT_EQ(seeking->SetPositions(nullptr, AM_SEEKING_NoPositioning, &last,
                                        AM_SEEKING_AbsolutePositioning),
                  S_OK);
        EXPECT_EQ(host.Play().size(), 5u);
        EXPECT_EQ(host.Seek(0, 20000000), S_OK);
        PIN_INFO info{};
        ComPtr<IPin> found;
        EXPECT_EQ(pin->QueryPinInfo(&info), S_OK);
        EXPECT_EQ(Adopt(info.pFilter)->FindPin(info.achName, &found), S_OK);
        EXPECT_EQ(found, pin);
    }
    EXPECT_EQ(As<IAMFilterMiscFlags>(host.filter)->GetMiscFlags(),
              ULONG{AM_FILTER_MISC_FLAGS_IS_SOURCE});
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
        EXPECT_EQ(seen.segmentStart, 4000000);
        EXPECT_EQ(seen.segmentStop, 8000000);
        EXPECT_EQ(seen.rate, 2.0);
        EXPECT_EQ(sink->pin.Last().stop, 2000000);  // twice as fast
    }
    EXPECT_EQ(host.Seek(4000000, 8000000, 0), S_OK);  // asked again by the same: done again
    EXPECT_EQ(host.sinks[0]->pin.Seen().beginFlush, 2);
}

TEST_F(Source, ManyThreadsMaySeekWhileItIsRunAndStopped) {
    const FootageHost host(Material("dv25.avi"));
    std::atomic<bool> over{false};
    std::vector<std::thread> threads;
    for (std::size_t pin = 0; pin < 2; ++pin) {
        threads.emplace_back([&, pin] {
            for (std::mt19937 random(static_cast<unsigned>(pin)); !over;) {
                const LONGLONG from = random() % 20000000;
                EXPECT_EQ(host.Seek(from, 20000000, pin), S_OK);
                EXPECT_EQ(As<IMediaSeeking>(host.pins[pin])->SetRate(from % 2 ? 1.0 : 2.0), S_OK);
            }
        });
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    do {
        EXPECT_GE(host.filter->Pause(), S_OK);
        EXPECT_GE(host.filter->Run(0), S_OK);
        EXPECT_EQ(host.filter->Stop(), S_OK);
    } while (std::chrono::steady_clock::now() < end);
    over = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(As<IMediaSeeking>(host.pins[0])->SetRate(1), S_OK);
    EXPECT_EQ(host.Seek(0, 20000000), S_OK);
    EXPECT_EQ(host.Play().size(), 50u);
    EXPECT_EQ(host.graph->Count(EC_ERRORABORT), 0);
}

TEST_F(Source, StopsWhateverItsThreadsWaitFor) {
    for (const std::size_t held : {0u, 1u}) {
        const FootageHost host(Material("v210.mov"));
        std::vector<ComPtr<IMediaSample>> kept;  // until there is no buffer left
        EndPin& pin = host.sinks[held]->pin;
        pin.onReceive = [&kept](IMediaSample* sample) {
            kept.emplace_back(sample);
            return S_OK;
        };
        EXPECT_EQ(host.filter->Run(0), S_OK);
        WaitFor([&] { return pin.Count() >= 3; });
        WaitFor([&] { return host.sinks[1 - held]->pin.Seen().endOfStream == 1; });
        EXPECT_EQ(host.filter->Stop(), S_OK);
        EXPECT_EQ(pin.Seen().endOfStream, 0);
    }
}

TEST_F(Source, AFrameThatIsRefusedCostsItselfAndAFailureItsStream) {
    std::string all;
    for (int i = 0; i < 14; ++i) {  // more than is read ahead
        all += ReadAll(Material("dv25.dv"));
    }
    const FootageHost host(Write(L"long.dv", all));
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

// What a host may do to the source, and what files may be.

#include <atomic>
#include <cmath>
#include <future>
#include <random>

#include "tests/source/footage_host.h"
#include "tests/support/leaks.h"
#include "tests/support/settings.h"
#include "tests/support/watchdog.h"

__CRT_UUID_DECL(IAMOpenProgress, 0x8e1c39a1, 0xde53, 0x11cf, 0xaa, 0x63, 0x00, 0x80, 0xc7, 0x44,
                0x52, 0x8d)

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
    /// A clip whose table has so many rows, as it says.
    std::wstring Claim(const std::string& name, const char* table, unsigned rows) const {
        std::string all = ReadAll(Material(name));
        rows = __builtin_bswap32(rows);
        all.replace(all.find(table) + 8, 4, reinterpret_cast<const char*>(&rows), 4);
        return Write(std::wstring(table, table + 4), all);
    }
};

TEST_F(Source, WhatCannotBePlayedIsRefusedAndChangesNothing) {
    const std::pair<std::wstring, HRESULT> rows[] = {
        {folder.PathOf(L"missing"), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {folder.PathOf(L"no\\missing"), HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {folder.path.wstring(), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)},
        {Write(L"empty.mxf", ""), VFW_E_UNKNOWN_FILE_TYPE},
        {Write(L"garbage.avi", std::string(100000, 'G')), VFW_E_UNKNOWN_FILE_TYPE},
        {L"NUL", HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED)},
        {Cut("dv25.mov", 0.6), VFW_E_INVALID_FILE_FORMAT},
        {Cut("dv25.dv", 0.0005), VFW_E_INVALID_FILE_FORMAT},
        {Claim("dv25.mov", "stco", 0x1FFFFFF0), VFW_E_INVALID_FILE_FORMAT},
        {Claim("fragments.mov", "trun", 0xFFFFFF), VFW_E_INVALID_FILE_FORMAT},
        {Material("other.avi"), VFW_E_UNSUPPORTED_STREAM},
        {Material("long.mxf"), VFW_E_UNSUPPORTED_VIDEO},
    };
    for (const auto& [path, result] : rows) {
        const FootageHost host(path);
        EXPECT_EQ(host.loaded, result) << fs::path(path);
        EXPECT_TRUE(host.pins.empty());
        const auto file = As<IFileSourceFilter>(host.filter);
        LPOLESTR name = nullptr;
        EXPECT_TRUE(file->GetCurFile(&name, nullptr) == S_OK && !name);
        EXPECT_EQ(file->Load(Material("tagged.avi").c_str(), nullptr), S_OK);
        EXPECT_EQ(file->Load(Material("tagged.avi").c_str(), nullptr), E_UNEXPECTED);
    }
}

TEST_F(Source, OpensAPathOfAnyLengthAlsoInsideAnotherObject) {
    const std::wstring root = L"\\\\?\\" + folder.PathOf(std::wstring(100, L'\u00E9'));
    const std::wstring deep = root + L"\\" + std::wstring(120, L'\u00E9');
    CreateDirectoryW(root.c_str(), nullptr);
    ASSERT_TRUE(CopyFileW(Material("tagged.avi").c_str(), deep.c_str(), FALSE));
    const auto outer = As<IUnknown>(Make<End>(PINDIR_INPUT));
    ComPtr<IUnknown> inner;
    EXPECT_EQ(Module().Create(kFootageSource, outer.Get(), IID_PPV_ARGS(&inner)), S_OK);
    const auto file = As<IFileSourceFilter>(inner);
    EXPECT_EQ(As<IUnknown>(file).Get(), outer.Get());
    LPOLESTR name = nullptr;
    EXPECT_EQ(file->Load(deep.c_str() + 4, nullptr) | file->GetCurFile(&name, nullptr), S_OK);
    EXPECT_EQ(name, deep.substr(4));
    CoTaskMemFree(name);
    EXPECT_TRUE(DeleteFileW(deep.c_str()));
}

TEST_F(Source, ATornRecordingPlaysToItsLastWholeFrame) {
    for (const char* clip : {"dv25.avi", "dv25.dv", "d10.mxf", "mpeg.gxf", "v210.avi"}) {
        SCOPED_TRACE(clip);
        const auto all = FootageHost(Material(clip)).Play();
        const FootageHost host(Cut(clip, 0.61));
        const auto torn = host.Play();
        ASSERT_TRUE(torn.size() >= all.size() / 2 && torn.size() < all.size());
        EXPECT_TRUE(std::equal(torn.begin(), torn.end(), all.begin(), [](auto& a, auto& b) {
            return a.bytes == b.bytes && a.start == b.start;
        }));
        EXPECT_EQ(host.Seek(*all[5].start, *all[6].start), S_OK);
        EXPECT_TRUE(host.Play().at(0).bytes == all[5].bytes);
        EXPECT_TRUE(host.graph->Seen().empty());
    }
    std::string half = ReadAll(Material("dv25.avi"));  // its last frame is, the rest left over
    const std::size_t chunk = half.rfind("00dc", half.rfind("idx1") - 1);
    half.replace(chunk + 4, 4, {'\0', '\0', '\1', '\0'});
    half.replace(chunk + 8 + 0x10000, 8, {'J', 'U', 'N', 'K', '\x78', '\x32', '\1', '\0'});
    EXPECT_EQ(FootageHost(Write(L"half.avi", half)).Play().size(), 49u);
}

TEST_F(Source, APictureWithoutBytesIsTheOneBeforeOnceMore) {
    std::string clip = ReadAll(Material("gap.avi"));
    clip.replace(clip.rfind("00dc", clip.rfind("idx1")) + 4, 4, 4, '\0');
    const FootageHost host(Write(L"gap.avi", clip));
    const auto all = host.Play();
    ASSERT_EQ(all.size(), 51u);
    for (std::size_t i = 1; i < all.size(); ++i) {
        EXPECT_EQ(all[i].start, static_cast<LONGLONG>(i) * 400000);
        EXPECT_EQ(all[i].bytes == all[i - 1].bytes, i == 1 || i == 50) << i;
    }
    EXPECT_EQ(host.Seek(400000, 800000), S_OK);
    const auto second = host.Play();
    EXPECT_TRUE(second.size() == 1 && second[0].bytes == all[0].bytes && second[0].start == 0);
}

TEST_F(Source, TimeCountsFromTheEarliestStreamAndWhatIsLeftOutIsReported) {
    const FootageHost host(Material("late.mov"));
    EXPECT_EQ(host.graph->Count(EC_STREAM_ERROR_STOPPED), 1);
    ASSERT_EQ(host.pins.size(), 2u);
    const std::string sound = ReadAll(Material("late.mov.audio"));
    for (const LONGLONG from : {0, 4000000, 7000000}) {
        EXPECT_EQ(host.Seek(from, 20000000), S_OK);
        const auto played = host.Play();
        EXPECT_EQ(played.at(0).start, std::max<LONGLONG>(5000000 - from, 0));
        std::string heard;
        for (const Sample& run : host.sinks[1]->pin.Samples()) {
            heard.append(run.bytes.begin(), run.bytes.end());
        }
        EXPECT_TRUE(heard == sound.substr(static_cast<std::size_t>(from / 625 * 12))) << from;
    }
    LONGLONG length = 0;
    EXPECT_EQ(As<IMediaSeeking>(host.pins[0])->GetDuration(&length), S_OK);
    EXPECT_EQ(length, 20000000);
}

TEST_F(Source, PlaysWhatLiesBehindFourGiB) {
    const FootageHost host(Material("big.mov"));
    EXPECT_EQ(host.Seek(9200000, 10000000), S_OK);
    std::string bytes;
    for (const Sample& frame : host.Play()) {
        bytes.append(frame.bytes.begin(), frame.bytes.end());
    }
    EXPECT_TRUE(bytes == ReadAll(Material("fragments.mov.bytes")).substr(23 * 2048));
}

TEST_F(Source, OpeningCanBeEnded) {
    ComPtr<IFileSourceFilter> file;
    ComPtr<IAMOpenProgress> progress;
    LONGLONG size = 0, done = 0;
    for (bool ended = false; !ended;) {  // again where the file was open before
        const auto filter = Module().Create(kFootageSource);
        file = As<IFileSourceFilter>(filter);
        progress = As<IAMOpenProgress>(filter);
        EXPECT_EQ(progress->QueryProgress(&size, &done), VFW_E_WRONG_STATE);
        auto loaded = std::async(std::launch::async,
                                 [&] { return file->Load(Material("slow.m2v").c_str(), nullptr); });
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

TEST_F(Source, AFileMayGrowShrinkGoAndFailWhileItIsPlayed) {
    const std::pair<const char*, std::size_t> rows[] = {{"dv25.dv", 10}, {"dv25.avi", 9}};
    for (const auto& [clip, left] : rows) {
        SCOPED_TRACE(clip);
        const std::string all = ReadAll(Material(clip));
        const fs::path path = Cut(clip, 0.5);
        const FootageHost host(path);
        std::ofstream(path, std::ios::binary | std::ios::app) << all.substr(all.size() / 2);
        EXPECT_EQ(host.Play().size(), 50u);
        fs::resize_file(path, all.size() / 5);
        EXPECT_EQ(host.Play().size(), left);
        EXPECT_TRUE(fs::remove(path));
        EXPECT_EQ(host.Play().size(), left);
        EXPECT_TRUE(host.graph->Seen().empty());
        for (ULONG_PTR value = 4; value < 10000; value += 4) {  // as a disk that is pulled out
            const auto handle = reinterpret_cast<HANDLE>(value);
            BY_HANDLE_FILE_INFORMATION file{};
            if (GetFileInformationByHandle(handle, &file) && file.nFileSizeLow == all.size() / 5) {
                CloseHandle(handle);
            }
        }
        EXPECT_EQ(host.Play().size(), 0u);
        EXPECT_EQ(host.graph->Count(EC_ERRORABORT), 2);
    }
}

TEST_F(Source, UnloadsAfterPlayingAndKeepsNothing) {
    const std::wstring path = folder.PathOf(L"copied.dll");
    ASSERT_TRUE(CopyFileW(ModulePath().c_str(), path.c_str(), TRUE));
    ExpectNothingKept([&] {
        const LoadedModule module(path);
        EXPECT_EQ(FootageHost(Material("dv25.avi"), module).Play().size(), 50u);
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
    });
    EXPECT_EQ(GetModuleHandleW(path.c_str()), nullptr);
}

TEST_F(Source, AStreamThatEndsEarlyEndsBeforeAnyOtherIsDelivered) {
    std::string all;
    for (int i = 0; i < 15; ++i) {  // more than is read ahead
        all += ReadAll(Material("dv25.dv"));
    }
    for (std::size_t at = 4323; at < 3600000;
         at += 144000) {  // a second of four channels: 32 kHz, 12 bits
        all[at + 4] = 0x11;
    }
    const FootageHost host(Write(L"long.dv", all));
    ASSERT_EQ(host.pins.size(), 3u);
    for (const auto& sink : host.sinks) {
        sink->pin.onReceive = [&](IMediaSample*) {
            WaitFor([&] { return host.sinks[2]->pin.Seen().endOfStream > 0; });
            return S_OK;
        };
    }
    EXPECT_EQ(host.Seek(20000000, 40000000), S_OK);
    EXPECT_EQ(host.Play().size(), 50u);
    EXPECT_EQ(host.sinks[2]->pin.Count(), 0u);
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
            LONGLONG told = current, toldStop = stop;
            EXPECT_EQ(seeking->SetPositions(&told, DWORD(how), &toldStop, DWORD(stopHow)), result);
            EXPECT_EQ(seeking->GetPositions(&first, &last), S_OK);
            EXPECT_TRUE(first == start && last == until) << first << " " << last;
            EXPECT_TRUE(result != S_OK || (told == start && toldStop == until)) << told;
        }
        EXPECT_EQ(host.Play().size(), 5u);
        EXPECT_EQ(host.Seek(0, kAll), S_OK);
        LPOLESTR id = nullptr;
        ComPtr<IPin> found;
        EXPECT_EQ(pin->QueryId(&id) | host.filter->FindPin(id, &found), S_OK);
        EXPECT_EQ(found.Get(), pin.Get());
        CoTaskMemFree(id);
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
        EXPECT_EQ((std::vector{seen.segmentStart, seen.segmentStop}),
                  (std::vector<LONGLONG>{4000000, 8000000}));
        EXPECT_EQ(seen.rate, 2.0);
        EXPECT_EQ(sink->pin.Last().stop, 2000000);  // twice as fast
    }
    EXPECT_EQ(host.Seek(4000000, 8000000, 0), S_OK);  // asked again by the same: done again
    EXPECT_EQ(host.sinks[0]->pin.Seen().beginFlush, 2);
}

TEST_F(Source, ManyThreadsMaySeekWhileItIsRunAndStopped) {
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
    seekers[0].wait(), seekers[1].wait();
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
        pin.onReceive = [&kept](IMediaSample* sample) { return kept.emplace_back(sample), S_OK; };
        EXPECT_EQ(host.filter->Run(0), S_OK);
        WaitFor([&] { return pin.Count() >= 2; });
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

TEST_F(Source, WhatChangesInTheCourseOfDvIsFollowedOrDoneWithout) {
    struct Part {
        const char* file;
        std::size_t frameBytes;
        int rate;  ///< of sound
    };
    const Part pal = {"dv25.dv", 144000, 48000}, slow = {"dv32.dv", 144000, 32000};
    const Part ntsc = {"dv525.dv", 120000, 48000};
    const std::vector<Part> rows[] = {{pal, slow, pal}, {pal, ntsc, pal}, {ntsc, pal}};
    for (const auto& [row, takes] : {std::pair(0, true), std::pair(0, false), std::pair(1, true),
                                     std::pair(1, false), std::pair(2, true)}) {
        SCOPED_TRACE(std::to_string(row) + (takes ? " taken" : " refused"));
        std::string all, pictures, sound;
        bool ended = false;
        for (const Part& part : rows[row]) {
            const std::string heard = ReadAll(Material(part.file + std::string(".audio")));
            all += ReadAll(Material(part.file));
            ended = ended || (!takes && part.frameBytes != rows[row][0].frameBytes);
            pictures = ended ? pictures : all;
            const bool silent = !takes && part.rate != 48000;
            sound += ended ? "" : silent ? std::string(heard.size() / 2 * 3, '\0') : heard;
        }
        const FootageHost host(Write(L"changing.dv", all));
        for (const auto& sink : host.sinks) {
            sink->pin.accept = [takes = takes](const auto&) { return takes ? S_OK : S_FALSE; };
        }
        const auto play = [&](LONGLONG from, LONGLONG to) {
            auto seen = std::pair<std::string, std::string>();
            EXPECT_EQ(host.Seek(from, to), S_OK);
            MediaType type = ConnectionType(host.pins[0]), soundType = ConnectionType(host.pins[1]);
            LONGLONG at = 0;
            for (const Sample& sample : host.Play()) {
                type = sample.type.value_or(type);
                EXPECT_EQ(type.Header().biHeight, sample.bytes.size() == 144000 ? 576 : 480);
                EXPECT_NEAR(double(*sample.stop - at), double(type.Info().AvgTimePerFrame), 2);
                EXPECT_NEAR(double(*sample.start - std::exchange(at, *sample.stop)), 0, 1);
                seen.first.append(sample.bytes.begin(), sample.bytes.end());
            }
            double time = 0;
            for (const Sample& run : host.sinks[1]->pin.Samples()) {
                soundType = run.type.value_or(soundType);
                const auto& wave = *reinterpret_cast<const WAVEFORMATEX*>(soundType.pbFormat);
                EXPECT_NEAR(double(*run.start), time, 3);
                time += double(run.bytes.size()) * 1e7 / wave.nAvgBytesPerSec;
                seen.second.append(run.bytes.begin(), run.bytes.end());
            }
            return seen;
        };
        LONGLONG end = 0;
        EXPECT_EQ(As<IMediaSeeking>(host.pins[0])->GetDuration(&end), S_OK);
        EXPECT_TRUE(play(0, end) == std::pair(pictures, sound));
        EXPECT_TRUE(play(end - 10000000, end) ==
                    std::pair(all.substr(all.size() - 3600000),
                              ReadAll(Material("dv25.dv.audio")).substr(192000)));
        EXPECT_EQ(
            host.graph->Seen(),
            (std::vector<Graph::Event>(ended, {EC_STREAM_ERROR_STOPPED, VFW_E_TYPE_NOT_ACCEPTED})));
    }
}

}  // namespace
}  // namespace nyx::test

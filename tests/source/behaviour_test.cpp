// What a host may do to the source, and what files may be.

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tests/source/footage_host.h"

namespace nyx::test {
namespace {

namespace fs = std::filesystem;

std::string Load(const std::wstring& path) {
    std::ifstream file(fs::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Source : public ComTest {
  protected:
    ~Source() override { fs::remove_all(folder); }

    std::wstring Write(const std::wstring& name, const std::string& bytes) const {
        std::ofstream(folder / name, std::ios::binary) << bytes;
        return (folder / name).wstring();
    }
    std::wstring Cut(const std::string& name, double part) const {
        const std::string all = Load(Material(name));
        return Write(L"cut-" + std::wstring(name.begin(), name.end()),
                     all.substr(0, static_cast<std::size_t>(double(all.size()) * part)));
    }

    const fs::path folder = [] {
        const fs::path made = fs::temp_directory_path() /
                              (L"footage \u00E9\u3042 " + std::to_wstring(GetCurrentProcessId()));
        fs::create_directories(made);
        return made;
    }();
};

TEST_F(Source, WhatCannotBePlayedIsRefusedAndChangesNothing) {
    const std::wstring locked = Write(L"locked", "x");
    const HANDLE lock =
        CreateFileW(locked.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    const struct {
        std::wstring path;
        HRESULT result;
    } rows[] = {
        {L"", HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {(folder / L"missing").wstring(), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {(folder / L"no" / L"missing").wstring(), HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {folder.wstring(), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)},
        {locked, HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION)},
        {Write(L"empty.mxf", ""), VFW_E_UNKNOWN_FILE_TYPE},
        {Write(L"garbage.avi", std::string(100000, 'G')), VFW_E_UNKNOWN_FILE_TYPE},
        {Cut("dv25.mov", 0.6), VFW_E_INVALID_FILE_FORMAT},
        {Material("other.avi"), VFW_E_UNSUPPORTED_STREAM},
        {Material("long.mxf"), VFW_E_UNSUPPORTED_VIDEO},
    };
    const auto filter = Module().Create(kFootageSource);
    const auto file = As<IFileSourceFilter>(filter);
    EXPECT_EQ(file->Load(nullptr, nullptr), E_POINTER);
    for (const auto& row : rows) {
        EXPECT_EQ(file->Load(row.path.c_str(), nullptr), row.result) << fs::path(row.path);
        ComPtr<IEnumPins> pins;
        ComPtr<IPin> pin;
        filter->EnumPins(&pins);
        EXPECT_EQ(pins->Next(1, &pin, nullptr), S_FALSE);
        LPOLESTR name = nullptr;
        EXPECT_EQ(file->GetCurFile(&name, nullptr), S_OK);
        EXPECT_EQ(name, nullptr);
    }
    CloseHandle(lock);
    EXPECT_EQ(file->Load(Material("dv25.dv").c_str(), nullptr), S_OK);
    EXPECT_EQ(file->Load(Material("dv25.dv").c_str(), nullptr), E_UNEXPECTED);
}

TEST_F(Source, OpensAPathOfAnyLengthAndTellsIt) {
    fs::path deep = L"\\\\?\\" + folder.wstring();
    for (int i = 0; i < 3; ++i) {
        deep /= std::wstring(100, L'\u00E9');
        fs::create_directory(deep);
    }
    deep /= L"clip.dv";
    ASSERT_TRUE(CopyFileW(Material("dv25.dv").c_str(), deep.c_str(), FALSE));
    for (const std::wstring& path : {deep.wstring(), deep.wstring().substr(4)}) {
        FootageHost host(path);
        EXPECT_EQ(host.loaded, S_OK);
        LPOLESTR name = nullptr;
        EXPECT_EQ(As<IFileSourceFilter>(host.filter)->GetCurFile(&name, nullptr), S_OK);
        EXPECT_EQ(name, path);
        CoTaskMemFree(name);
    }
    EXPECT_TRUE(DeleteFileW(deep.c_str()));
    for (int i = 0; i < 3; ++i) {
        deep = deep.parent_path();
        EXPECT_TRUE(RemoveDirectoryW(deep.c_str()));
    }
}

TEST_F(Source, ATornRecordingPlaysToItsLastWholeFrame) {
    for (const char* clip :
         {"dv25.avi", "dv25.dv", "dv50.mxf", "d10.mxf", "mpeg.gxf", "v210.avi"}) {
        SCOPED_TRACE(clip);
        FootageHost whole(Material(clip));
        whole.Play();
        const auto all = whole.sinks[0]->pin.Samples();
        FootageHost host(Cut(clip, 0.6));
        ASSERT_EQ(host.loaded, S_OK);
        host.Play();
        const auto torn = host.sinks[0]->pin.Samples();
        ASSERT_GT(torn.size(), all.size() / 2);
        ASSERT_LT(torn.size(), all.size());
        EXPECT_EQ(host.Seek(*all[5].start, *all[7].start), S_OK);
        host.Play();
        const auto middle = host.sinks[0]->pin.Samples();
        ASSERT_EQ(middle.size(), 2u);
        for (std::size_t i = 0; i < torn.size(); ++i) {
            EXPECT_TRUE(torn[i].bytes == all[i].bytes && torn[i].start == all[i].start) << i;
        }
        EXPECT_TRUE(middle[0].bytes == all[5].bytes && middle[1].bytes == all[6].bytes);
        EXPECT_TRUE(host.graph->Seen().empty());
    }
}

TEST_F(Source, AFileMayGrowShrinkAndGoWhileItIsPlayed) {
    const std::string all = Load(Material("dv25.dv"));
    const std::wstring path = Cut("dv25.dv", 0.5);
    FootageHost host(path);
    std::ofstream(fs::path(path), std::ios::binary | std::ios::app) << all.substr(all.size() / 2);
    host.Play();
    EXPECT_EQ(host.sinks[0]->pin.Count(), 50u);
    fs::resize_file(path, 144000 * 10);
    host.Play();
    EXPECT_EQ(host.sinks[0]->pin.Count(), 10u);
    EXPECT_TRUE(DeleteFileW(path.c_str()));
    host.Play();
    EXPECT_EQ(host.sinks[0]->pin.Count(), 10u);
}

TEST_F(Source, SeekingAnswersAsHostsExpect) {
    FootageHost host(Material("dv25.avi"));
    for (const auto& pin : host.pins) {
        const auto seeking = As<IMediaSeeking>(pin);
        LONGLONG value = 0, other = 0;
        double rate = 0;
        DWORD can = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanPlayBackwards;
        EXPECT_EQ(seeking->CheckCapabilities(&can), S_FALSE);
        EXPECT_EQ(can, DWORD{AM_SEEKING_CanSeekAbsolute});
        EXPECT_EQ(seeking->IsFormatSupported(&TIME_FORMAT_FRAME), S_OK);
        EXPECT_EQ(seeking->IsFormatSupported(&TIME_FORMAT_FIELD), S_FALSE);
        EXPECT_EQ(seeking->SetTimeFormat(&TIME_FORMAT_FIELD), E_INVALIDARG);
        EXPECT_EQ(seeking->IsUsingTimeFormat(&TIME_FORMAT_MEDIA_TIME), S_OK);
        EXPECT_EQ(seeking->GetDuration(&value), S_OK);
        EXPECT_EQ(value, 20000000);
        EXPECT_EQ(seeking->GetStopPosition(&value), S_OK);
        EXPECT_EQ(value, 20000000);
        EXPECT_EQ(seeking->GetAvailable(&other, &value), S_OK);
        EXPECT_EQ(value, 20000000);
        EXPECT_EQ(seeking->GetCurrentPosition(&value), E_NOTIMPL);
        EXPECT_EQ(seeking->ConvertTimeFormat(&value, &TIME_FORMAT_FRAME, 799999, nullptr), S_OK);
        EXPECT_EQ(value, 1);
        EXPECT_EQ(seeking->ConvertTimeFormat(&value, nullptr, 2, &TIME_FORMAT_FRAME), S_OK);
        EXPECT_EQ(value, 800000);
        for (const double bad : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), 1e9}) {
            EXPECT_EQ(seeking->SetRate(bad), E_INVALIDARG);
        }
        EXPECT_EQ(seeking->GetRate(&rate), S_OK);
        EXPECT_EQ(rate, 1.0);
        // Relative, incremental, beyond the ends.
        EXPECT_EQ(host.Seek(-5, 99999999), S_OK);
        value = 400000;
        other = 800000;
        EXPECT_EQ(seeking->SetPositions(&value, AM_SEEKING_RelativePositioning, &other,
                                        AM_SEEKING_IncrementalPositioning | AM_SEEKING_ReturnTime),
                  S_OK);
        EXPECT_EQ(other, 1200000);
        EXPECT_EQ(seeking->GetPositions(&value, &other), S_OK);
        EXPECT_EQ(value, 400000);
        EXPECT_EQ(other, 1200000);
        EXPECT_EQ(seeking->SetPositions(&value, AM_SEEKING_IncrementalPositioning, nullptr, 0),
                  E_INVALIDARG);
        host.Seek(0, 20000000);
    }
}

TEST_F(Source, ASeekWhilePlayingFlushesEachPinOnce) {
    FootageHost host(Material("dv25.avi"));
    std::atomic<bool> held{true};
    for (const auto& sink : host.sinks) {  // as a paused renderer holds its first sample
        sink->pin.onReceive = [&held, pin = &sink->pin](IMediaSample*) {
            FootageHost::WaitFor([&] { return !held || pin->Seen().beginFlush > 0; });
            return held ? S_FALSE : S_OK;
        };
    }
    EXPECT_EQ(As<IMediaSeeking>(host.pins[0])->SetRate(2.0), S_OK);
    EXPECT_EQ(host.filter->Pause(), S_OK);
    for (const auto& sink : host.sinks) {
        FootageHost::WaitFor([&] { return sink->pin.Count() > 0; });
    }
    std::thread release([&] {
        FootageHost::WaitFor([&] { return host.sinks[1]->pin.Seen().beginFlush > 0; });
        held = false;
    });
    EXPECT_EQ(host.Seek(4000000, 8000000, 0), S_OK);
    release.join();
    EXPECT_EQ(host.Seek(4000000, 8000000, 1), S_OK);  // the same, as a graph passes it on
    for (const auto& sink : host.sinks) {
        FootageHost::WaitFor([&] { return sink->pin.Seen().endOfStream > 0; });
        const Events seen = sink->pin.Seen();
        EXPECT_EQ(seen.beginFlush, 1);
        EXPECT_EQ(seen.endFlush, 1);
        EXPECT_EQ(seen.newSegment, 2);
        EXPECT_EQ(seen.segmentStart, 4000000);
        EXPECT_EQ(seen.segmentStop, 8000000);
        EXPECT_EQ(seen.rate, 2.0);
        EXPECT_EQ(sink->pin.Last().stop, 2000000);  // twice as fast
    }
    EXPECT_EQ(host.Seek(4000000, 8000000, 0), S_OK);  // asked again by the same: done again
    EXPECT_EQ(host.sinks[0]->pin.Seen().beginFlush, 2);
}

TEST_F(Source, StopsWhateverItsThreadsWaitFor) {
    for (const std::size_t held : {0u, 1u}) {
        FootageHost host(Material("v210.mov"));
        std::vector<ComPtr<IMediaSample>> kept;  // until there is no buffer left
        host.sinks[held]->pin.onReceive = [&kept](IMediaSample* sample) {
            kept.emplace_back(sample);
            return S_OK;
        };
        EXPECT_EQ(host.filter->Run(0), S_OK);
        FootageHost::WaitFor([&] { return host.sinks[held]->pin.Count() >= 3; });
        FootageHost::WaitFor([&] { return host.sinks[1 - held]->pin.Seen().endOfStream == 1; });
        EXPECT_EQ(host.filter->Stop(), S_OK);
        EXPECT_EQ(host.sinks[held]->pin.Seen().endOfStream, 0);
    }
}

TEST_F(Source, AFrameThatIsRefusedCostsItselfAndAFailureEndsTheStream) {
    FootageHost host(Material("dv25.dv"));
    HRESULT answer = E_FAIL;
    host.sinks[0]->pin.onReceive = [&](IMediaSample*) { return answer; };
    host.Play();
    EXPECT_EQ(host.sinks[0]->pin.Count(), 50u);
    EXPECT_TRUE(host.sinks[0]->pin.Last().discontinuity);
    EXPECT_EQ(host.graph->Count(EC_ERRORABORT), 0);
    answer = VFW_E_TYPE_NOT_ACCEPTED;
    host.Play();
    EXPECT_EQ(host.sinks[0]->pin.Count(), 1u);
    EXPECT_EQ(host.graph->Count(EC_ERRORABORT), 1);
}

}  // namespace
}  // namespace nyx::test

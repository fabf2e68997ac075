// What files may be, and what may happen to them.

#include "source/read_ahead.h"
#include "tests/source/footage_host.h"
#include "tests/support/memory_source.h"

__CRT_UUID_DECL(IAMStreamSelect, 0xc1960960, 0x17f5, 0x11d1, 0xab, 0xe1, 0x00, 0xa0, 0xc9, 0x05,
                0xf3, 0x75)

namespace nyx::test {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

class Files : public FootageTest {
  protected:
    /// A clip whose table claims so many rows.
    std::wstring Claim(const std::string& name, const char* table, unsigned rows) const {
        std::string all = ReadAll(Material(name));
        rows = __builtin_bswap32(rows);
        all.replace(all.find(table) + 8, 4, reinterpret_cast<const char*>(&rows), 4);
        return Write(std::wstring(table, table + 4), all);
    }
};

TEST_F(Files, ARefusedFileChangesNothing) {
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
        {Material("long.mpg"), VFW_E_UNSUPPORTED_VIDEO},
        {Material("long.ts"), VFW_E_UNSUPPORTED_VIDEO},
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

TEST_F(Files, OpensAPathOfAnyLength) {
    const std::wstring root = L"\\\\?\\" + folder.PathOf(std::wstring(100, L'\u00E9'));
    const std::wstring deep = root + L"\\" + std::wstring(120, L'\u00E9');
    CreateDirectoryW(root.c_str(), nullptr);
    ASSERT_TRUE(CopyFileW(Material("tagged.avi").c_str(), deep.c_str(), FALSE));
    const auto file = As<IFileSourceFilter>(Module().Create(CLSID_NyxFootageSource));
    LPOLESTR name = nullptr;
    EXPECT_EQ(file->Load(deep.c_str() + 4, nullptr) | file->GetCurFile(&name, nullptr), S_OK);
    EXPECT_EQ(name, deep.substr(4));
    CoTaskMemFree(name);
    EXPECT_TRUE(DeleteFileW(deep.c_str()));
}

TEST_F(Files, ATornRecordingPlaysToItsLastWholeFrame) {
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
}

TEST_F(Files, ATornFrameInsideAnAviIsSkipped) {
    std::string half = ReadAll(Material("dv25.avi"));  // of the last frame; the rest is junk
    const std::size_t chunk = half.rfind("00dc", half.rfind("idx1") - 1);
    half.replace(chunk + 4, 4, {'\0', '\0', '\1', '\0'});
    half.replace(chunk + 8 + 0x10000, 8, {'J', 'U', 'N', 'K', '\x78', '\x32', '\1', '\0'});
    EXPECT_EQ(FootageHost(Write(L"half.avi", half)).Play().size(), 49u);
}

TEST_F(Files, APictureWithoutBytesRepeatsTheOneBefore) {
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

TEST_F(Files, TimeCountsFromTheEarliestStreamAndAnUnsupportedOneIsReported) {
    const FootageHost host(Material("late.mov"));
    ASSERT_EQ(host.pins.size(), 2u);
    EXPECT_EQ(host.graph->Seen(),
              (std::vector<Graph::Event>{{EC_STREAM_ERROR_STOPPED, VFW_E_UNSUPPORTED_AUDIO}}));
    const std::string audio = ReadAll(Material("late.mov.audio"));
    for (const LONGLONG from : {0, 4000000, 7000000}) {
        EXPECT_EQ(host.Seek(from, 20000000), S_OK);
        const auto played = host.Play();
        EXPECT_EQ(played.at(0).start, std::max<LONGLONG>(5000000 - from, 0));
        EXPECT_TRUE(host.Received(1) == audio.substr(static_cast<std::size_t>(from / 625 * 12)))
            << from;
    }
    LONGLONG length = 0;
    EXPECT_EQ(As<IMediaSeeking>(host.pins[0])->GetDuration(&length), S_OK);
    EXPECT_EQ(length, 20000000);
}

TEST_F(Files, MonoTracksBecomePairsIfTheUserWantsThat) {
    const PrivateUserRegistry registry;
    EXPECT_EQ(FootageHost(Material("mono.mov")).pins.size(), 6u);
    registry.Store(L"Software\\Veltro\\Source", L"pair_mono", 1);
    const FootageHost host(Material("mono.mov"));
    ASSERT_EQ(host.pins.size(), 4u);
    const auto tracks = As<IAMStreamSelect>(host.filter);
    DWORD count = 0, flags = 0;
    EXPECT_EQ(tracks->Count(&count), S_OK);
    EXPECT_EQ(count, 3u);
    struct Row {
        LONG index;  ///< that is selected, and how
        DWORD how;
        const char* heard;  ///< 1 for a pin that is
        LONGLONG from;
    };
    for (const Row& row :
         {Row{0, 2, "111", 0}, {1, 1, "010", 3000000}, {0, 0, "000", 0}, {2, 2, "111", 7000000}}) {
        EXPECT_EQ(tracks->Enable(row.index, row.how), S_OK);
        EXPECT_EQ(host.Seek(row.from, 10000000), S_OK);
        host.Play();
        for (std::size_t i = 0; i < count; ++i) {
            std::string expected = ReadAll(Material("mono." + std::to_string(i + 1)));
            expected.erase(0, static_cast<std::size_t>(row.from / 625 * 3 * (i < 2 ? 6 : 3)));
            const bool on = row.heard[i] == '1';
            EXPECT_TRUE(host.Received(i + 1) ==
                        (on ? expected : std::string(expected.size(), '\0')))
                << i;
            EXPECT_EQ(
                tracks->Info(LONG(i), nullptr, &flags, nullptr, nullptr, nullptr, nullptr, nullptr),
                S_OK);
            EXPECT_EQ(flags, on ? DWORD{AMSTREAMSELECTINFO_ENABLED} : 0);
        }
    }
    const FootageHost atom(Material("atom/picture.mxf"));  // the third track is another clip's
    ASSERT_EQ(atom.pins.size(), 2u);
    EXPECT_EQ(atom.Play().size(), 25u);
    EXPECT_TRUE(atom.Received(1) == ReadAll(Material("mono.1")));
    AM_MEDIA_TYPE* type = nullptr;
    LPWSTR name = nullptr;
    ComPtr<IUnknown> object;
    EXPECT_EQ(tracks->Info(2, &type, nullptr, nullptr, &flags, &name, &object, nullptr), S_OK);
    EXPECT_TRUE(type->majortype == MEDIATYPE_Audio && flags == 1 && name == L"Audio 3"s);
    EXPECT_EQ(As<IPin>(object).Get(), host.pins[3].Get());
    CoTaskMemFree(type->pbFormat);
    CoTaskMemFree(type);
    CoTaskMemFree(name);
    EXPECT_EQ(tracks->Info(3, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              S_FALSE);
    EXPECT_EQ(tracks->Enable(3, 1) | tracks->Enable(0, 3), E_INVALIDARG);
}

TEST_F(Files, ATrackChosenWhileItPlaysIsHeardAloneFromThen) {
    const FootageHost host(Material("mono.mov"));
    const auto tracks = As<IAMStreamSelect>(host.filter);
    host.sinks[1]->pin.onReceive = [&](IMediaSample*) { return tracks->Enable(1, 1); };
    host.Play();
    const std::string off = host.Received(1), on = host.Received(2), silence(48000, '\0');
    ASSERT_TRUE(off.size() == 144000 && on.size() == 144000);
    EXPECT_TRUE(off.substr(0, 48000) != silence && off.substr(96000) == silence);
    EXPECT_TRUE(on.substr(96000) != silence);
}

TEST_F(Files, FourChannelsOfDvAreTwoStereoPins) {
    const FootageHost host(Material("four.dv"));
    ASSERT_EQ(host.pins.size(), 3u);
    EXPECT_EQ(host.Play().size(), 15u);
    for (const std::size_t i : {1u, 2u}) {
        EXPECT_TRUE(host.Received(i) == ReadAll(Material("four." + std::to_string(i)))) << i;
    }
}

TEST_F(Files, PlaysFramesBehindFourGiB) {
    const std::string all = ReadAll(Material("fragments.mov"));
    const std::size_t last = all.rfind("moof") - 4;  // behind a box of 4 GiB and its header
    const std::string box = "\0\0\0\1free\0\0\0\1\0\0\0\x10"s;
    const FootageHost host(
        Write(L"big.mov", all.substr(0, last) + box, 1LL << 32, all.substr(last)));
    EXPECT_EQ(host.Seek(9200000, 10000000), S_OK);
    host.Play();
    EXPECT_TRUE(host.Received(0) == ReadAll(Material("fragments.bytes")).substr(23 * 2048));
}

TEST_F(Files, AFileMayGrowShrinkAndBeDeletedWhileItIsPlayed) {
    const std::pair<const char*, std::size_t> rows[] = {{"dv25.dv", 10}, {"dv25.avi", 9}};
    for (const auto& [clip, frames] : rows) {
        SCOPED_TRACE(clip);
        const std::string all = ReadAll(Material(clip));
        const fs::path path = Cut(clip, 0.5);
        const FootageHost host(path);
        std::ofstream(path, std::ios::binary | std::ios::app) << all.substr(all.size() / 2);
        EXPECT_EQ(host.Play().size(), 50u);
        fs::resize_file(path, all.size() / 5);
        EXPECT_EQ(host.Play().size(), frames);
        EXPECT_TRUE(fs::remove(path));
        EXPECT_EQ(host.Play().size(), frames);
        EXPECT_TRUE(host.graph->Seen().empty());
    }
}

TEST_F(Files, AReadErrorEndsEachStreamWithItsReason) {
    for (const char* clip : {"dv25.dv", "dv25.avi", "v210.avi"}) {
        SCOPED_TRACE(clip);
        const std::string all = ReadAll(Material(clip));
        auto disk = std::make_unique<MemorySource>(BytesAt(all.data(), all.size()));
        MemorySource& pulled = *disk;
        auto file = std::make_unique<source::FootageFile>();
        ASSERT_EQ(file->Open(std::move(disk)), S_OK);
        pulled.readsLeft = 3;
        source::ReadAhead packets(std::move(file));
        packets.Start(0, {true, true});
        for (const std::size_t stream : {0u, 1u}) {
            HRESULT result = S_OK;
            while (result == S_OK) {
                source::Packet packet;
                result = packets.Pop(stream, &packet);
                if (result == S_OK) {
                    std::vector<BYTE> copy(packet.size());
                    result = packets.file().Copy(packet, copy.data());
                }
            }
            EXPECT_EQ(result, MemorySource::kFailure);
        }
    }
}

TEST_F(Files, AStreamThatEndsEarlyDoesNotBlockTheOthers) {
    std::string all = LongDv();
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

TEST_F(Files, AChangeInRawDvIsFollowedIfDownstreamAcceptsIt) {
    struct Part {
        const char* file;
        std::size_t frameBytes;
        int rate;  ///< of audio
    };
    const Part pal = {"dv25.dv", 144000, 48000}, slow = {"dv32.dv", 144000, 32000};
    const Part ntsc = {"dv525.dv", 120000, 48000};
    const std::vector<Part> rows[] = {{pal, slow, pal}, {pal, ntsc, pal}, {ntsc, pal}};
    for (const auto& [row, accepts] : {std::pair(0, true), std::pair(0, false), std::pair(1, true),
                                       std::pair(1, false), std::pair(2, true)}) {
        SCOPED_TRACE(std::to_string(row) + (accepts ? " accepted" : " refused"));
        std::string all, pictures, audio;
        bool ended = false;
        for (const Part& part : rows[row]) {
            const std::string heard = ReadAll(Material(part.file + std::string(".audio")));
            all += ReadAll(Material(part.file));
            ended = ended || (!accepts && part.frameBytes != rows[row][0].frameBytes);
            pictures = ended ? pictures : all;
            const bool silent = !accepts && part.rate != 48000;
            if (!ended) {
                audio += silent ? std::string(heard.size() / 2 * 3, '\0') : heard;
            }
        }
        const FootageHost host(Write(L"changing.dv", all));
        for (const auto& sink : host.sinks) {
            sink->pin.accept = [accepts = accepts](const auto&) {
                return accepts ? S_OK : S_FALSE;
            };
        }
        const auto play = [&](LONGLONG from, LONGLONG to) {
            EXPECT_EQ(host.Seek(from, to), S_OK);
            MediaType type = ConnectionType(host.pins[0]), audioType = ConnectionType(host.pins[1]);
            LONGLONG at = 0;
            for (const Sample& sample : host.Play()) {
                type = sample.type.value_or(type);
                EXPECT_EQ(type.Header().biHeight, sample.bytes.size() == 144000 ? 576 : 480);
                EXPECT_NEAR(double(*sample.stop - at), double(type.Info().AvgTimePerFrame), 2);
                EXPECT_NEAR(double(*sample.start - std::exchange(at, *sample.stop)), 0, 1);
            }
            double time = 0;
            for (const Sample& run : host.sinks[1]->pin.Samples()) {
                audioType = run.type.value_or(audioType);
                const auto& wave = *reinterpret_cast<const WAVEFORMATEX*>(audioType.pbFormat);
                EXPECT_NEAR(double(*run.start), time, 3);
                time += double(run.bytes.size()) * 1e7 / wave.nAvgBytesPerSec;
            }
            return std::pair(host.Received(0), host.Received(1));
        };
        LONGLONG end = 0;
        EXPECT_EQ(As<IMediaSeeking>(host.pins[0])->GetDuration(&end), S_OK);
        EXPECT_TRUE(play(0, end) == std::pair(pictures, audio));
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

/// The load test: soak.exe SECONDS CSV. Every filter of the module runs in a graph of its
/// own, all at the same time, and builds new graphs all the time. Once a second the program writes
/// a line with what the process holds. Open engines decode DV and MPEG-2 if they were
/// built, stand-ins the rest. A table of the frames ends the run; the exit code is 1 when one is
/// lost or wrong.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include "tests/support/frames.h"
#include "tests/support/leaks.h"
#include "tests/support/material.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

constexpr std::size_t kPictures = 3, kFramesPerGraph = 150;  // the pictures go round
constexpr REFERENCE_TIME kFrameTime = 400000;                // 100-ns units

/// Whether there are open engines; else all engines are stand-ins.
const bool isOpen = std::filesystem::exists(EngineFolder(L"..\\open\\rkdvh.dll"));

/// The frames that a filter decodes with its open engine.
struct Clip {
    const char* name;
    Stream stream;
};
const std::map<std::string, Clip> kClips = {{"Dv25Decoder", {"dv25_525_4x3", {856, 480}}},
                                            {"Dv50Decoder", {"dvcpro50_525", {720, 480}}},
                                            {"DvHdDecoder", {"dvcprohd_720_50", {960, 720}}},
                                            {"MpegIntraDecoder", {"production_625", {720, 576}}}};
/// Null for a filter that uses a stand-in or no engine.
const Clip* ClipOf(const CatalogueRow& row) {
    const auto found = isOpen ? kClips.find(row.name) : kClips.end();
    return found == kClips.end() ? nullptr : &found->second;
}

/// A well-formed sample, with another picture for each number.
Bytes Frame(const CatalogueRow& row, int number) {
    if (const Clip* clip = ClipOf(row)) {
        const std::string name = clip->name + ("-" + std::to_string(number + 1)) + ".frame";
        std::ifstream file(MaterialFile("open/" + name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    return row.Frame(row.stream, number + 1);
}

/// Feeds one filter on a thread of its own, graph after graph, each with the filter's next output
/// format. A frame's start time has its number. Its output must equal the first output of the same
/// picture in the same format.
struct Load {
    explicit Load(const CatalogueRow& filter) : row(filter) {}

    void RunGraph(const std::atomic<bool>& going) {
        Rig rig(row, ClipOf(row) ? ClipOf(row)->stream : row.stream);
        rig.sink.keepsSamples = false;
        rig.ConnectInput();
        const std::vector<MediaType> offers = OfferedTypes(rig.output);
        const std::size_t format = graphs++ % offers.size();
        std::size_t number = 0;
        rig.sink.onReceive = [&](IMediaSample* sample) {
            const Sample got = ReadSample(sample);
            Bytes& known = pictures[format][number % kPictures];
            known = known.empty() ? got.bytes : known;
            wrong += known != got.bytes || got.start != LONGLONG(number) * kFrameTime ? 1u : 0u;
            return ++arrived, S_OK;
        };
        rig.ConnectOutput(offers[format]);
        rig.filter->Run(0);
        for (; number < kFramesPerGraph && going; ++number, ++sent) {
            const REFERENCE_TIME start = LONGLONG(number) * kFrameTime;
            rig.Push({frames[number % kPictures], start, start + kFrameTime});
        }
        rig.input->EndOfStream();
        rig.filter->Stop();
    }

    const CatalogueRow& row;
    const Bytes frames[kPictures] = {Frame(row, 0), Frame(row, 1), Frame(row, 2)};
    Bytes pictures[6][kPictures];  ///< by format and picture, empty: none yet
    std::size_t sent = 0, arrived = 0, wrong = 0, graphs = 0;
    std::thread thread;
};

}  // namespace
}  // namespace nyx::test

int main(int count, char** arguments) {
    using namespace nyx::test;
    const int seconds = count == 3 ? std::atoi(arguments[1]) : 0;
    std::FILE* csv = seconds > 0 ? std::fopen(arguments[2], "w") : nullptr;
    if (!csv) {
        return std::fputs("usage: soak SECONDS CSV\n", stderr), 2;
    }
    const EngineSearch engines(isOpen ? L"..\\open" : L"");
    SetEnvironmentVariableW(L"PATH", EngineFolder().c_str());  // searched last
    std::vector<Load> loads(Catalogue().begin(), Catalogue().end());
    std::atomic<bool> going{true};
    for (Load& load : loads) {
        load.thread = std::thread([&] {
            while (going) {
                load.RunGraph(going);
            }
        });
    }
    std::fputs("seconds,committed_kib,heap_blocks,handles\n", csv);
    for (int second = 1; second <= seconds; ++second) {
        Sleep(1000);
        const auto [bytes, blocks, handles] = CountHeld();
        std::fprintf(csv, "%d,%zu,%zu,%zu\n", second, bytes / 1024, blocks, handles);
    }
    going = false;
    std::puts("filter                       sent    arrived    wrong   graphs");
    bool good = true;
    for (Load& load : loads) {
        load.thread.join();
        std::printf("%-22s %10zu %10zu %8zu %8zu\n", load.row.name, load.sent, load.arrived,
                    load.wrong, load.graphs);
        good = good && load.sent == load.arrived && load.sent > 0 && load.wrong == 0 &&
               load.pictures[0][0] != load.pictures[0][1];
    }
    std::fclose(csv);
    const bool unloadable = Module().CanUnloadNow() == S_OK;
    std::puts(unloadable ? "the module could be unloaded" : "the module still has objects");
    std::puts(good && unloadable ? "[  PASSED  ]" : "failed");  // as GoogleTest, for the checks
    return good && unloadable ? 0 : 1;
}

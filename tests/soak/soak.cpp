/// The load test: soak.exe SECONDS CSV. Every filter of the module in a graph of its own, all at
/// once, graphs built and torn down all the while; once a second a line of what the process holds.
/// Ends with a table of what became of the frames; exit code 1 when one was lost or wrong.

#include <cstdio>
#include <thread>

#include "engines/standin/frame_coder.h"
#include "platform/fourcc.h"
#include "tests/support/frames.h"
#include "tests/support/leaks.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

/// So many different pictures go round in each stream: one that is delivered twice, or too late,
/// has the wrong checksum.
constexpr std::size_t kPictures = 5;
constexpr int kFramesPerGraph = 150;
constexpr REFERENCE_TIME kFrameTime = 400000;  // 100-ns units

/// A well-formed sample whose picture is its own for each number.
Bytes Frame(const CatalogueRow& row, int number) {
    const LONG width = row.stream.width;
    const LONG height = row.stream.height;
    if (row.coding) {
        const standin::Coding& coding = *standin::FindCoding(row.coding);
        const Bytes picture =
            SmoothPicture(MakeHeader(BI_RGB, coding.sourceBits, width, height), number);
        return standin::FrameCoder(coding).Code(picture.data(), width, height, 4);
    }
    if (row.IsEncoder()) {
        return SmoothPicture(row.InputType().Header(), number);
    }
    if (!row.engine) {
        return Q210Frame(RandomTenBitPicture(width, height, static_cast<unsigned>(number)));
    }
    Bytes frame = row.Frame(row.stream);  // the stand-in makes a DV picture of all of its bytes
    frame.back() = static_cast<BYTE>(number);
    return frame;
}

/// FNV-1a over the bytes of a sample, never 0.
std::uint32_t Checksum(IMediaSample* sample) {
    BYTE* data = nullptr;
    sample->GetPointer(&data);
    std::uint32_t digest = 2166136261u;
    for (LONG i = 0; i < sample->GetActualDataLength(); ++i) {
        digest = (digest ^ data[i]) * 16777619u;
    }
    return digest ? digest : 1;
}

/// Feeds one filter on a thread of its own, graph after graph, each with the filter's next output
/// format. A frame's number travels as its start time; its output must be what the first output of
/// the same picture in the same format was.
struct Load {
    explicit Load(const CatalogueRow& filter) : row(filter) {
        for (std::size_t number = 0; number < kPictures; ++number) {
            frames.push_back(Frame(row, static_cast<int>(number)));
        }
    }

    void RunGraph(const std::atomic<bool>& going) {
        Rig rig(row);
        rig.sink.keepsSamples = false;
        rig.ConnectInput();
        const std::vector<MediaType> offers = OfferedTypes(rig.output);
        const std::size_t format = graphs % offers.size();
        checksums.resize(offers.size(), std::vector<std::uint32_t>(kPictures));
        std::size_t next = 0;
        rig.sink.onReceive = [&](IMediaSample* sample) {
            REFERENCE_TIME start = -1, stop = 0;
            sample->GetTime(&start, &stop);
            const auto number = static_cast<std::size_t>(start / kFrameTime);
            lost += number - next;
            next = number + 1;
            ++arrived;
            const std::uint32_t found = Checksum(sample);
            std::uint32_t& known = checksums[format][number % kPictures];
            known = known ? known : found;
            wrong += known != found ? 1 : 0;
            return S_OK;
        };
        rig.ConnectOutput(offers[format]);
        rig.filter->Run(0);
        for (std::size_t n = 0; n < kFramesPerGraph && going; ++n) {
            Sample sample{frames[n % kPictures]};
            sample.start = LONGLONG{n} * kFrameTime;
            sample.stop = *sample.start + kFrameTime;
            rig.Push(sample);
            ++sent;
            lost += n + 1 - next;
            next = n + 1;
        }
        rig.input->EndOfStream();
        rig.filter->Stop();
    }

    const CatalogueRow& row;
    std::vector<Bytes> frames;
    std::vector<std::vector<std::uint32_t>> checksums;  ///< by format and picture, 0: none yet
    std::size_t sent = 0, arrived = 0, lost = 0, wrong = 0, graphs = 0;
    std::thread thread;
};

void SampleEverySecond(int seconds, std::FILE* csv) {
    std::fputs("seconds,committed_kib,heap_blocks,handles,gdi_objects,threads\n", csv);
    const auto begin = std::chrono::steady_clock::now();
    for (int second = 1; second <= seconds; ++second) {
        std::this_thread::sleep_until(begin + std::chrono::seconds(second));
        const Held held = CountHeld();
        std::fprintf(csv, "%d,%zu,%zu,%zu,%zu,%zu\n", second, held.privateBytes / 1024,
                     held.heapBlocks, held.handles, held.gdiObjects, held.threads);
        std::fflush(csv);
    }
}

int Soak(int seconds, std::FILE* csv) {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const EngineSearch engines;
    // The runtime that the stand-ins are built with leaves two handles of each other thread open
    // when it is unloaded, which is no fault of the module's: they stay.
    for (const wchar_t* engine : {L"rkzcore.dll", L"rkzalpha.dll", L"rkz2core.dll", L"rkllc.dll",
                                  L"rkm2vi01.dll", L"rkdvh.dll"}) {
        LoadLibraryW(engine);
    }
    std::vector<Load> loads(Catalogue().begin(), Catalogue().end());
    std::atomic<bool> going{true};
    for (Load& load : loads) {
        load.thread = std::thread([&] {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            for (; going; ++load.graphs) {
                load.RunGraph(going);
            }
            CoUninitialize();
        });
    }
    SampleEverySecond(seconds, csv);
    going = false;
    std::printf("%-22s %10s %10s %6s %6s %8s\n", "filter", "sent", "arrived", "lost", "wrong",
                "graphs");
    bool good = true;
    for (Load& load : loads) {
        load.thread.join();
        std::printf("%-22s %10zu %10zu %6zu %6zu %8zu\n", load.row.name, load.sent, load.arrived,
                    load.lost, load.wrong, load.graphs);
        good = good && load.sent == load.arrived && load.sent > 0 && load.lost + load.wrong == 0;
    }
    const bool unloadable = Module().CanUnloadNow() == S_OK;
    std::printf("the module %s\n", unloadable ? "could be unloaded" : "still has objects");
    CoUninitialize();
    return good && unloadable ? 0 : 1;
}

}  // namespace
}  // namespace nyx::test

int main(int count, char** arguments) {
    const int seconds = count == 3 ? std::atoi(arguments[1]) : 0;
    std::FILE* csv = seconds > 0 ? std::fopen(arguments[2], "w") : nullptr;
    if (!csv) {
        std::fputs("usage: soak SECONDS CSV\n", stderr);
        return 2;
    }
    const int result = nyx::test::Soak(seconds, csv);
    std::fclose(csv);
    return result;
}

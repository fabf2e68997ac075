/// The load test: soak.exe SECONDS CSV. Every filter of the module in a graph of its own, all at
/// once, graphs built and torn down all the while; once a second a line of what the process holds.
/// Ends with a table of what became of the frames; exit code 1 when one was lost or wrong.

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "tests/soak/stream.h"
#include "tests/support/engines.h"
#include "tests/support/loaded_module.h"
#include "tests/support/process_state.h"

namespace nyx::soak {
namespace {

void SampleEverySecond(int seconds, std::FILE* csv) {
    std::fputs("seconds,committed_kib,heap_blocks,handles,gdi_objects,threads\n", csv);
    const auto begin = std::chrono::steady_clock::now();
    for (int second = 1; second <= seconds; ++second) {
        std::this_thread::sleep_until(begin + std::chrono::seconds(second));
        const test::ProcessState state = test::ReadProcessState();
        std::fprintf(csv, "%d,%zu,%zu,%lu,%lu,%lu\n", second, state.committedBytes / 1024,
                     state.heapBlocks, state.handles, state.gdiObjects, state.threads);
        std::fflush(csv);
    }
}

/// Keeps the stand-in engines loaded: the runtime that they are built with leaves two handles of
/// each other thread open when it is unloaded before them, which is no fault of the module's.
void KeepEngines() {
    for (const wchar_t* engine : {L"rkzcore.dll", L"rkzalpha.dll", L"rkz2core.dll", L"rkllc.dll",
                                  L"rkm2vi01.dll", L"rkdvh.dll"}) {
        if (!LoadLibraryW(engine)) {
            throw std::runtime_error("a stand-in engine is missing");
        }
    }
}

int Run(int seconds, const char* csvPath) {
    std::FILE* csv = std::fopen(csvPath, "w");
    if (!csv) {
        std::fprintf(stderr, "cannot write %s\n", csvPath);
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const test::EngineSearch engines;
    KeepEngines();
    std::atomic<bool> go{true};
    std::vector<std::unique_ptr<Stream>> streams;
    for (const StreamPlan& plan : AllPlans()) {
        streams.push_back(std::make_unique<Stream>(plan, go));
    }
    SampleEverySecond(seconds, csv);
    go = false;
    std::fclose(csv);

    std::printf("%-22s %10s %10s %6s %6s %8s\n", "filter", "sent", "arrived", "lost", "wrong",
                "graphs");
    bool good = true;
    for (const auto& stream : streams) {
        const StreamCount count = stream->Join();
        std::printf("%-22s %10" PRIu64 " %10" PRIu64 " %6" PRIu64 " %6" PRIu64 " %8" PRIu64 "\n",
                    stream->name().c_str(), count.sent, count.arrived, count.lost, count.wrong,
                    count.graphs);
        good = good && count.sent == count.arrived && count.sent > 0 && count.lost == 0 &&
               count.wrong == 0;
    }
    streams.clear();
    const bool unloadable = test::Module().CanUnloadNow() == S_OK;
    std::printf("the module %s\n", unloadable ? "could be unloaded" : "still has objects");
    CoUninitialize();
    return good && unloadable ? 0 : 1;
}

}  // namespace
}  // namespace nyx::soak

int main(int count, char** arguments) {
    const int seconds = count == 3 ? std::atoi(arguments[1]) : 0;
    if (seconds <= 0) {
        std::fputs("usage: soak SECONDS CSV\n", stderr);
        return 2;
    }
    try {
        return nyx::soak::Run(seconds, arguments[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}

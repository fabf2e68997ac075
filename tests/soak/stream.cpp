#include "tests/soak/stream.h"

#include <stdexcept>

namespace nyx::soak {
namespace {

constexpr int kFramesPerGraph = 150;
constexpr REFERENCE_TIME kFrameTime = 400000;  // 100-ns units

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

}  // namespace

Stream::Stream(const StreamPlan& plan, const std::atomic<bool>& go)
    : plan_(plan), thread_([this, &go] { RunGraphs(go); }) {}

StreamCount Stream::Join() {
    thread_.join();
    return count_;
}

void Stream::RunGraphs(const std::atomic<bool>& go) {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    while (go) {
        RunOneGraph(static_cast<std::size_t>(count_.graphs), go);
        ++count_.graphs;
    }
    CoUninitialize();
}

void Stream::RunOneGraph(std::size_t graph, const std::atomic<bool>& go) {
    test::FilterRig rig(plan_.row);
    rig.sink->in.keepsSamples = false;
    if (rig.ConnectInput() != S_OK) {
        throw std::runtime_error(name() + " takes no input");
    }
    const std::vector<test::MediaType> offers = test::OfferedTypes(rig.output);
    const std::size_t format = graph % offers.size();
    checksums_.resize(offers.size(), std::vector<std::uint32_t>(plan_.frames.size()));
    if (rig.ConnectOutput(offers[format]) != S_OK || rig.filter->Pause() != S_OK ||
        rig.filter->Run(0) != S_OK) {
        throw std::runtime_error(name() + " does not start");
    }

    std::uint64_t next = 0;
    rig.sink->in.onReceive = [&](IMediaSample* sample) {
        REFERENCE_TIME start = -1;
        REFERENCE_TIME stop = 0;
        sample->GetTime(&start, &stop);
        const auto number = static_cast<std::uint64_t>(start / kFrameTime);
        count_.lost += number - next;
        next = number + 1;
        Check(format, number, sample);
        return S_OK;
    };
    for (int n = 0; n < kFramesPerGraph && go; ++n) {
        test::SampleProperties frame;
        frame.bytes = plan_.frames[static_cast<std::size_t>(n) % plan_.frames.size()];
        frame.start = n * kFrameTime;
        frame.stop = *frame.start + kFrameTime;
        rig.source->Push(frame);
        ++count_.sent;
        count_.lost += static_cast<std::uint64_t>(n) + 1 - next;
        next = static_cast<std::uint64_t>(n) + 1;
    }
    rig.input->EndOfStream();
    rig.filter->Stop();
}

void Stream::Check(std::size_t format, std::uint64_t number, IMediaSample* sample) {
    ++count_.arrived;
    std::uint32_t& known =
        checksums_[format][static_cast<std::size_t>(number) % plan_.frames.size()];
    const std::uint32_t found = Checksum(sample);
    known = known ? known : found;
    count_.wrong += known != found ? 1 : 0;
}

}  // namespace nyx::soak

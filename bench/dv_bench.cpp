/// What DV costs beside the engine: reading a frame's packs, and resampling wide-screen pictures.
/// `nyx_dv_bench FRAME [--benchmark_...]`, FRAME being a raw DV file whose first frame is read.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "dv/dif_parser.h"
#include "dv/resample.h"

namespace nyx::bench {
namespace {

constexpr std::size_t kFrameBytes = 120000;
constexpr LONG kRows = 576;
constexpr LONG kRecorded = 720;
constexpr LONG kWide = 1024;

void Parse(benchmark::State& state, const std::vector<BYTE>& frame) {
    CLvtDifParser parser;
    for (auto _ : state) {
        benchmark::DoNotOptimize(parser.Parse(frame.data(), frame.size()));
    }
    state.SetItemsProcessed(state.iterations());
}

using Resample = HRESULT (*)(ResampleUnit, const UnitRows<const BYTE>&, const UnitRows<BYTE>&,
                             LONG);

void ResamplePicture(benchmark::State& state, Resample resample, ResampleUnit unit, LONG from,
                     LONG to) {
    const LONG unitBytes = static_cast<LONG>(unit);
    std::vector<BYTE> source(static_cast<std::size_t>(from * unitBytes * kRows), 0x5A);
    std::vector<BYTE> destination(static_cast<std::size_t>(to * unitBytes * kRows));
    for (auto _ : state) {
        if (FAILED(resample(unit, {source.data(), from * unitBytes, from},
                            {destination.data(), to * unitBytes, to}, kRows))) {
            state.SkipWithError("refused");
            return;
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * to * unitBytes * kRows);
}

void RegisterResampling() {
    const struct {
        const char* name;
        ResampleUnit unit;
        LONG pixelsPerUnit;
    } pictures[] = {{"yuy2", ResampleUnit::kFourBytes, 2}, {"rgb24", ResampleUnit::kThreeBytes, 1}};
    for (const auto& picture : pictures) {
        const LONG narrow = kRecorded / picture.pixelsPerUnit;
        const LONG wide = kWide / picture.pixelsPerUnit;
        benchmark::RegisterBenchmark((std::string("stretch_720_to_1024/") + picture.name).c_str(),
                                     ResamplePicture, &StretchRows, picture.unit, narrow, wide)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((std::string("squeeze_1024_to_720/") + picture.name).c_str(),
                                     ResamplePicture, &SqueezeRows, picture.unit, wide, narrow)
            ->Unit(benchmark::kMillisecond);
    }
}

int Run(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    std::ifstream file(argc > 1 ? argv[1] : "", std::ios::binary);
    std::vector<BYTE> frame(kFrameBytes);
    if (!file.read(reinterpret_cast<char*>(frame.data()), kFrameBytes)) {
        std::cerr << "usage: nyx_dv_bench FRAME [--benchmark_...]\n";
        return 1;
    }
    benchmark::RegisterBenchmark("parse_120000_bytes", Parse, frame);
    RegisterResampling();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

}  // namespace
}  // namespace nyx::bench

int main(int argc, char** argv) {
    return nyx::bench::Run(argc, argv);
}

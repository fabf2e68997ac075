/// Side-by-side benchmark of the conversions: `nyx_bench [--json-lines FILE] [--benchmark_...]`.

#include <benchmark/benchmark.h>

#include <cstring>
#include <fstream>
#include <iostream>

#include "bench/report.h"
#include "bench/workload.h"

namespace nyx::bench {
namespace {

constexpr int kRepetitions = 15;
constexpr double kSecondsPerRepetition = 0.02;

void Register(const Workload& workload) {
    for (const Implementation& implementation : workload.implementations) {
        benchmark::RegisterBenchmark(BenchmarkName(workload, implementation.name).c_str(),
                                     [&implementation](benchmark::State& state) {
                                         if (implementation.prepare) {
                                             implementation.prepare();
                                         }
                                         implementation.convert();
                                         for (auto _ : state) {
                                             implementation.convert();
                                             benchmark::ClobberMemory();
                                         }
                                     })
            ->Unit(benchmark::kMillisecond)
            ->MinTime(kSecondsPerRepetition)
            ->Repetitions(kRepetitions)
            ->ReportAggregatesOnly();
    }
}

/// What the command line asks for; the benchmark library's own options are left to it.
struct Options {
    const char* jsonFile = nullptr;
    std::vector<char*> rest;
};

Options ReadOptions(int argc, char** argv) {
    // Repetitions of all benchmarks are mixed, so that a disturbance of the machine does not fall
    // on one implementation alone.
    static char interleave[] = "--benchmark_enable_random_interleaving=true";
    Options options;
    options.rest = {argv[0], interleave};
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json-lines") == 0 && i + 1 < argc) {
            options.jsonFile = argv[++i];
        } else {
            options.rest.push_back(argv[i]);
        }
    }
    return options;
}

int Run(int argc, char** argv) {
    Options options = ReadOptions(argc, argv);
    int count = static_cast<int>(options.rest.size());
    benchmark::Initialize(&count, options.rest.data());
    if (benchmark::ReportUnrecognizedArguments(count, options.rest.data())) {
        return 1;
    }
    const Buffers buffers;
    const std::vector<Workload> workloads = MakeWorkloads(buffers);
    for (const Workload& workload : workloads) {
        Register(workload);
    }
    MedianCollector medians;
    benchmark::RunSpecifiedBenchmarks(&medians);
    PrintTable(std::cout, workloads, medians);
    if (!options.jsonFile) {
        return 0;
    }
    std::ofstream file(options.jsonFile);
    PrintJsonLines(file, workloads, medians);
    return file.flush() ? 0 : 1;
}

}  // namespace
}  // namespace nyx::bench

int main(int argc, char** argv) {
    return nyx::bench::Run(argc, argv);
}

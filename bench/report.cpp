#include "bench/report.h"

#include <cstdio>
#include <iostream>

namespace nyx::bench {
namespace {

constexpr int kWordBits = static_cast<int>(sizeof(void*) * 8);
constexpr const char* kPeers[] = {kScalar,  kLibyuv,          kLibyuvSsse3,
                                  kSwscale, kSwscaleAccurate, kMemcpy};

template <class... Values>
std::string Text(const char* format, Values... values) {
    char text[128];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string Cell(double ms, double ours) {
    return ms < 0 ? Text("%17s", "-") : Text("%8.3f (%5.2fx)", ms, ms / ours);
}

std::string JsonNumber(double ms) {
    return ms < 0 ? "null" : Text("%.4f", ms);
}

}  // namespace

bool MedianCollector::ReportContext(const Context&) {
    std::cerr << "Measuring, " << kWordBits << " bits; this takes some minutes\n";
    return true;
}

void MedianCollector::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
            medians_[run.run_name.function_name] = run.GetAdjustedCPUTime();
        }
    }
}

double MedianCollector::Median(const std::string& name) const {
    const auto found = medians_.find(name);
    return found == medians_.end() ? -1 : found->second;
}

std::string BenchmarkName(const Workload& workload, const std::string& implementation) {
    return workload.conversion + " " + workload.size + " " + implementation;
}

void PrintTable(std::ostream& out, const std::vector<Workload>& workloads,
                const MedianCollector& medians) {
    out << Text("\n%d bits, median milliseconds (times ours)\n", kWordBits)
        << Text("%-11s %-10s %8s", "conversion", "size", "ours");
    for (const char* peer : kPeers) {
        out << Text(" %17s", peer);
    }
    out << '\n';
    for (const Workload& workload : workloads) {
        const double ours = medians.Median(BenchmarkName(workload, kOurs));
        if (ours < 0) {
            continue;
        }
        out << Text("%-11s %-10s %8.3f", workload.conversion.c_str(), workload.size.c_str(), ours);
        for (const char* peer : kPeers) {
            out << ' ' << Cell(medians.Median(BenchmarkName(workload, peer)), ours);
        }
        out << '\n';
    }
}

void PrintJsonLines(std::ostream& out, const std::vector<Workload>& workloads,
                    const MedianCollector& medians) {
    for (const Workload& workload : workloads) {
        if (medians.Median(BenchmarkName(workload, kOurs)) < 0) {
            continue;
        }
        const auto number = [&](const char* implementation) {
            return JsonNumber(medians.Median(BenchmarkName(workload, implementation)));
        };
        out << "{\"conversion\": \"" << workload.conversion << "\", \"size\": \"" << workload.size
            << "\", \"bits\": " << kWordBits << ", \"ours_ms\": " << number(kOurs)
            << ", \"scalar_ms\": " << number(kScalar) << ", \"libyuv_ms\": " << number(kLibyuv)
            << ", \"swscale_ms\": " << number(kSwscale) << ", \"memcpy_ms\": " << number(kMemcpy)
            << "}\n";
    }
}

}  // namespace nyx::bench

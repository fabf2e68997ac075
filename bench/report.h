#pragma once

/// @file
/// Collects medians and shows them: a table for people, lines of JSON for programs.

#include <benchmark/benchmark.h>

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "bench/workload.h"

namespace nyx::bench {

/// Keeps the median processor time of every benchmark, by its name.
class MedianCollector : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    /// In milliseconds; negative when it was not measured.
    double Median(const std::string& name) const;

  private:
    std::map<std::string, double> medians_;
};

/// The name of one benchmark.
std::string BenchmarkName(const Workload& workload, const std::string& implementation);

/// Milliseconds, and in brackets how many times the time of ours.
void PrintTable(std::ostream& out, const std::vector<Workload>& workloads,
                const MedianCollector& medians);

/// One JSON object a line, without separators: the caller joins the lines of several programs.
void PrintJsonLines(std::ostream& out, const std::vector<Workload>& workloads,
                    const MedianCollector& medians);

}  // namespace nyx::bench

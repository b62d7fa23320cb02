#pragma once
#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace tessaly::bench {

/// Prints a line a benchmark: its time and, for "group/what", the ratio to the group's own "group/floor", which must
/// have run before it. Seconds differ from machine to machine; the ratio is what to compare.
class RatioReporter final : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

private:
    std::map<std::string, double> floors_;
};

}  // namespace tessaly::bench

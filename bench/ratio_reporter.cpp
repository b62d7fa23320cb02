#include "ratio_reporter.h"

#include <cstdio>

namespace tessaly::bench {

bool RatioReporter::ReportContext(const Context& /*context*/) {
    std::printf("%-52s %12s %10s\n", "benchmark", "us", "x floor");
    return true;
}

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        // With --benchmark_repetitions the median is quoted, else the one run.
        if (run.run_type == Run::RT_Aggregate ? run.aggregate_name != "median" : run.repetitions > 1) continue;
        const std::string name = run.run_name.function_name;
        const auto slash = name.rfind('/');
        const std::string group = name.substr(0, slash);
        const double time = run.GetAdjustedRealTime() / 1000;
        if (name.substr(slash + 1) == "floor") floors_[group] = time;
        const auto floor = floors_.find(group);
        if (floor == floors_.end())
            std::printf("%-52s %12.2f\n", name.c_str(), time);
        else
            std::printf("%-52s %12.2f %10.2f\n", name.c_str(), time, time / floor->second);
        std::fflush(stdout);
    }
}

}  // namespace tessaly::bench

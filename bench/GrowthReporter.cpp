#include "bench/GrowthReporter.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <vector>

#include <benchmark/benchmark.h>

namespace Bench {

namespace {

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

} // namespace

void GrowthReporter::ReportRuns(const std::vector<Run>& reports) {
    for (const Run& run : reports) {
        if (run.run_type == Run::RT_Iteration && !run.error_occurred && run.complexity_n > 0) {
            m_times[run.run_name.function_name][run.complexity_n].push_back(run.GetAdjustedCPUTime());
        }
    }
    ConsoleReporter::ReportRuns(reports);
}

void GrowthReporter::Finalize() {
    ConsoleReporter::Finalize();
    for (const auto& [function, times] : m_times) {
        for (auto larger = std::next(times.begin()); larger != times.end(); ++larger) {
            const auto smaller = std::prev(larger);
            std::printf("%s: time(%lld) / time(%lld) = %.1f\n", function.c_str(),
                        static_cast<long long>(larger->first), static_cast<long long>(smaller->first),
                        median(larger->second) / median(smaller->second));
        }
    }
}

} // namespace Bench

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace Bench {

/// The usual table, and below it how much longer each function took for ten times as much: 10 where the
/// effort is linear, 100 where it is quadratic. With repetitions it goes by their medians.
class GrowthReporter : public benchmark::ConsoleReporter {
public:
    GrowthReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& reports) override;
    void Finalize() override;

private:
    std::map<std::string, std::map<int64_t, std::vector<double>>> m_times; // by function and size
};

} // namespace Bench

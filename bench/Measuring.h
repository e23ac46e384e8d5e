#pragma once

#include "bench/Allocations.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>

namespace Bench {

/// Runs `work` again and again; reports how many of `units` it does a second, and allocations for each.
template <typename Work>
void measure(benchmark::State& state, size_t units, const char* unit, Work work) {
    uint64_t allocations = 0;
    for ([[maybe_unused]] auto _ : state) {
        const uint64_t before = allocationCount();
        auto result = work();
        allocations += allocationCount() - before;
        benchmark::DoNotOptimize(result);
    }
    const auto total = static_cast<double>(units) * static_cast<double>(state.iterations());
    state.counters[std::string(unit) + "s/s"] = benchmark::Counter(total, benchmark::Counter::kIsRate);
    state.counters[std::string("allocations/") + unit] = static_cast<double>(allocations) / total;
}

} // namespace Bench

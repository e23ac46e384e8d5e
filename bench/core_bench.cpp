// The effort of a scan inside the core, on prepared input: no tool is started and no file is read.
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/IgnoreRule.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/SnapshotRecord.h"
#include "bench/GrowthReporter.h"
#include "bench/Measuring.h"
#include "bench/Snapshot.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace VintrelCore;
using Bench::measure;
namespace Snapshot = Bench::Snapshot;

constexpr size_t snapshotLines = 100'000;

const std::string& snapshot() {
    static const std::string output = Snapshot::psOutput(snapshotLines);
    return output;
}

ScanCore::EnumerateOptions withoutTools() {
    ScanCore::EnumerateOptions options;
    options.registeredPIDs.emplace(); // none, and lsof is not asked
    return options;
}

void enumerateRawLines(benchmark::State& state) {
    ScanCore::EnumerateOptions options = withoutTools();
    options.psOutput = snapshot();
    measure(state, snapshotLines, "line", [&] { return ScanCore::enumerate(options); });
}

BENCHMARK(enumerateRawLines)->Unit(benchmark::kMillisecond);

void enumerateCorrectedRecords(benchmark::State& state) {
    const Platform::KernelView kernel = Snapshot::kernelView();
    measure(state, snapshotLines, "line", [&] {
        const auto records = snapshotRecords(snapshot(), kernel);
        ScanCore::EnumerateOptions options = withoutTools();
        options.records = records;
        return ScanCore::enumerate(options);
    });
}

BENCHMARK(enumerateCorrectedRecords)->Unit(benchmark::kMillisecond);

void detectKindOfEachLine(benchmark::State& state) {
    const auto commands = Snapshot::commands(snapshot());
    measure(state, commands.size(), "line", [&] {
        size_t detected = 0;
        for (const std::string_view command : commands) {
            detected += static_cast<size_t>(ScanCore::detectKind(command).has_value());
        }
        return detected;
    });
}

BENCHMARK(detectKindOfEachLine)->Unit(benchmark::kMillisecond);

// How the effort grows with the number of candidates.

void growing(benchmark::internal::Benchmark* benchmark) {
    benchmark->RangeMultiplier(10)
        ->Range(1'000, 100'000)
        ->Unit(benchmark::kMicrosecond)
        ->Complexity(benchmark::oN);
}

size_t sizeOf(benchmark::State& state) {
    state.SetComplexityN(state.range(0));
    return static_cast<size_t>(state.range(0));
}

void collapseWrappers(benchmark::State& state) {
    const auto items = Snapshot::candidates(sizeOf(state));
    measure(state, items.size(), "item", [&] { return ScanCore::collapseWrappers(items); });
}

BENCHMARK(collapseWrappers)->Apply(growing);

/// Ten rules, of which only the last matches some items.
std::vector<std::string> ruleTexts() {
    return {"storybook", "webpack-dev-server", "tailwind", "esbuild --watch", "shop-backend",
            "parcel",    "gulp serve",         "eleventy", "hugo server",     "--port 5440"};
}

void enumerateWithIgnoredNames(benchmark::State& state) {
    const std::string output = Snapshot::psOutput(Snapshot::candidates(sizeOf(state)));
    ScanCore::EnumerateOptions options = withoutTools();
    options.psOutput = output;
    options.ignoredNames = ruleTexts();
    const auto items = static_cast<size_t>(state.range(0));
    measure(state, items, "item", [&] { return ScanCore::enumerate(options); });
}

BENCHMARK(enumerateWithIgnoredNames)->Apply(growing);

void measureScopedIgnores(benchmark::State& state, const std::vector<std::string>& texts) {
    const auto items = Snapshot::candidates(sizeOf(state));
    const auto cwds = Snapshot::workingDirectories(items);
    std::vector<IgnoreRule> rules;
    rules.reserve(texts.size());
    for (const std::string& text : texts) {
        rules.push_back({.substring = text, .pathPrefix = "~/work"}); // all items are in its scope
    }
    measure(state, items.size(), "item", [&] { return ScanCore::applyScopedIgnores(items, cwds, rules); });
}

void applyScopedIgnores(benchmark::State& state) {
    measureScopedIgnores(state, ruleTexts());
}

BENCHMARK(applyScopedIgnores)->Apply(growing);

/// With one rule that has to be compared by the tables of Unicode.
void applyScopedIgnoresAccented(benchmark::State& state) {
    auto texts = ruleTexts();
    texts.front() = "büro";
    measureScopedIgnores(state, texts);
}

BENCHMARK(applyScopedIgnoresAccented)->Apply(growing);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    Bench::GrowthReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}

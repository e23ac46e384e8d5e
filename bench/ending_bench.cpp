// What surrounds the ending of processes: taking apart what tools say about them, and the clean log.
#include "VintrelCore/context/AncestryResolver.h"
#include "VintrelCore/context/OpenFilesResolver.h"
#include "VintrelCore/log/CleanLogFile.h"
#include "bench/Measuring.h"

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace VintrelCore;

constexpr size_t lines = 10'000;

/// Three lines a descriptor, as lsof prints them.
std::string openFilesOutput() {
    std::string output = "p4242\n";
    for (size_t index = 0; index < lines / 3; ++index) {
        const std::string number = std::to_string(index);
        const bool isSocket = index % 5 == 0;
        output += "f" + number +
                  (isSocket ? "\ntIPv4\nnlocalhost:" : "\ntREG\nn/home/ada/code/shop/assets/") + number +
                  "\n";
    }
    return output;
}

void parseOpenFiles(benchmark::State& state) {
    const std::string output = openFilesOutput();
    Bench::measure(state, lines, "line", [&] { return OpenFilesResolver::parseOpenFiles(output); });
}

BENCHMARK(parseOpenFiles)->Unit(benchmark::kMicrosecond);

void parseProcessTable(benchmark::State& state) {
    std::string output;
    for (size_t pid = 1; pid <= lines; ++pid) {
        output +=
            "  " + std::to_string(pid) + "  " + std::to_string(pid / 2) + " /usr/local/bin/node worker\n";
    }
    Bench::measure(state, lines, "line", [&] { return AncestryResolver::processTable(output); });
}

BENCHMARK(parseProcessTable)->Unit(benchmark::kMicrosecond);

/// With the lock, the reading, the flush to disk: as a clean does it.
void appendToFullCleanLog(benchmark::State& state) {
    std::string folder = std::filesystem::temp_directory_path() / "vintrel-bench-XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        state.SkipWithError("no folder to write to");
        return;
    }
    const std::string log = folder + "/clean-log.json";
    const CleanEvent event{.kind = "vitest",
                           .projectLabel = "shop/apps/web",
                           .rssKB = 153'600,
                           .timestamp = Instant(std::chrono::seconds(1'700'000'000))};
    const std::vector<CleanEvent> full(static_cast<size_t>(CleanLogFile::retentionCap), event);
    if (!CleanLogFile::save(full, log)) {
        state.SkipWithError("the log cannot be written");
    }
    Bench::measure(state, 1, "append",
                   [&] { return CleanLogFile::append({&event, 1}, log, CleanLogFile::retentionCap); });
    std::filesystem::remove_all(folder);
}

BENCHMARK(appendToFullCleanLog)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace

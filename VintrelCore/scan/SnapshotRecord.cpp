#include "VintrelCore/scan/SnapshotRecord.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/OrphanedShells.h"
#include "VintrelCore/scan/Parentage.h"
#include "VintrelCore/scan/RunnerShells.h"
#include "VintrelCore/scan/ScanCore.h"

#include <algorithm>
#include <span>
#include <unordered_set>

namespace VintrelCore {

namespace {

/// ps shows a zombie's name in brackets, which can look like a tool: "[npm run jest] <defunct>".
bool isZombie(const ScanCore::PSLine& line, const Platform::KernelView& kernel) {
    if (!line.args.ends_with("<defunct>")) {
        return false;
    }
    const auto facts = kernel.factsOf(line.pid);
    return !facts || facts->state == 'Z'; // a living process may call itself so
}

std::string_view programOf(const ScanCore::PSLine& line) {
    return line.args.substr(0, line.args.find(' '));
}

/// This process, and every other one of the application or the command line.
std::unordered_set<int32_t> frontEnds(std::span<const ScanCore::PSLine> lines,
                                      const Platform::KernelView& kernel) {
    std::unordered_set<int32_t> pids{kernel.ownPID};
    for (const ScanCore::PSLine& line : lines) {
        const std::string_view program = programOf(line);
        const std::string_view name = program.substr(program.rfind('/') + 1);
        if (name == "vintrel" || name == "vintrel-app") {
            pids.insert(line.pid);
        }
    }
    return pids;
}

/// A front end's tools run while ps does, and the engine's client would look like somebody's.
bool isOwnTool(const ScanCore::PSLine& line, const std::unordered_set<int32_t>& frontEnds) {
    const auto clients = Platform::dockerCandidates();
    return frontEnds.contains(line.ppid) && std::ranges::find(clients, programOf(line)) != clients.end();
}

std::vector<ScanCore::PSLine> linesOf(std::string_view psOutput, const Platform::KernelView& kernel) {
    std::vector<ScanCore::PSLine> lines;
    lines.reserve(static_cast<size_t>(std::ranges::count(psOutput, '\n')) + 1);
    while (const auto text = Text::takeLine(psOutput)) {
        const auto line = ScanCore::parsePSLine(*text);
        if (line && !isZombie(*line, kernel)) {
            lines.push_back(*line);
        }
    }
    return lines;
}

std::vector<ScanCore::PSLine> linesOf(std::span<const Platform::ProcessFacts> processes) {
    std::vector<ScanCore::PSLine> lines;
    lines.reserve(processes.size());
    for (const Platform::ProcessFacts& process : processes) {
        if (!process.isZombie && !process.command.empty()) {
            lines.push_back({.pid = process.pid,
                             .ppid = process.ppid,
                             .etime = process.elapsed,
                             .tty = process.tty,
                             .pcpu = process.cpuPercent,
                             .rss = process.rss,
                             .args = process.command});
        }
    }
    return lines;
}

/// For a process in its first moments procps may print an age of millions of days, which would make it old.
/// Nothing is older than the system.
std::string_view possibleAge(std::string_view etime, const Platform::KernelView& kernel) {
    const bool isImpossible =
        kernel.secondsSinceBoot > 0 && ScanCore::parseElapsed(etime) > kernel.secondsSinceBoot;
    return isImpossible ? "0" : etime;
}

/// Common to both sources.
std::vector<SnapshotRecord> recordsOf(std::span<const ScanCore::PSLine> lines,
                                      const Platform::KernelView& kernel) {
    const std::unordered_set<int32_t> parents = frontEnds(lines, kernel);
    std::vector<SnapshotRecord> records;
    records.reserve(lines.size());
    for (const ScanCore::PSLine& line : lines) {
        if (!isOwnTool(line, parents)) {
            records.push_back({.pid = line.pid,
                               .ppid = line.ppid,
                               .elapsed = std::string(possibleAge(line.etime, kernel)),
                               .tty = std::string(line.tty),
                               .cpuPercent = std::string(line.pcpu),
                               .rss = std::string(line.rss),
                               .command = std::string(line.args)});
        }
    }
    OrphanedShells shells(records);
    Parentage::correct(records, kernel);
    shells.fold();
    RunnerShells::fold(records);
    return records;
}

} // namespace

std::vector<SnapshotRecord> snapshotRecords(std::string_view psOutput, const Platform::KernelView& kernel) {
    return recordsOf(linesOf(psOutput, kernel), kernel);
}

std::vector<SnapshotRecord> snapshotRecords(std::span<const Platform::ProcessFacts> processes,
                                            const Platform::KernelView& kernel) {
    return recordsOf(linesOf(processes), kernel);
}

} // namespace VintrelCore

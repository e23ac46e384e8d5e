#include "VintrelCore/scan/SnapshotRecord.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/OrphanedShells.h"
#include "VintrelCore/scan/Parentage.h"
#include "VintrelCore/scan/RunnerShells.h"
#include "VintrelCore/scan/ScanCore.h"

#include <algorithm>
#include <utility>

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

/// The program's own tools run while ps does, and the engine's client would look like somebody's.
bool isOwnTool(std::string_view command, int32_t ppid, const Platform::KernelView& kernel) {
    const std::string_view program = command.substr(0, command.find(' '));
    const auto clients = Platform::dockerCandidates();
    return ppid == kernel.ownPID && std::ranges::find(clients, program) != clients.end();
}

/// For a process in its first moments procps may print an age of millions of days, which would make it old.
/// Nothing is older than the system.
std::string_view possibleAge(std::string_view etime, const Platform::KernelView& kernel) {
    const bool isImpossible =
        kernel.secondsSinceBoot > 0 && ScanCore::parseElapsed(etime) > kernel.secondsSinceBoot;
    return isImpossible ? "0" : etime;
}

/// Whatever the source is.
std::vector<SnapshotRecord> corrected(std::vector<SnapshotRecord> records,
                                      const Platform::KernelView& kernel) {
    OrphanedShells shells(records);
    Parentage::correct(records, kernel);
    shells.fold();
    RunnerShells::fold(records);
    return records;
}

} // namespace

std::vector<SnapshotRecord> snapshotRecords(std::string_view psOutput, const Platform::KernelView& kernel) {
    std::vector<SnapshotRecord> records;
    records.reserve(static_cast<size_t>(std::ranges::count(psOutput, '\n')) + 1);
    while (const auto text = Text::takeLine(psOutput)) {
        const auto line = ScanCore::parsePSLine(*text);
        if (line && !isOwnTool(line->args, line->ppid, kernel) && !isZombie(*line, kernel)) {
            records.push_back({.pid = line->pid,
                               .ppid = line->ppid,
                               .elapsed = std::string(possibleAge(line->etime, kernel)),
                               .tty = std::string(line->tty),
                               .cpuPercent = std::string(line->pcpu),
                               .rss = std::string(line->rss),
                               .command = std::string(line->args)});
        }
    }
    return corrected(std::move(records), kernel);
}

std::vector<SnapshotRecord> snapshotRecords(std::span<const Platform::ProcessFacts> processes,
                                            const Platform::KernelView& kernel) {
    std::vector<SnapshotRecord> records;
    records.reserve(processes.size());
    for (const Platform::ProcessFacts& process : processes) {
        if (!process.isZombie && !process.command.empty() &&
            !isOwnTool(process.command, process.ppid, kernel)) {
            records.push_back({.pid = process.pid,
                               .ppid = process.ppid,
                               .elapsed = std::string(possibleAge(process.elapsed, kernel)),
                               .tty = process.tty,
                               .cpuPercent = process.cpuPercent,
                               .rss = process.rss,
                               .command = process.command});
        }
    }
    return corrected(std::move(records), kernel);
}

} // namespace VintrelCore

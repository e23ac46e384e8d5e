#include "VintrelCore/scan/SnapshotRecord.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/Parentage.h"
#include "VintrelCore/scan/RunnerShells.h"
#include "VintrelCore/scan/ScanCore.h"

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

} // namespace

std::vector<SnapshotRecord> snapshotRecords(std::string_view psOutput, const Platform::KernelView& kernel) {
    std::vector<SnapshotRecord> records;
    while (const auto text = Text::takeLine(psOutput)) {
        const auto line = ScanCore::parsePSLine(*text);
        if (line && !isZombie(*line, kernel)) {
            records.push_back({.pid = line->pid,
                               .ppid = line->ppid,
                               .elapsed = std::string(line->etime),
                               .tty = std::string(line->tty),
                               .cpuPercent = std::string(line->pcpu),
                               .rss = std::string(line->rss),
                               .command = std::string(line->args)});
        }
    }
    Parentage::correct(records, kernel);
    RunnerShells::fold(records);
    return records;
}

} // namespace VintrelCore

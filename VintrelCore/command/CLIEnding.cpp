#include "VintrelCore/command/CLIEnding.h"

#include "VintrelCore/base/Saturating.h"
#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/command/CLICore.h"
#include "VintrelCore/log/CleanLog.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace VintrelCore::CLIEnding {

namespace {

using KillCore::isCleaned;

std::string joined(std::span<const int32_t> pids) {
    std::string list;
    for (const int32_t pid : pids) {
        list += (list.empty() ? "" : ", ") + std::to_string(pid);
    }
    return list;
}

const ProcessCwd* cwdOf(const ProcessItem& item, const CwdResolver::CwdMap& cwds) {
    const auto found = cwds.find(item.pid);
    return found != cwds.end() ? &found->second : nullptr;
}

} // namespace

std::expected<ProcessItem, std::string> itemToKill(int32_t pid, const CLIScan::Result& scan) {
    const auto named = std::ranges::find(scan.items, pid, &ProcessItem::pid);
    if (named != scan.items.end()) {
        return *named;
    }
    const std::string number = std::to_string(pid);
    const auto row = std::ranges::find_if(scan.items, [pid](const ProcessItem& item) {
        return std::ranges::find(item.folded, pid, &FoldedProcess::pid) != item.folded.end();
    });
    if (row != scan.items.end()) {
        const std::string of = std::to_string(row->pid);
        return std::unexpected(number + " is part of " + of + ": vintrel kill " + of);
    }
    return std::unexpected(number + " is not among the candidates; nothing was ended");
}

std::vector<ProcessItem> itemsToClean(const CLIScan::Result& scan) {
    std::vector<ProcessItem> items;
    std::ranges::copy_if(scan.items, std::back_inserter(items), [&scan](const ProcessItem& item) {
        return item.bucket() == Bucket::safe && !scan.protectedPIDs.contains(item.pid) &&
               !scan.unknownFolderPIDs.contains(item.pid);
    });
    return items;
}

std::vector<std::string> leftOut(const CLIScan::Result& scan) {
    std::vector<std::string> lines;
    for (const ProcessItem& item : scan.items) {
        if (item.bucket() == Bucket::safe && scan.unknownFolderPIDs.contains(item.pid)) {
            lines.push_back(UnicodeText::printable(item.displayLabel()) + " " + std::to_string(item.pid) +
                            " is not in the sweep: its folder is unknown");
        }
    }
    return lines;
}

std::string resultLine(const Ending& ending, const CwdResolver::CwdMap& cwds) {
    std::string line =
        UnicodeText::printable(ending.item.displayLabel()) + " " + std::to_string(ending.item.pid);
    if (const ProcessCwd* const cwd = cwdOf(ending.item, cwds)) {
        line += " (" + UnicodeText::printable(cwd->label) + ")";
    }
    line += ": " + std::string(KillCore::inWords(ending.result.detail));
    std::vector<int32_t> others = ending.result.left; // what is folded into the row
    std::erase(others, ending.item.pid);
    if (!others.empty()) {
        line += "; still running: " + joined(others);
    }
    return line;
}

std::string closingLine(std::span<const Ending> endings) {
    size_t cleaned = 0;
    int64_t reclaimedKB = 0;
    for (const Ending& ending : endings) {
        if (isCleaned(ending.result)) {
            ++cleaned;
            reclaimedKB = Saturating::sum(reclaimedKB, ending.item.rssKB);
        }
    }
    return "Cleaned " + std::to_string(cleaned) + " of " + std::to_string(endings.size()) + ", ~" +
           CLICore::formatRSS(reclaimedKB) + " reclaimed";
}

std::vector<CleanEvent> cleanEvents(std::span<const Ending> endings, const CwdResolver::CwdMap& cwds,
                                    Instant now) {
    std::vector<CleanEvent> events;
    for (const Ending& ending : endings) {
        if (isCleaned(ending.result)) {
            events.push_back(CleanLog::makeCleanEvent(ending.item, cwds, now));
        }
    }
    return events;
}

} // namespace VintrelCore::CLIEnding

#include "Vintrel/engine/Announcements.h"

#include "Vintrel/engine/ByteCount.h"
#include "VintrelCore/command/CLIEnding.h"

#include <algorithm>
#include <vector>

namespace Vintrel::Announcements {

using VintrelCore::ProcessItem;

std::optional<UserNotification> newStrays(std::span<const ProcessItem> items,
                                          const VintrelCore::ScanCore::PIDSet& previousPIDs) {
    std::vector<const ProcessItem*> newItems;
    for (const ProcessItem& item : items) {
        if (!previousPIDs.contains(item.pid)) {
            newItems.push_back(&item);
        }
    }
    if (newItems.empty()) {
        return std::nullopt;
    }
    if (newItems.size() == 1) {
        const ProcessItem& item = *newItems.front();
        return UserNotification{.title = "New stray process",
                                .body = std::string(item.displayLabel()) + ": " + item.displayPath()};
    }
    std::string labels;
    for (const ProcessItem* item : newItems) {
        labels += (labels.empty() ? "" : ", ") + std::string(item->displayLabel());
    }
    return UserNotification{.title = std::to_string(newItems.size()) + " new stray processes",
                            .body = std::move(labels)};
}

UserNotification cleanResult(const CleanSummary& summary) {
    if (summary.requested == 0) {
        return {.title = "Nothing to clean", .body = std::string(VintrelCore::CLIEnding::nothingToClean)};
    }
    return {.title =
                "Cleaned " + std::to_string(summary.cleaned) + " of " + std::to_string(summary.requested),
            .body = "~" + memoryTextOfKB(summary.reclaimedKB) + " reclaimed"};
}

UserNotification cleanRefused(const std::string& reason) {
    return {.title = "Nothing was cleaned", .body = reason};
}

std::optional<std::string> notEnded(const VintrelCore::KillCore::KillResult& result) {
    using VintrelCore::KillCore::KillDetail;
    if (VintrelCore::KillCore::isCleaned(result) || result.detail == KillDetail::alreadyGone) {
        return std::nullopt;
    }
    if (result.detail == KillDetail::ended || result.detail == KillDetail::containerStopped) {
        return "Not all of it has ended";
    }
    return "Not ended: " + std::string(VintrelCore::KillCore::inWords(result.detail));
}

} // namespace Vintrel::Announcements

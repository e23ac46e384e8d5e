#include "VintrelCore/log/CleanLog.h"

#include "VintrelCore/base/Saturating.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

namespace VintrelCore::CleanLog {

CleanEvent makeCleanEvent(const ProcessItem& item, const CwdResolver::CwdMap& cwds, Instant now) {
    const auto cwd = cwds.find(item.pid);
    return {.kind = std::string(label(item.kind)),
            .projectLabel = cwd != cwds.end() ? cwd->second.label : "—",
            .rssKB = item.rssKB,
            .timestamp = now};
}

namespace {

bool isInWindow(Instant timestamp, Instant now, double window) {
    // As doubles: neither end of a huge window needs to be a moment.
    using Seconds = std::chrono::duration<double>;
    const double age =
        Seconds(now.time_since_epoch()).count() - Seconds(timestamp.time_since_epoch()).count();
    return timestamp <= now && age <= window;
}

} // namespace

Stats stats(std::span<const CleanEvent> events, Instant now, double window) {
    Stats stats;
    std::map<std::string, size_t> counts; // in the order of their names
    for (const CleanEvent& event : events) {
        if (isInWindow(event.timestamp, now, window)) {
            ++stats.count;
            ++counts[event.kind];
            stats.ramReclaimedKB = Saturating::sum(stats.ramReclaimedKB, event.rssKB);
        }
    }
    for (const auto& [kind, count] : counts) {
        stats.topKinds.push_back({.kind = kind, .count = count});
    }
    std::ranges::stable_sort(stats.topKinds, std::ranges::greater(), &KindCount::count);
    return stats;
}

std::vector<CleanEvent> capped(std::vector<CleanEvent> events, int64_t cap) {
    if (cap < 1) {
        return {};
    }
    std::ranges::stable_sort(events, std::ranges::less(), &CleanEvent::timestamp);
    if (std::cmp_greater(events.size(), cap)) {
        events.erase(events.begin(), events.end() - cap);
    }
    return events;
}

} // namespace VintrelCore::CleanLog

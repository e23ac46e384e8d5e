#include "Vintrel/views/CleanedFacts.h"

#include "Vintrel/views/RelativeTime.h"
#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/log/CleanLog.h"

#include <algorithm>
#include <ranges>

namespace Vintrel {

using VintrelCore::CleanEvent;
using VintrelCore::UnicodeText::printable;

namespace {

constexpr double week = 604'800; // in seconds
constexpr const char* unknownProject = "—";

/// The newest first.
std::vector<const CleanEvent*> newestOf(std::span<const CleanEvent> events) {
    std::vector<const CleanEvent*> newest;
    newest.reserve(events.size());
    for (const CleanEvent& event : std::views::reverse(events)) {
        newest.push_back(&event);
    }
    std::ranges::stable_sort(newest, std::ranges::greater(), &CleanEvent::timestamp);
    newest.resize(std::min(newest.size(), cleanedRowLimit));
    return newest;
}

} // namespace

std::string ramString(int64_t kibibytes) {
    constexpr int64_t perMebibyte = 1'024;
    return kibibytes < perMebibyte ? std::to_string(kibibytes) + " KB"
                                   : std::to_string(kibibytes / perMebibyte) + " MB";
}

std::string cleanedSentence(const CleanedRowTexts& texts) {
    const bool hasProject = !texts.projectLabel.empty() && texts.projectLabel != unknownProject;
    const std::string what = hasProject ? texts.kind + " in " + texts.projectLabel : texts.kind;
    return what + ", " + texts.ram + ", cleaned " + texts.age;
}

CleanedFacts cleanedFacts(std::span<const CleanEvent> events, VintrelCore::Instant now,
                          const RelativeTime& relativeTime) {
    const VintrelCore::CleanLog::Stats stats = VintrelCore::CleanLog::stats(events, now, week);
    CleanedFacts facts{.isEmpty = events.empty(),
                       .cleaned = std::to_string(stats.count) + " cleaned",
                       .reclaimed = "~" + ramString(stats.ramReclaimedKB) + " reclaimed"};
    for (const auto& [kind, count] : stats.topKinds | std::views::take(chipLimit)) {
        facts.chips.push_back(printable(kind) + " ×" + std::to_string(count));
    }
    for (const CleanEvent* const event : newestOf(events)) {
        facts.rows.push_back({.kind = printable(event->kind),
                              .projectLabel = printable(event->projectLabel),
                              .ram = ramString(event->rssKB),
                              .age = relativeTime.text(event->timestamp, now)});
    }
    return facts;
}

} // namespace Vintrel

#pragma once

#include "VintrelCore/log/CleanEvent.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace VintrelTests {

/// A moment by its seconds since 1970.
inline VintrelCore::Instant second(int64_t seconds) {
    return VintrelCore::Instant(std::chrono::seconds(seconds));
}

inline VintrelCore::CleanEvent eventAt(int64_t seconds, std::string kind = "Vite",
                                       std::string projectLabel = "shop", int64_t rssKB = 1'024) {
    return {.kind = std::move(kind),
            .projectLabel = std::move(projectLabel),
            .rssKB = rssKB,
            .timestamp = second(seconds)};
}

/// One event a second, from `first` to `last`.
inline std::vector<VintrelCore::CleanEvent> eventsFrom(int64_t first, int64_t last) {
    std::vector<VintrelCore::CleanEvent> events;
    for (int64_t at = first; at <= last; ++at) {
        events.push_back(eventAt(at));
    }
    return events;
}

} // namespace VintrelTests

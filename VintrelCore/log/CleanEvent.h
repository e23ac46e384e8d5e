#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace VintrelCore {

/// A moment, fine enough for any clock and wide enough for any calendar.
using Instant = std::chrono::sys_time<std::chrono::microseconds>;

/// A process that was cleaned.
struct CleanEvent {
    std::string kind; ///< the label of its kind; statistics group by it
    std::string projectLabel;
    int64_t rssKB = 0; ///< its resident memory in KiB when it was cleaned, and so what was reclaimed
    Instant timestamp{};

    bool operator==(const CleanEvent&) const = default;
};

} // namespace VintrelCore

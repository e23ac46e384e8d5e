#pragma once

#include "VintrelCore/log/CleanEvent.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// What the cleaned tab says about the clean log. No widgets and no state.
namespace Vintrel {

class RelativeTime;

/// An amount of memory in KiB, such as "812 KB" or "153 MB"; whole ones, and never more than megabytes.
[[nodiscard]] std::string ramString(int64_t kibibytes);

/// The texts of one cleaning, fit to be shown.
struct CleanedRowTexts {
    std::string kind;
    std::string projectLabel;
    std::string ram;
    std::string age;

    bool operator==(const CleanedRowTexts&) const = default;
};

/// What a screen reader says of that row.
[[nodiscard]] std::string cleanedSentence(const CleanedRowTexts& texts);

/// The texts of the tab at one moment.
struct CleanedFacts {
    bool isEmpty = true;               ///< nothing was ever cleaned; the rest is without meaning
    std::string cleaned;               ///< such as "3 cleaned", this week
    std::string reclaimed;             ///< such as "~412 MB reclaimed", this week
    std::vector<std::string> chips;    ///< what was cleaned most this week
    std::vector<CleanedRowTexts> rows; ///< the newest first

    bool operator==(const CleanedFacts&) const = default;
};

/// How many kinds have a chip, and how many cleanings a row, at the most.
constexpr size_t chipLimit = 3;
constexpr size_t cleanedRowLimit = 50;

/// `events` in the log's order: of two at the same moment the later one is the newer.
[[nodiscard]] CleanedFacts cleanedFacts(std::span<const VintrelCore::CleanEvent> events,
                                        VintrelCore::Instant now, const RelativeTime& relativeTime);

} // namespace Vintrel

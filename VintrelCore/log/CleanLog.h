#pragma once

#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/log/CleanEvent.h"
#include "VintrelCore/model/ProcessItem.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// What a list of clean events says. No state.
namespace VintrelCore::CleanLog {

/// The record of an item that was cleaned at `now`; "—" stands for a project that is not known.
[[nodiscard]] CleanEvent makeCleanEvent(const ProcessItem& item, const CwdResolver::CwdMap& cwds,
                                        Instant now);

struct KindCount {
    std::string kind;
    size_t count = 0; ///< events of that kind

    bool operator==(const KindCount&) const = default;
};

struct Stats {
    size_t count = 0;                  ///< events in the window
    int64_t ramReclaimedKB = 0;        ///< the sum of their memory in KiB
    std::vector<KindCount> topKinds{}; ///< all kinds, the most frequent first, equally frequent ones by name

    bool operator==(const Stats&) const = default;
};

/// Counts the events of the last `window` seconds, `now` and the window's first moment included.
[[nodiscard]] Stats stats(std::span<const CleanEvent> events, Instant now, double window);

/// The newest `cap` events, oldest first; none for a cap below 1.
[[nodiscard]] std::vector<CleanEvent> capped(std::vector<CleanEvent> events, int64_t cap);

} // namespace VintrelCore::CleanLog

#pragma once

#include "Vintrel/engine/KillService.h"

#include <cstdint>
#include <functional>

namespace Vintrel {

/// The result of cleaning.
struct CleanSummary {
    int requested = 0;       ///< items that were sent to be ended
    int cleaned = 0;         ///< those of them that have ended
    int64_t reclaimedKB = 0; ///< the memory, in KiB, that these had

    bool operator==(const CleanSummary&) const = default;
};

/// Takes the result of cleaning, and what became of each item that was sent to be ended.
using CleanCompletion = std::function<void(const CleanSummary&, const KillService::Outcomes&)>;

} // namespace Vintrel

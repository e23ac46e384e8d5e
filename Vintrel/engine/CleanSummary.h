#pragma once

#include <cstdint>

namespace Vintrel {

/// The result of cleaning.
struct CleanSummary {
    int requested = 0;       ///< items that were sent to be ended
    int cleaned = 0;         ///< those of them that have ended
    int64_t reclaimedKB = 0; ///< the memory, in KiB, that these had

    bool operator==(const CleanSummary&) const = default;
};

} // namespace Vintrel

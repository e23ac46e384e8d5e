#pragma once

#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/ProcessLookup.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/SnapshotRecord.h"

#include <span>
#include <vector>

namespace VintrelCore::ScanCore {

/// What a snapshot was found to hold.
struct Candidates {
    std::vector<ProcessItem> items{};
    PIDSet namedOnly{}; ///< those that would be easy to end if their tool were not named in arguments alone
};

/// `enumerate` on records, and how it came to its tiers. The records and prepared output among `options` do
/// not matter.
[[nodiscard]] Candidates candidatesIn(std::span<const SnapshotRecord> records,
                                      const EnumerateOptions& options, const ProcessLookup& lookup);

} // namespace VintrelCore::ScanCore

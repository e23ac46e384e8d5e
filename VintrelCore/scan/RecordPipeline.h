#pragma once

#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/ProcessLookup.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/SnapshotRecord.h"

#include <span>
#include <vector>

namespace VintrelCore::ScanCore {

/// `enumerate` on records. The records and prepared output among `options` do not matter.
[[nodiscard]] std::vector<ProcessItem> candidatesIn(std::span<const SnapshotRecord> records,
                                                    const EnumerateOptions& options,
                                                    const ProcessLookup& lookup);

} // namespace VintrelCore::ScanCore

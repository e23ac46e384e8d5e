#pragma once

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/model/ProcStartTime.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/RecordPipeline.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/SnapshotRecord.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace VintrelCore {

/// The process table of one moment, taken by this program, and the candidates in it.
class Snapshot {
public:
    /// To be made before ps is started.
    Snapshot() = default;

    /// Takes over what ps printed (`ScanCore::psCommand`). With a fault, nothing is known.
    [[nodiscard]] Shell::Fault take(const Shell::Outcome& ps);

    /// What `ScanCore::enumerate` finds in this snapshot; `options` need no records and no provider of start
    /// times. Left out are those whose start cannot be had: they are gone, or they started after ps did, and
    /// its line may be about a predecessor of that number.
    [[nodiscard]] std::vector<ProcessItem> candidates(ScanCore::EnumerateOptions options) const;

    /// Who looks after those of the items that somebody looks after, by pid.
    [[nodiscard]] std::unordered_map<int32_t, std::string>
    managersOf(std::span<const ProcessItem> items) const;

private:
    [[nodiscard]] std::optional<ProcStartTime> startTime(int32_t pid) const;

    std::optional<ProcStartTime> m_began = Platform::startTimeOfNow();
    std::vector<SnapshotRecord> m_records;
    /// The kernel's records are read once: what the parents are corrected with tells the start as well.
    std::unordered_map<int32_t, ProcStartTime> m_starts;
};

} // namespace VintrelCore
